/// @file
/// Handles on events, and the objects of all handles that can be waited for.
#pragma once

#include "HandleTable.h"
#include "Waitable.h"

namespace Platform
{

/// An open event. All handles on a named event share one of these. Requests in flight refer only to the event
/// inside, so they do not keep the name.
class EventHandle final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::Event;

    EventHandle(bool manualReset, bool signalled) : Event(std::make_shared<Waitable>(manualReset, signalled)) {}
    HandleKind KindOf() const override { return Kind; }

    const std::shared_ptr<Waitable> Event;
};

/// What a wait on that handle waits for; null for a bad one.
std::shared_ptr<Waitable> FindWaitable(HANDLE handle);

} // namespace Platform
