// Events of a computer: each changes the tree and sends messages to the windows.
#include "MachineImpl.h"
#include "MachineMessages.h"
#include "Messages.h"

#include <functional>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::uint32_t DisabledProblem = 22;
constexpr std::uint32_t ReinstallProblem = 18;

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
        if (!IsUp(adapter))
            return true;
        Own.Record([&] { return Changes::InterfaceMessage{Id, DBT_DEVICEQUERYREMOVE}; });
        const bool agreed = SendRemovalQuery(adapter);
        if (!agreed)
            Own.Record([&] { return Changes::InterfaceMessage{Id, DBT_DEVICEQUERYREMOVEFAILED}; });
        return agreed;
    }

    /// Changes the tree first, so that a window that enumerates inside its message finds the new state.
    void Change(const std::function<void(AdapterDescription&)>& edit) const
    {
        const auto [before, after] = ChangeTree(edit);
        SendAdapterMessages(before, after);
    }

    void DeleteDriver() const
    {
        const ScopedLock lock(Own.Lock);
        Own.AdapterNodes.Uninstall(Id);
        Own.Log.Record([&] { return Changes::DriverUninstalled{Id}; });
    }

private:
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
        const AdapterDescription& changed = Own.AdapterNodes.All().at(Id).Description;
        Own.Log.Record([&] { return Changes::AdapterChanged{Id, changed, true}; });
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
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineVerb{.Method = "plug", .Id = id}));
    const AdapterEvent event(*Self, id);
    if (!event.Now().Present)
        event.Change([](AdapterDescription& adapter) { adapter.Present = true; });
}

void Machine::Unplug(AdapterId id)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineVerb{.Method = "unplug", .Id = id}));
    const AdapterEvent event(*Self, id);
    if (event.Now().Present)
        event.Change([](AdapterDescription& adapter) { adapter.Present = false; });
}

bool Machine::Disable(AdapterId id)
{
    if (Self->IsJoined())
        return Self->Forward(MachineVerb{.Method = "disable", .Id = id}).Done;
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
    if (Self->IsJoined())
        return Self->Forward(MachineVerb{.Method = "enable", .Id = id}).Done;
    const AdapterEvent event(*Self, id);
    const AdapterDescription before = event.Now();
    if (before.Present && before.Problem == DisabledProblem)
        event.Change([](AdapterDescription& adapter) { adapter.Problem = 0; });
    return before.Present;
}

void Machine::SetProblem(AdapterId id, std::uint32_t problem)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineVerb{.Method = "problem", .Id = id, .Problem = problem}));
    const AdapterEvent event(*Self, id);
    if (event.Now().Problem != problem)
        event.Change([problem](AdapterDescription& adapter) { adapter.Problem = problem; });
}

bool Machine::UpdateDriver(AdapterId id, std::string_view version)
{
    if (Self->IsJoined())
        return Self->Forward(MachineVerb{.Method = "driverVersion", .Id = id, .Version = std::string(version)}).Done;
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
    if (Self->IsJoined())
        return Self->Forward(MachineVerb{.Method = "uninstall", .Id = id}).Done;
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
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineVerb{.Method = "resume"}));
    const EventSequencer::Holder turn(Self->Events);
    Self->Broadcast(WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC);
    Self->Broadcast(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND);
}

void Machine::Broadcast(std::uint32_t message, std::uint64_t wParam)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::Broadcast{message, wParam})));
    const EventSequencer::Holder turn(Self->Events);
    Self->Broadcast(message, wParam);
}

void Machine::Impl::Broadcast(std::uint32_t message, std::uint64_t wParam)
{
    Record([&] { return Changes::Broadcast{message, wParam}; });
    SendToAllWindows(message, wParam);
}

void Machine::SetCallerRights(bool administrator)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::RightsChanged{administrator})));
    const ScopedLock lock(Self->Lock);
    Self->Administrator = administrator;
    Self->Log.Record([&] { return Changes::RightsChanged{administrator}; });
}

bool Machine::HasCallerRights() const
{
    return Self->Administrator;
}

} // namespace Platform
