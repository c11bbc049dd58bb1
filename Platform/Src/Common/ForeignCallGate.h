/// @file
/// Lets one thread at a time call foreign code.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Platform
{

/// Unlike a mutex, it detects that the thread already owns it: foreign code may call back.
class ForeignCallGate
{
public:
    /// Holds the gate for a scope. It converts to false when this thread held it before; nothing is then
    /// given back at the end.
    class Holder
    {
    public:
        explicit Holder(ForeignCallGate& gate);
        ~Holder();
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

        explicit operator bool() const { return Taken; }

    private:
        ForeignCallGate& Gate;
        bool Taken = false;
    };

private:
    std::mutex Lock;
    std::condition_variable Free;
    std::thread::id Owner; // guarded by Lock; default value when the gate is free
};

} // namespace Platform
