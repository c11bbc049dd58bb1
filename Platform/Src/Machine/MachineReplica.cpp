// Copying a machine, and keeping a copy equal to the machine of another process.
#include "DriverModule.h"
#include "MachineImpl.h"
#include "MachineMessages.h"
#include "NamedEvents.h"

#include <array>
#include <cstdio>
#include <utility>

namespace Platform
{

namespace
{

/// Returns null if this process cannot create the device; its adapter then has no driver here.
std::shared_ptr<ControlDevice> MakeCopy(const Changes::DeviceAttached& source)
{
    // Only the process that made it can call a device without a module.
    if (source.Module.empty())
        return nullptr;
    try
    {
        return MakeControlDevice("", source.Module, source.Name, source.Settings);
    }
    catch (const DriverModuleError& error)
    {
        std::fprintf(stderr, "the shared machine's device \"%s\" is missing here: %s %s\n", source.Name.c_str(),
                     source.Module.c_str(), error.what());
        return nullptr;
    }
}

void SetState(ControlDevice& device, const std::string& settings)
{
    std::array<char, 200> error{};
    if (!settings.empty() && !device.Configure(settings.c_str(), error.data(), error.size()))
        std::fprintf(stderr, "a driver rejects what its copy in another process has accepted: %s\n", error.data());
}

/// Makes one change of a log. Returns what has to follow.
class ReplicaChange
{
public:
    using Aftermath = Machine::Impl::Aftermath;

    explicit ReplicaChange(Machine::Impl& machine) : Own(machine) {}

    Aftermath operator()(const Changes::AdapterAdded& change) const
    {
        const ScopedLock lock(Own.Lock);
        // The id must be that of the log, also if an adapter was added to the copied machine and removed again.
        Own.AdapterNodes.SetLastUsed(change.Id - 1);
        AttachedDevicePtr leaving = Own.Devices.SetPresent(change.Adapter.ControlDeviceName, change.Adapter.Present);
        Own.Add(change.Adapter);
        return [leaving] { Detach(leaving); };
    }

    Aftermath operator()(const Changes::AdapterChanged& change) const
    {
        const ScopedLock lock(Own.Lock);
        const AdapterNode* const node = Own.AdapterNodes.Find(change.Id);
        if (node == nullptr)
            return {};
        const AdapterDescription before = node->Description;
        AttachedDevicePtr leaving = Own.Change(change.Id, change.Adapter);
        Own.Log.Record([&] { return change; });
        return [leaving, before, change] {
            Detach(leaving);
            if (change.SendsMessages)
                SendAdapterMessages(before, change.Adapter);
        };
    }

    Aftermath operator()(const Changes::AdapterRemoved& change) const
    {
        const ScopedLock lock(Own.Lock);
        const AdapterNode* const node = Own.AdapterNodes.Find(change.Id);
        if (node == nullptr)
            return {};
        AttachedDevicePtr leaving = Own.Devices.SetPresent(node->Description.ControlDeviceName, false);
        Own.AdapterNodes.Remove(change.Id);
        Own.Log.Record([&] { return change; });
        return [leaving] { Detach(leaving); };
    }

    Aftermath operator()(const Changes::DriverUninstalled& change) const
    {
        const ScopedLock lock(Own.Lock);
        if (Own.AdapterNodes.Find(change.Id) == nullptr)
            return {};
        Own.AdapterNodes.Uninstall(change.Id);
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::InterfaceMessage& change) const
    {
        const ScopedLock lock(Own.Lock);
        const AdapterNode* const node = Own.AdapterNodes.Find(change.Id);
        if (node == nullptr)
            return {};
        Own.Log.Record([&] { return change; });
        return [adapter = node->Description, event = change.Event] { SendInterfaceMessage(adapter, event); };
    }

    Aftermath operator()(const Changes::KeyCreated& change) const
    {
        const ScopedLock lock(Own.Lock);
        Own.Registry->FindOrCreate(change.Path);
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::KeyDeleted& change) const
    {
        const ScopedLock lock(Own.Lock);
        const RegistryKeyPtr key = Own.Registry->Find(change.Path);
        if (key && key != Own.Registry)
            key->Delete();
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::ValueSet& change) const
    {
        const ScopedLock lock(Own.Lock);
        Own.SetValue(*Own.Registry->FindOrCreate(change.Path), change.Path, change.Name, change.Value);
        return {};
    }

