/// @file
/// Scripted arrivals and removals of virtual adapters, and power events.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string_view>
#include <thread>
#include <vector>

/// Runs steps one at a time on a separate thread. Thread-safe.
class VirtualScript
{
public:
    enum class Verb
    {
        Remove,
        Arrive,
        Suspend,
        Resume
    };
    struct Step
    {
        std::chrono::milliseconds Pause; ///< Before the step.
        Verb What;
        std::size_t Adapter; ///< For Remove and Arrive: index in the list.
    };

    /// @param carryOut called on the script's thread, with no lock held.
    VirtualScript(std::size_t adapters, std::function<void(const Step&)> carryOut);

    /// Appends the steps of a text such as "500:remove 2;500:arrive 2;200:suspend;200:resume".
    /// @throws std::invalid_argument on a syntax error; then nothing is appended.
    void Append(std::string_view text);

private:
    std::vector<Step> Parse(std::string_view text) const;
    void Run(const std::stop_token& stop);

    const std::size_t AdapterCount;
    const std::function<void(const Step&)> CarryOut;
    std::mutex Lock; ///< Guards the steps.
    std::deque<Step> Steps;
    std::condition_variable_any Changed;
    std::jthread Thread; ///< Last member: stopped and joined before the others are destroyed.
};
