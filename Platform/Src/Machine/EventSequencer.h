/// @file
/// Serializes the events of a machine.
#pragma once

#include "MessageQueue.h"

#include <thread>
#include <vector>

namespace Platform
{

/// Like a ForeignCallGate, but a waiting thread dispatches the messages sent to its windows meanwhile, because the
/// holder may be waiting for an answer of such a window.
class EventSequencer
{
public:
    /// Holds the sequencer for a scope, unless the thread holds it already.
    class Holder
    {
    public:
        explicit Holder(EventSequencer& sequencer);
        ~Holder();
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

    private:
        EventSequencer& Sequencer;
        bool Taken = false;
    };

private:
    std::thread::id Owner PLATFORM_GUARDED_BY(WindowLock); // default value while the sequencer is free
    std::vector<MessageQueuePtr> Waiting PLATFORM_GUARDED_BY(WindowLock);
};

} // namespace Platform