    Aftermath operator()(const Changes::ValueDeleted& change) const
    {
        const ScopedLock lock(Own.Lock);
        if (const RegistryKeyPtr key = Own.Registry->Find(change.Path))
            key->Values.erase(change.Name);
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::Broadcast& change) const
    {
        Own.Record([&] { return change; });
        return [change] { SendToAllWindows(change.Message, change.WParam); };
    }

    Aftermath operator()(const Changes::RightsChanged& change) const
    {
        const ScopedLock lock(Own.Lock);
        Own.Administrator = change.Administrator;
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::EventChanged& change) const
    {
        const ScopedLock lock(Own.Lock);
        ChangeNamedEvent(change.Name, change.Signalled);
        Own.Log.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::DeviceAttached& change) const
    {
        const std::shared_ptr<ControlDevice> device = MakeCopy(change);
        if (!device)
            return {};
        SetState(*device, change.State);
        const ScopedLock lock(Own.Lock);
        if (!Own.Devices.Contains(change.Name))
            Own.Attach(change.Name, device, {change.Module, change.Settings});
        return {};
    }

    Aftermath operator()(const Changes::DriverConfigured& change) const
    {
        if (const auto device = DeviceOf(change.Device))
            SetState(*device, change.Settings);
        Own.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::CallsFail& change) const
    {
        Own.Faults.Fail(change.Function, change.Nth, change.Error, change.Count);
        Own.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::FaultsCleared& change) const
    {
        Own.Faults.Clear();
        Own.Record([&] { return change; });
        return {};
    }

    Aftermath operator()(const Changes::CallsHeld& change) const
    {
        if (change.Held)
            Own.Faults.Hold(change.Function);
        else
            Own.Faults.Release(change.Function);
        Own.Record([&] { return change; });
        return {};
    }

    /// Requests stay in the process that sends them.
    Aftermath operator()(const Changes::RequestCompleted& /*change*/) const { return {}; }

    static void Detach(const AttachedDevicePtr& leaving)
    {
        if (leaving)
            leaving->Detach();
    }

private:
    std::shared_ptr<ControlDevice> DeviceOf(const std::string& name) const
    {
        const ScopedLock lock(Own.Lock);
        const auto found = Own.Devices.All().find(name);
        return found == Own.Devices.All().end() ? nullptr : found->second.Device;
    }

