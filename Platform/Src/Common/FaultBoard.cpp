#include "FaultBoard.h"

#include <dlfcn.h>

#include <new>
#include <stdexcept>
#include <utility>

namespace Platform
{

namespace
{

// A misspelt name would make a test pass for the wrong reason.
void RequirePublished(const std::string& function)
{
    if (dlsym(RTLD_DEFAULT, ("ZVPlatform_" + function).c_str()) == nullptr) // its link name
        throw std::invalid_argument("the stand-in publishes no function " + function);
}

} // namespace

FaultBoard::Function& FaultBoard::Entry(std::string_view function)
{
    const auto found = Functions.find(function);
    return found != Functions.end() ? found->second : Functions[std::string(function)];
}

// If there is no memory for a new entry, the function has neither a fault nor a hook. Only this count is lost.
FaultBoard::Function* FaultBoard::EntryIfPossible(std::string_view function)
try
{
    return &Entry(function);
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

std::optional<std::uint32_t> FaultBoard::Enter(std::string_view function)
{
    std::optional<std::uint32_t> error;
    std::shared_ptr<const std::function<void()>> hook;
    std::shared_ptr<Gate> closed;
    {
        const ScopedLock lock(Lock);
        Function* const known = EntryIfPossible(function);
        if (known == nullptr)
            return std::nullopt;
        Function& entry = *known;
        ++entry.Calls;
        hook = entry.Hook;
        closed = entry.Closed;
        // A fault that has passed would be checked on every later call.
        std::erase_if(entry.Faults, [&](const Fault& fault) { return fault.LastCall < entry.Calls; });
        // The fault that was set last applies if several include this call.
        for (const Fault& fault : entry.Faults)
            if (fault.FirstCall <= entry.Calls)
                error = fault.Error;
    }
    // The shared pointer keeps a hook alive that another thread replaces while it runs.
    if (hook)
        (*hook)();
    if (closed)
        WaitAt(*closed);
    return error;
}

void FaultBoard::WaitAt(Gate& gate)
{
    const ScopedLock lock(Lock);
    ++gate.Threads;
    while (!gate.IsOpen)
        Opened.Wait(Lock);
    --gate.Threads;
}

void FaultBoard::Hold(std::string_view function)
{
    RequirePublished(std::string(function));
    const ScopedLock lock(Lock);
    Function& entry = Entry(function);
    if (!entry.Closed)
        entry.Closed = std::make_shared<Gate>();
}

std::size_t FaultBoard::Release(std::string_view function)
{
    const ScopedLock lock(Lock);
    const auto found = Functions.find(function);
    if (found == Functions.end() || !found->second.Closed)
        return 0;
    const std::shared_ptr<Gate> gate = std::exchange(found->second.Closed, nullptr);
    gate->IsOpen = true;
    Opened.NotifyAll();
    return gate->Threads;
}

std::map<std::string, std::size_t> FaultBoard::Held() const
{
    const ScopedLock lock(Lock);
    std::map<std::string, std::size_t> held;
    for (const auto& [name, entry] : Functions)
        if (entry.Closed)
            held.emplace(name, entry.Closed->Threads);
    return held;
}

void FaultBoard::Fail(std::string_view function, unsigned nth, std::uint32_t error, unsigned count)
{
    RequirePublished(std::string(function));
    if (nth == 0 || count == 0)
        throw std::invalid_argument("calls are counted from 1");
    const ScopedLock lock(Lock);
    Function& entry = Entry(function);
    entry.Faults.push_back({entry.Calls + nth, entry.Calls + nth + count - 1, error});
}

void FaultBoard::Clear()
{
    const ScopedLock lock(Lock);
    for (auto& [name, entry] : Functions)
        entry.Faults.clear();
}

std::uint64_t FaultBoard::Calls(std::string_view function) const
{
    const ScopedLock lock(Lock);
    const auto found = Functions.find(function);
    return found == Functions.end() ? 0 : found->second.Calls;
}

void FaultBoard::SetHook(std::string_view function, std::function<void()> hook)
{
    RequirePublished(std::string(function));
    auto shared = hook ? std::make_shared<const std::function<void()>>(std::move(hook)) : nullptr;
    const ScopedLock lock(Lock);
    Entry(function).Hook.swap(shared); // the old hook is destroyed after the lock is released
}

} // namespace Platform
