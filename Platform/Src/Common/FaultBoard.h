/// @file
/// The faults, hooks and call counts of one machine.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

class FaultBoard
{
public:
    /// Counts a call and runs its hook. The result is the error to fail with, if the call is to fail.
    std::optional<std::uint32_t> Enter(std::string_view function);

    void Fail(std::string_view function, unsigned nth, std::uint32_t error, unsigned count);
    void Clear();
    std::uint64_t Calls(std::string_view function) const;
    void SetHook(std::string_view function, std::function<void()> hook);

private:
    struct Fault
    {
        std::uint64_t FirstCall;
        std::uint64_t LastCall;
        std::uint32_t Error;
    };
    struct Function
    {
        std::uint64_t Calls = 0;
        std::vector<Fault> Faults;
        std::shared_ptr<const std::function<void()>> Hook;
    };

    Function& Entry(std::string_view function);
    Function* EntryIfPossible(std::string_view function);

    mutable std::mutex Lock;
    std::map<std::string, Function, std::less<>> Functions; // guarded by Lock
};

} // namespace Platform
