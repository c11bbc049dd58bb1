/// @file
/// The faults, hooks, holds and call counts of one machine.
#pragma once

#include "AnnotatedLock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
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

    /// Makes later calls wait until Release. @throws std::invalid_argument for a function that is not published.
    void Hold(std::string_view function);
    /// Lets the waiting calls continue, even if the function is held again at once.
    /// @return how many threads waited.
    std::size_t Release(std::string_view function);
    /// Returns the held functions and how many threads wait in each.
    std::map<std::string, std::size_t> Held() const;

private:
    /// Where calls of a held function wait. Guarded by Lock. A later hold has another gate.
    struct Gate
    {
        std::size_t Threads = 0;
        bool IsOpen = false;
    };

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
        std::shared_ptr<Gate> Closed; // null unless the function is held
    };

    /// Finds a name without making a string of it: every published call does.
    struct TextHash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };

    Function& Entry(std::string_view function) PLATFORM_REQUIRES(Lock);
    Function* EntryIfPossible(std::string_view function) PLATFORM_REQUIRES(Lock);
    void WaitAt(Gate& gate);

    mutable Mutex Lock;
    Condition Opened;
    std::unordered_map<std::string, Function, TextHash, std::equal_to<>> Functions PLATFORM_GUARDED_BY(Lock);
};

} // namespace Platform
