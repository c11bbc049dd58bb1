/// @file
/// Lets the main thread wait for other threads and for signals.
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

    /// @throws std::system_error if there is no handle left.
    WakeSignal();
    ~WakeSignal();
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;

    /// May be called by any thread and by a signal handler.
    void Set();
    void Clear();
    /// Blocks until the flag is set or the deadline has passed; may return earlier.
    void WaitUntil(Clock::time_point deadline);

private:
    /// Returns the bound of one wait, rounded up, so that the last wait does not return early.
    static std::chrono::milliseconds Step(Clock::time_point deadline)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        return std::clamp(left, std::chrono::milliseconds(0), std::chrono::milliseconds(60'000));
    }

    struct Flag;
    const std::unique_ptr<Flag> Self;
};
