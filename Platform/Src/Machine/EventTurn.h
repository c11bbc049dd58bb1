/// @file
/// Serializes the events of a machine.
#pragma once

#include "MessageQueue.h"

#include <thread>
#include <vector>

namespace Platform
{

/// As a Turn, but who waits for it carries out meanwhile what is sent to its windows: the holder may be
/// waiting for just that.
class EventTurn
{
public:
    /// Holds the turn for a scope, unless the thread holds it already.
    class Holder
    {
    public:
        explicit Holder(EventTurn& turn);
        ~Holder();
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

    private:
        EventTurn& Door;
        bool Taken = false;
    };

private:
    // Both guarded by WindowLock().
    std::thread::id Owner; // default value when the turn is free
    std::vector<MessageQueuePtr> Waiting;
};

} // namespace Platform
