// Events of a computer: each changes the tree and sends messages to the windows.
#include "DeviceNotifications.h"
#include "MachineImpl.h"
#include "ThreadQueue.h"
#include "WindowTable.h"

#include <chrono>
#include <functional>
#include <span>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::uint32_t DisabledProblem = 22;
constexpr std::uint32_t ReinstallProblem = 18;
constexpr std::chrono::seconds Patience{5}; // the timeout of Windows for a window that does not respond

using InterfaceRecord = std::shared_ptr<const DEV_BROADCAST_DEVICEINTERFACE_W>;

// An interface exists only while the driver of its device runs.
bool IsUp(const AdapterDescription& adapter)
{
    return adapter.Present && adapter.Problem == 0;
}

// A window that is created meanwhile does not receive the message; it can see the new state already.
void TellAll(UINT message, WPARAM wParam)
{
    for (const WindowPtr& window : WindowTable::Instance().All())
        ThisThreadsQueue()->Send(window, {message, wParam, 0}, Patience);
}

// The record is the payload, because a window that responds late reads it after this has returned.
std::optional<LRESULT> TellOfInterface(const WindowPtr& window, WPARAM event, const InterfaceRecord& record)
{
    return ThisThreadsQueue()->Send(window, {WM_DEVICECHANGE, event, reinterpret_cast<LPARAM>(record.get()), record},
                                    Patience);
}

/// One event of one adapter. Other events of the machine wait until it is over.
class AdapterEvent
{
public:
    AdapterEvent(Machine::Impl& machine, AdapterId id) : Own(machine), Id(id), Sequence(machine.Events) {}

    AdapterDescription Now() const
    {
        const ScopedLock lock(Own.Lock);
        return Own.AdapterNodes.All().at(Id).Description;
    }

    /// Sends the query of an orderly removal. Returns false if a window denies it.
    bool AskForRemoval() const
    {
        const AdapterDescription adapter = Now();
        return !IsUp(adapter) || AskForRemoval(MakeInterfaceRecord(adapter));
    }

    /// Changes the tree first, so that a window that enumerates inside its message finds the new state.
    void Change(const std::function<void(AdapterDescription&)>& edit) const
    {
        const auto [before, after] = ChangeTree(edit);
        if (IsUp(before) != IsUp(after))
        {
            const InterfaceRecord record = MakeInterfaceRecord(after);
            const WPARAM event = IsUp(after) ? DBT_DEVICEARRIVAL : DBT_DEVICEREMOVECOMPLETE;
            // Interface messages precede the general one.
            for (const WindowPtr& window : WindowTable::Instance().Registered(LanInterfaceClass))
                TellOfInterface(window, event, record);
        }
        if (before.Present || after.Present)
            TellAll(WM_DEVICECHANGE, DBT_DEVNODES_CHANGED);
    }

    void DeleteDriver() const
    {
        const ScopedLock lock(Own.Lock);
        Own.AdapterNodes.Uninstall(Id);
    }

private:
    static bool AskForRemoval(const InterfaceRecord& record)
    {
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

    // The edits come from this file only, so they may run under the lock.
    std::pair<AdapterDescription, AdapterDescription> ChangeTree(
        const std::function<void(AdapterDescription&)>& edit) const
    {
        // Declared before the lock: detaching calls the driver, which must happen after the lock is released.
        LeavingDevice leaving;
        const ScopedLock lock(Own.Lock);
        AdapterDescription before = Own.AdapterNodes.All().at(Id).Description;
        AdapterDescription after = before;
        edit(after);
        leaving.Device = Own.Change(Id, after);
        return {std::move(before), std::move(after)};
    }

    Machine::Impl& Own;
    const AdapterId Id;
    const EventSequencer::Holder Sequence;
};

// An explicit value of the driver key takes precedence over the field, so it is removed.
void SetVersion(AdapterDescription& adapter, std::string_view version)
{
    adapter.DriverVersion = version;
    std::erase_if(adapter.Values, [](const auto& value) { return EqualNames(value.first, "DriverVersion"); });
}

} // namespace

void Machine::Plug(AdapterId id)
{
    const AdapterEvent event(*Self, id);
    if (!event.Now().Present)
        event.Change([](AdapterDescription& adapter) { adapter.Present = true; });
}

void Machine::Unplug(AdapterId id)
{
    const AdapterEvent event(*Self, id);
    if (event.Now().Present)
        event.Change([](AdapterDescription& adapter) { adapter.Present = false; });
}

bool Machine::Disable(AdapterId id)
{
    const AdapterEvent event(*Self, id);
    if (!event.Now().Present || !event.AskForRemoval())
        return false;
    // A second disable succeeds without messages.
    if (event.Now().Problem != DisabledProblem)
        event.Change([](AdapterDescription& adapter) { adapter.Problem = DisabledProblem; });
    return true;
}

bool Machine::Enable(AdapterId id)
{
    const AdapterEvent event(*Self, id);
    const AdapterDescription before = event.Now();
    if (before.Present && before.Problem == DisabledProblem)
        event.Change([](AdapterDescription& adapter) { adapter.Problem = 0; });
    return before.Present;
}

void Machine::SetProblem(AdapterId id, std::uint32_t problem)
{
    const AdapterEvent event(*Self, id);
    if (event.Now().Problem != problem)
        event.Change([problem](AdapterDescription& adapter) { adapter.Problem = problem; });
}

bool Machine::UpdateDriver(AdapterId id, std::string_view version)
{
    const AdapterEvent event(*Self, id);
    if (!event.Now().Present || !event.AskForRemoval())
        return false;
    const std::uint32_t problem = event.Now().Problem;
    // An adapter that did not run is not stopped, so its interface sends nothing.
    if (problem == 0)
        event.Change([](AdapterDescription& adapter) { adapter.Problem = ReinstallProblem; });
    event.Change([version, problem](AdapterDescription& adapter) {
        SetVersion(adapter, version);
        adapter.Problem = problem;
    });
    return true;
}

// The driver key is deleted last: during the messages a host still reads its values, as on Windows.
bool Machine::Uninstall(AdapterId id)
{
    const AdapterEvent event(*Self, id);
    if (!event.AskForRemoval())
        return false;
    if (event.Now().Present)
        event.Change([](AdapterDescription& adapter) { adapter.Present = false; });
    event.DeleteDriver();
    return true;
}

void Machine::Suspend()
{
    Broadcast(WM_POWERBROADCAST, PBT_APMSUSPEND);
}

void Machine::Resume()
{
    const EventSequencer::Holder turn(Self->Events);
    TellAll(WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC);
    TellAll(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND);
}

void Machine::Broadcast(std::uint32_t message, std::uint64_t wParam)
{
    const EventSequencer::Holder turn(Self->Events);
    TellAll(message, wParam);
}

void Machine::SetCallerRights(bool administrator)
{
    Self->Administrator = administrator;
}

bool Machine::HasCallerRights() const
{
    return Self->Administrator;
}

} // namespace Platform
