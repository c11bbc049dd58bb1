#include "MachineMessages.h"

#include "DeviceNotifications.h"
#include "ThreadQueue.h"
#include "WindowTable.h"

#include <chrono>
#include <span>

namespace Platform
{

namespace
{

constexpr std::chrono::seconds Patience{5}; // the timeout of Windows for a window that does not respond

using InterfaceRecord = std::shared_ptr<const DEV_BROADCAST_DEVICEINTERFACE_W>;

// The record is the payload, because a window that responds late reads it after this has returned.
std::optional<LRESULT> TellOfInterface(const WindowPtr& window, WPARAM event, const InterfaceRecord& record)
{
    return ThisThreadsQueue()->Send(window, {WM_DEVICECHANGE, event, reinterpret_cast<LPARAM>(record.get()), record},
                                    Patience);
}

} // namespace

bool IsUp(const AdapterDescription& adapter)
{
    return adapter.Present && adapter.Problem == 0;
}

void SendAdapterMessages(const AdapterDescription& before, const AdapterDescription& after)
{
    // Interface messages precede the general one.
    if (IsUp(before) != IsUp(after))
        SendInterfaceMessage(after, IsUp(after) ? DBT_DEVICEARRIVAL : DBT_DEVICEREMOVECOMPLETE);
    if (before.Present || after.Present)
        SendToAllWindows(WM_DEVICECHANGE, DBT_DEVNODES_CHANGED);
}

bool SendRemovalQuery(const AdapterDescription& adapter)
{
    const InterfaceRecord record = MakeInterfaceRecord(adapter);
    const std::vector<WindowPtr> windows = WindowTable::Instance().Registered(LanInterfaceClass);
    for (std::size_t i = 0; i < windows.size(); ++i)
    {
        if (TellOfInterface(windows[i], DBT_DEVICEQUERYREMOVE, record) == BROADCAST_QUERY_DENY)
        {
            // Windows that agreed are notified that the removal is off; the one that denied it is not.
            for (const WindowPtr& asked : std::span(windows).first(i))
                TellOfInterface(asked, DBT_DEVICEQUERYREMOVEFAILED, record);
            return false;
        }
    }
    return true;
}

void SendInterfaceMessage(const AdapterDescription& adapter, std::uint32_t event)
{
    const InterfaceRecord record = MakeInterfaceRecord(adapter);
    for (const WindowPtr& window : WindowTable::Instance().Registered(LanInterfaceClass))
        TellOfInterface(window, event, record);
}

// A window that is created meanwhile does not receive the message; it can see the new state already.
void SendToAllWindows(std::uint32_t message, std::uint64_t wParam)
{
    for (const WindowPtr& window : WindowTable::Instance().All())
        ThisThreadsQueue()->Send(window, {message, static_cast<WPARAM>(wParam), 0}, Patience);
}

} // namespace Platform
