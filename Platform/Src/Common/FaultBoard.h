/// @file
/// The faults, hooks and call counts of one machine.
#pragma once

#include "AnnotatedLock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

/// Thread-safe. Hooks run outside the lock, because a test holds calls in them.
class FaultBoard
{
public:
    /// Counts a call and runs its hook. Returns the error to fail with, if the call must fail.
    std::optional<std::uint32_t> Enter(std::string_view function);

    /// Fails `count` calls from the `nth` one on (1: the next one).
    /// @throws std::invalid_argument for a function that is not published, as SetHook does, and for a count of 0.
    void Fail(std::string_view function, unsigned nth, std::uint32_t error, unsigned count);
    void Clear();
    std::uint64_t Calls(std::string_view function) const;
    void SetHook(std::string_view function, std::function<void()> hook);

private:
    struct Fault
    {
        std::uint64_t FirstCall; // both bounds count from the first call on this machine
        std::uint64_t LastCall;
        std::uint32_t Error;
    };
    struct Function
    {
        std::uint64_t Calls = 0;
        std::vector<Fault> Faults;
        std::shared_ptr<const std::function<void()>> Hook;
    };

    Function& Entry(std::string_view function) PLATFORM_REQUIRES(Lock);
    Function* EntryIfPossible(std::string_view function) PLATFORM_REQUIRES(Lock);

    mutable Mutex Lock;
    std::map<std::string, Function, std::less<>> Functions PLATFORM_GUARDED_BY(Lock);
};

} // namespace Platform
