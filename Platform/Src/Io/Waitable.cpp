#include "Waitable.h"

#include "Waiting.h"

#include <array>
#include <chrono>
#include <condition_variable>

namespace Platform
{

struct Waiter
{
    std::condition_variable Wake;
    std::optional<std::size_t> Result; // guarded by Waitable's lock
    std::array<Waitable::Link, MAXIMUM_WAIT_OBJECTS> Links{};
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
    for (const Link* link = Waiters; link != nullptr; link = link->Next)
    {
        if (!link->Who->Result)
        {
            link->Who->Result = link->Index;
            link->Who->Wake.notify_one(); // under the lock: the waiter ends with its wait
            Signalled = ManualReset;
            if (!ManualReset)
                return;
        }
    }
}

void Waitable::Reset()
{
    const std::lock_guard lock(Lock());
    Signalled = false;
}

void Waitable::Append(Link& link)
{
    Link** end = &Waiters;
    while (*end != nullptr)
        end = &(*end)->Next;
    *end = &link;
}

void Waitable::Remove(const Waiter& who)
{
    for (Link** next = &Waiters; *next != nullptr;)
        if ((*next)->Who == &who)
            *next = (*next)->Next;
        else
            next = &(*next)->Next;
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
        return taken;
    Waiter self;
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        self.Links[i] = {&self, i, nullptr};
        objects[i]->Append(self.Links[i]);
    }
    const auto decided = [&self] { return self.Result.has_value(); };
    if (milliseconds == INFINITE)
        self.Wake.wait(lock, decided);
    else
        self.Wake.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds), decided);
    for (const auto& object : objects)
        object->Remove(self);
    return self.Result;
}

} // namespace Platform