    Machine::Impl& Own;
};

} // namespace

void Machine::Impl::ShareState(ControlDevice& device, const std::string& settings,
                               std::function<void(std::uint32_t)> done)
{
    std::string name;
    {
        const ScopedLock lock(Lock);
        for (const auto& [known, entry] : Devices.All())
            if (entry.Device.get() == &device)
                name = known;
    }
    if (IsJoined() && !name.empty())
    {
        constexpr std::uint32_t serverUnavailable = 1722; // RPC_S_SERVER_UNAVAILABLE
        Link->AskLater(
            MachineChange(Changes::DriverConfigured{name, settings}),
            [done = std::move(done)](const LinkAnswer& answer) { done(answer.Error.empty() ? 0 : serverUnavailable); });
        return;
    }
    {
        const ForeignCallGate::Holder order(ConfigureGate);
        SetState(device, settings);
        Record([&] { return Changes::DriverConfigured{name, settings}; });
    }
    done(0);
}

MachineState Machine::Impl::Capture()
{
    MachineState state;
    std::vector<std::shared_ptr<ControlDevice>> devices;
    {
        const ScopedLock lock(Lock);
        state.Sequence = Log.LastSequence();
        state.Administrator = Administrator;
        state.RecordsRequests = RequestsAreRecorded;
        state.LastId = AdapterNodes.LastUsed();
        state.Adapters = AdapterNodes.All();
        Registry->ForAll([&](const std::string& path, const RegistryKey& key) { state.Registry[path] = key.Values; });
        for (const auto& [name, entry] : Devices.All())
        {
            state.Devices.push_back({name, entry.Source.Module, entry.Source.Settings, ""});
            devices.push_back(entry.Device);
        }
    }
    // Without the lock, because drivers are foreign code. A state that contains a change with a larger number does no
    // harm: applying that change again has no effect.
    for (std::size_t i = 0; i < devices.size(); ++i)
        state.Devices[i].State = devices[i]->State();
    return state;
}

Machine::Impl::Aftermath Machine::Impl::Apply(const MachineChange& change)
{
    return std::visit(ReplicaChange(*this), change);
}

namespace
{

/// Makes the adapters equal. Their registry keys follow separately.
class AdapterRestore
{
public:
    /// Requires the machine's lock.
    AdapterRestore(Machine::Impl& machine, const MachineState& state) PLATFORM_REQUIRES(machine.Lock)
    {
        const std::map<AdapterId, AdapterNode> old = machine.AdapterNodes.All();
        for (const auto& [id, node] : old)
            if (!state.Adapters.contains(id))
            {
                Note(node.Description, Absent(node.Description));
                Leaving.push_back(machine.Devices.SetPresent(node.Description.ControlDeviceName, false));
                machine.AdapterNodes.Forget(id);
            }
        for (const auto& [id, node] : state.Adapters)
        {
            const auto before = old.find(id);
            Note(before == old.end() ? Absent(node.Description) : before->second.Description, node.Description);
            Leaving.push_back(machine.Devices.SetPresent(node.Description.ControlDeviceName, node.Description.Present));
            machine.AdapterNodes.Restore(id, node);
        }
        machine.AdapterNodes.SetLastUsed(state.LastId);
    }

    /// Hold no lock.
    void Finish() const
    {
        for (const AttachedDevicePtr& device : Leaving)
            ReplicaChange::Detach(device);
        for (const auto& [before, after] : Changed)
            SendAdapterMessages(before, after);
    }

private:
    static AdapterDescription Absent(AdapterDescription adapter)
    {
        adapter.Present = false;
        return adapter;
    }

    void Note(const AdapterDescription& before, const AdapterDescription& after)
    {
        if (before.Present != after.Present || before.Problem != after.Problem ||
            before.DriverVersion != after.DriverVersion)
            Changed.emplace_back(before, after);
    }

    std::vector<AttachedDevicePtr> Leaving;
    std::vector<std::pair<AdapterDescription, AdapterDescription>> Changed;
};

/// Changes only what differs, so that open handles stay valid.
void RestoreRegistry(RegistryKey& root, const std::map<std::string, ValueMap, NameLess>& keys)
{
    std::vector<std::string> gone;
    root.ForAll([&](const std::string& path, const RegistryKey&) {
        if (!keys.contains(path))
            gone.push_back(path);
    });
    for (const std::string& path : gone)
        if (const RegistryKeyPtr key = root.Find(path))
            key->Delete();
    for (const auto& [path, values] : keys)
        root.FindOrCreate(path)->Values = values;
}

} // namespace

Machine::Impl::Aftermath Machine::Impl::Restore(const MachineState& state)
{
    std::vector<std::pair<Changes::DeviceAttached, std::shared_ptr<ControlDevice>>> made;
    for (const Changes::DeviceAttached& source : state.Devices)
    {
        std::shared_ptr<ControlDevice> known;
        {
            const ScopedLock lock(Lock);
            const auto found = Devices.All().find(source.Name);
            if (found != Devices.All().end())
                known = found->second.Device;
        }
        if (!known)
        {
            known = MakeCopy(source);
            if (known)
                made.emplace_back(source, known);
        }
        if (known)
            SetState(*known, source.State);
    }
    const ScopedLock lock(Lock);
    Administrator = state.Administrator;
    if (state.RecordsRequests)
        RequestsAreRecorded = true;
    for (auto& [source, device] : made)
        Attach(source.Name, std::move(device), {source.Module, source.Settings});
    const auto adapters = std::make_shared<const AdapterRestore>(*this, state);
    RestoreRegistry(*Registry, state.Registry);
    return [adapters] { adapters->Finish(); };
}

} // namespace Platform
