#include "Waitable.h"

#include "Waiting.h"

#include <array>
#include <chrono>
#include <thread>

namespace Platform
{

/// On the stack of the waiting thread. An object may refer to it only until that thread has removed it.
struct Waiter
{
    Condition Wake;
    std::optional<std::size_t> Result PLATFORM_GUARDED_BY(Waitable::Lock);
    std::array<Waitable::Link, MAXIMUM_WAIT_OBJECTS> Links{};
};

Waitable::Waitable(bool manualReset, bool signalled) : ManualReset(manualReset), Signalled(signalled) {}

// Decides under the lock which waiters are released. A waiter that is only woken and checks again could miss a signal
// that is reset before it runs.
void Waitable::Signal()
{
    const ScopedLock lock(Lock);
    Signalled = true;
    for (const Link* link = Waiters; link != nullptr; link = link->Next)
    {
        if (!link->Who->Result)
        {
            link->Who->Result = link->Index;
            link->Who->Wake.NotifyOne(); // while holding the lock, because the waiter is destroyed after its wait
            Signalled = ManualReset;
            if (!ManualReset)
                return;
        }
    }
}

void Waitable::Reset()
{
    const ScopedLock lock(Lock);
    Signalled = false;
}

void Waitable::Append(Link& link)
{
    Link** end = &Waiters;
    while (*end != nullptr)
        end = &(*end)->Next;
    *end = &link;
}

// A waiter may be in the list more than once, if it passed the same handle twice.
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
            // An automatic event releases one wait and is reset by it.
            object.Signalled = object.ManualReset;
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> Waitable::Poll(std::span<const std::shared_ptr<Waitable>> objects)
{
    const ScopedLock lock(Lock);
    return TakeAny(objects);
}

std::optional<std::size_t> Waitable::WaitAny(std::span<const std::shared_ptr<Waitable>> objects, DWORD milliseconds)
{
    // Not used for INFINITE, whose number is only a large count of milliseconds here.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    // A sleep and its wake-up cost each side a system call, many times the cost of yielding the processor. A busy
    // driver has signalled again by then.
    constexpr int YieldsBeforeSleep = 8;
    for (int yields = 0; yields < YieldsBeforeSleep; ++yields)
    {
        if (const std::optional<std::size_t> taken = Poll(objects); taken || milliseconds == 0)
            return taken;
        std::this_thread::yield();
    }
    const ScopedLock lock(Lock);
    if (const std::optional<std::size_t> taken = TakeAny(objects))
        return taken;
    Waiter self;
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        self.Links[i] = {&self, i, nullptr};
        objects[i]->Append(self.Links[i]);
    }
    bool inTime = true;
    while (!self.Result && inTime)
        if (milliseconds == INFINITE)
            self.Wake.Wait(Lock);
        else
            inTime = self.Wake.WaitUntil(Lock, end);
    for (const auto& object : objects)
        object->Remove(self);
    return self.Result; // may have been set after the time was over; the signal is consumed either way
}

} // namespace Platform
