/// @file
/// What the main thread sleeps on.
#pragma once

#include <algorithm>
#include <chrono>
#include <memory>

/// A flag that wakes the one thread that waits for it. Check the condition between Clear and WaitUntil, so
/// that a later change sets the flag again.
class WakeSignal
{
public:
    using Clock = std::chrono::steady_clock;

    /// @throws std::system_error when the system has no handle left.
    WakeSignal();
    ~WakeSignal();
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;

    /// From any thread, and from a signal handler.
    void Set();
    void Clear();
    /// Returns when the flag is set or the time is up, now and then before.
    void WaitUntil(Clock::time_point deadline);

private:
    /// How long a wait takes at most, rounded up, so that none returns early for nothing.
    static std::chrono::milliseconds Step(Clock::time_point deadline)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        return std::clamp(left, std::chrono::milliseconds(0), std::chrono::milliseconds(60'000));
    }

    struct Flag;
    const std::unique_ptr<Flag> Self;
};
