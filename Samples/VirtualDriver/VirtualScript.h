/// @file
/// Scripted arrivals and removals of virtual adapters, and power events.
#pragma once

#include "AnnotatedLock.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
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
    /// Waits for the current step and drops the others.
    ~VirtualScript();
    VirtualScript(const VirtualScript&) = delete;
    VirtualScript& operator=(const VirtualScript&) = delete;

    /// Appends the steps of a text such as "500:remove 2;500:arrive 2;200:suspend;200:resume".
    /// @throws std::invalid_argument on a syntax error; then nothing is appended.
    void Append(std::string_view text);

private:
    std::vector<Step> Parse(std::string_view text) const;
    void Run();
    bool TakeStep(Step& step) PLATFORM_REQUIRES(Lock);

    const std::size_t AdapterCount;
    const std::function<void(const Step&)> CarryOut;
    Platform::Mutex Lock; ///< Not held while a step is carried out.
    Platform::Condition Changed;
    std::deque<Step> Steps PLATFORM_GUARDED_BY(Lock);
    bool Stopping PLATFORM_GUARDED_BY(Lock) = false;
    std::thread Thread; ///< Last member, because it uses the others from its start.
};
