// The functions of Waiting.h, and the names of events.
#include "Waiting.h"

#include "AnnotatedLock.h"
#include "FileHandle.h"
#include "NamedEvents.h"
#include "PublishedCall.h"
#include "Text.h"

#include <map>
#include <string>

using namespace Platform;

namespace
{

/// The named events of the process.
class EventNames
{
public:
    static EventNames& Instance()
    {
        // Never destroyed: threads may call while the process ends.
        static EventNames& names = *new EventNames;
        return names;
    }

    /// Returns a handle on the event of that name. As on Windows, the last error reports whether it existed.
    HANDLE Open(const std::u16string& name, bool manualReset, bool signalled)
    {
        const ScopedLock lock(Lock);
        // A name disappears with the last handle on its event; here, when the next one is opened.
        std::erase_if(Events, [](const auto& entry) { return entry.second.expired(); });
        std::weak_ptr<EventHandle>& known = Events[name];
        std::shared_ptr<EventHandle> event = known.lock();
        SetLastError(event ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        if (!event)
        {
            event = std::make_shared<EventHandle>(manualReset, signalled, ToUtf8(name));
            known = event;
        }
        return HandleTable::Instance().Add(std::move(event));
    }

    /// Returns null if there is no handle on an event of that name.
    std::shared_ptr<EventHandle> Find(const std::u16string& name)
    {
        const ScopedLock lock(Lock);
        const auto found = Events.find(name);
        return found == Events.end() ? nullptr : found->second.lock();
    }

private:
    Mutex Lock;
    std::map<std::u16string, std::weak_ptr<EventHandle>> Events PLATFORM_GUARDED_BY(Lock);
};

void Change(const EventHandle& event, bool signalled)
{
    if (signalled)
        event.Event->Signal();
    else
        event.Event->Reset();
}

/// The work of SetEvent and ResetEvent.
BOOL ChangeByHandle(HANDLE handle, bool signalled)
try
{
    // The reference keeps the event alive without the lock of the handle table.
    const auto found = HandleTable::Instance().Find<EventHandle>(handle);
    if (!found)
        return FailWith(ERROR_INVALID_HANDLE);
    if (found->Name.empty())
        Change(*found, signalled);
    else if (!ShareNamedEvent(found->Name, signalled))
        return FailWith(RPC_S_SERVER_UNAVAILABLE);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

DWORD WaitFailed(DWORD error)
{
    SetLastError(error);
    return WAIT_FAILED;
}

/// @param objects receives the object of each handle.
DWORD WaitOn(std::span<std::shared_ptr<Waitable>> objects, const HANDLE* handles, DWORD milliseconds)
{
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        objects[i] = FindWaitable(handles[i]);
        if (!objects[i])
            return WaitFailed(ERROR_INVALID_HANDLE);
    }
    const auto index = Waitable::WaitAny(objects, milliseconds);
    return index ? WAIT_OBJECT_0 + static_cast<DWORD>(*index) : WAIT_TIMEOUT;
}

} // namespace

HANDLE CreateEventW(SECURITY_ATTRIBUTES* /*security*/, BOOL manualReset, BOOL initialState, const WCHAR* name)
try
{
    if (CallFails("CreateEventW"))
        return nullptr;
    const bool manual = manualReset != FALSE;
    const bool signalled = initialState != FALSE;
    if (name != nullptr && *name != u'\0')
        return EventNames::Instance().Open(name, manual, signalled);
    SetLastError(ERROR_SUCCESS);
    return HandleTable::Instance().Add(std::make_shared<EventHandle>(manual, signalled));
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<HANDLE>(nullptr);
}

BOOL SetEvent(HANDLE event)
{
    return CallFails("SetEvent") ? FALSE : ChangeByHandle(event, true);
}

BOOL ResetEvent(HANDLE event)
{
    return CallFails("ResetEvent") ? FALSE : ChangeByHandle(event, false);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    std::shared_ptr<Waitable> object;
    return CallFails("WaitForSingleObject") ? WAIT_FAILED : WaitOn({&object, 1}, &handle, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds)
{
    if (CallFails("WaitForMultipleObjects"))
        return WAIT_FAILED;
    // The stand-in supports waits for any object only.
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || waitAll != FALSE)
        return WaitFailed(ERROR_INVALID_PARAMETER);
    std::shared_ptr<Waitable> objects[MAXIMUM_WAIT_OBJECTS];
    return WaitOn({objects, count}, handles, milliseconds);
}

void Platform::ChangeNamedEvent(std::string_view name, bool signalled)
{
    if (const auto event = EventNames::Instance().Find(ToUtf16(name)))
        Change(*event, signalled);
}
