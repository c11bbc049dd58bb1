#include "Waitable.h"

#include "Waiting.h"

#include <chrono>
#include <condition_variable>

namespace Platform
{

struct Waiter
{
    std::condition_variable Wake;
    std::optional<std::size_t> Result; // guarded by Waitable's lock
};

Waitable::Waitable(bool manualReset, bool signalled) : ManualReset(manualReset), Signalled(signalled) {}

std::mutex& Waitable::Lock()
{
    // Never destroyed: threads may call while the process ends.
    static std::mutex& lock = *new std::mutex;
    return lock;
}

void Waitable::Signal()
{
    const std::lock_guard lock(Lock());
    Signalled = true;
    for (const Link& link : Waiters)
    {
        if (!link.Who->Result)
        {
            link.Who->Result = link.Index;
            link.Who->Wake.notify_one(); // under the lock: the waiter ends with its wait
            Signalled = ManualReset;
            if (!ManualReset)
            {
                return;
            }
        }
    }
}

void Waitable::Reset()
{
    const std::lock_guard lock(Lock());
    Signalled = false;
}

std::optional<std::size_t> Waitable::TakeAny(std::span<const std::shared_ptr<Waitable>> objects)
{
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        Waitable& object = *objects[i];
        if (object.Signalled)
        {
            object.Signalled = object.ManualReset;
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> Waitable::WaitAny(std::span<const std::shared_ptr<Waitable>> objects, DWORD milliseconds)
{
    std::unique_lock lock(Lock());
    const std::optional<std::size_t> taken = TakeAny(objects);
    if (taken || milliseconds == 0)
    {
        return taken;
    }
    Waiter self;
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        objects[i]->Waiters.push_back({&self, i});
    }
    const auto decided = [&self] { return self.Result.has_value(); };
    if (milliseconds == INFINITE)
    {
        self.Wake.wait(lock, decided);
    }
    else
    {
        self.Wake.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds), decided);
    }
    for (const auto& object : objects)
    {
        std::erase_if(object->Waiters, [&self](const Link& link) { return link.Who == &self; });
    }
    return self.Result;
}

} // namespace Platform
