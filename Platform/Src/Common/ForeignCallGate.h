/// @file
/// Lets one thread at a time call foreign code.
#pragma once

#include "AnnotatedLock.h"

#include <thread>

namespace Platform
{

/// Unlike a mutex, it detects that the thread already owns it, because foreign code may call back. To the lock
/// analysis it is a lock: fields can be guarded by it.
class PLATFORM_CAPABILITY("gate") ForeignCallGate
{
public:
    /// Holds the gate for a scope. Converts to false if this thread held the gate before; the outer holder then
    /// keeps it.
    class PLATFORM_SCOPED_CAPABILITY Holder
    {
    public:
        explicit Holder(ForeignCallGate& gate) PLATFORM_ACQUIRE(gate);
        ~Holder() PLATFORM_RELEASE();
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

        explicit operator bool() const { return Taken; }

    private:
        ForeignCallGate& Gate;
        bool Taken = false;
    };

private:
    Mutex Lock;
    Condition Free;
    std::thread::id Owner PLATFORM_GUARDED_BY(Lock); // default value while the gate is free
};

} // namespace Platform
