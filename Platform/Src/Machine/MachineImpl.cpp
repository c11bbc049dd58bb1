#include "Machine.h"

#include "MachineImpl.h"
#include "NamedEvents.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace Platform
{

namespace
{

// The published value types, repeated because Machine.h has no Windows names.
constexpr std::uint32_t TextType = 1;
constexpr std::uint32_t BinaryType = 3;
constexpr std::uint32_t NumberType = 4;

} // namespace

RegistryValue RegistryValue::Text(std::string_view text)
{
    RegistryValue value{TextType, {text.begin(), text.end()}};
    value.Data.push_back(0);
    return value;
}

RegistryValue RegistryValue::Number(std::uint32_t number)
{
    RegistryValue value{NumberType, {}};
    for (unsigned shift = 0; shift < 32; shift += 8)
        value.Data.push_back(static_cast<std::uint8_t>(number >> shift));
    return value;
}

RegistryValue RegistryValue::Binary(std::vector<std::uint8_t> bytes)
{
    return {BinaryType, std::move(bytes)};
}

Machine::Machine() : Self(std::make_unique<Impl>()) {}

Machine::~Machine() = default;

LinkAnswer Machine::Impl::Forward(const MachineRequest& request)
{
    LinkAnswer answer = Link->Ask(request);
    if (answer.IsUnknown)
        throw std::out_of_range("the adapter has been removed");
    if (!answer.Error.empty())
        throw MachineServerError(answer.Error);
    return answer;
}

AdapterId Machine::Impl::Add(const AdapterDescription& adapter)
{
    const AdapterId id = AdapterNodes.Add(adapter);
    const AdapterDescription& added = AdapterNodes.All().at(id).Description;
    Log.Record([&] { return Changes::AdapterAdded{id, added}; });
    return id;
}

void Machine::Impl::SetValue(RegistryKey& key, const std::string& path, const std::string& name,
                             const RegistryValue& value)
{
    key.Values.insert_or_assign(name, value);
    Log.Record([&] { return Changes::ValueSet{path, name, value}; });
}

AdapterId Machine::AddAdapter(const AdapterDescription& adapter)
{
    if (Self->IsJoined())
        return Self->Forward(MachineChange(Changes::AdapterAdded{0, adapter})).Id;
    LeavingDevice leaving;
    const ScopedLock lock(Self->Lock);
    // The new adapter may be absent and name a device that is reachable so far.
    leaving.Device = Self->Devices.SetPresent(adapter.ControlDeviceName, adapter.Present);
    return Self->Add(adapter);
}

void Machine::ChangeAdapter(AdapterId id, const std::function<void(AdapterDescription&)>& edit)
{
    const auto node = [&] {
        const ScopedLock lock(Self->Lock);
        return Self->AdapterNodes.All().at(id);
    };
    for (;;)
    {
        AdapterNode copy = node();
        edit(copy.Description); // without the lock, because it is foreign code
        if (Self->IsJoined())
        {
            Self->Forward(MachineChange(Changes::AdapterChanged{id, copy.Description, false}));
            return;
        }
        LeavingDevice leaving;
        const ScopedLock lock(Self->Lock);
        if (Self->AdapterNodes.All().at(id).Version == copy.Version)
        {
            leaving.Device = Self->Change(id, std::move(copy.Description));
            const AdapterDescription& changed = Self->AdapterNodes.All().at(id).Description;
            Self->Log.Record([&] { return Changes::AdapterChanged{id, changed, false}; });
            return;
        }
    }
}

AdapterDescription Machine::Adapter(AdapterId id) const
{
    const ScopedLock lock(Self->Lock);
    return Self->AdapterNodes.All().at(id).Description;
}

void Machine::RemoveAdapter(AdapterId id)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::AdapterRemoved{id})));
    LeavingDevice leaving;
    const ScopedLock lock(Self->Lock);
    // The device stays attached, for an adapter that is added later under the same name.
    leaving.Device = Self->Devices.SetPresent(Self->AdapterNodes.All().at(id).Description.ControlDeviceName, false);
    Self->AdapterNodes.Remove(id);
    Self->Log.Record([&] { return Changes::AdapterRemoved{id}; });
}

std::vector<AdapterId> Machine::Adapters() const
{
    const ScopedLock lock(Self->Lock);
    std::vector<AdapterId> ids;
    for (const auto& [id, node] : Self->AdapterNodes.All())
        ids.push_back(id);
    return ids;
}

AttachedDevicePtr Machine::Impl::Change(AdapterId id, AdapterDescription description)
{
    // The device follows its adapter: it is reachable exactly while the adapter is present.
    AttachedDevicePtr leaving = Devices.SetPresent(description.ControlDeviceName, description.Present);
    AdapterNodes.Change(id, std::move(description));
    return leaving;
}

AttachedDevicePtr Machine::Impl::FindDevice(std::string_view name)
{
    const ScopedLock lock(Lock);
    return Devices.Find(name);
}

// Only an absent adapter hides a device: a device that no adapter names is always reachable.
void Machine::Impl::Attach(const std::string& name, std::shared_ptr<ControlDevice> device, const DeviceSource& source)
{
    const bool absent = std::ranges::any_of(AdapterNodes.All(), [&](const auto& entry) {
        const AdapterDescription& adapter = entry.second.Description;
        return !adapter.Present && EqualNames(adapter.ControlDeviceName, name);
    });
    Devices.Add(name, std::move(device), !absent, source);
    Log.Record([&] { return Changes::DeviceAttached{name, source.Module, source.Settings, ""}; });
}

void Machine::AttachDevice(const std::string& name, std::shared_ptr<ControlDevice> device)
{
    const ScopedLock lock(Self->Lock);
    if (name.empty() || !device || Self->Devices.Contains(name))
        throw std::invalid_argument("no device, or none that can be called \"" + name + '"');
    Self->Attach(name, std::move(device));
}

void Machine::DetachDevice(std::string_view name)
{
    DeviceNames::Entry removed; // may be the last reference: destroyed after the lock is released
    LeavingDevice leaving;
    const ScopedLock lock(Self->Lock);
    removed = Self->Devices.Remove(name);
    leaving.Device = removed.Current;
}

std::shared_ptr<ControlDevice> Machine::Device(std::string_view name) const
{
    const AttachedDevicePtr found = Self->FindDevice(name);
    return found ? found->Device : nullptr;
}

void Machine::SetValue(std::string_view path, std::string_view name, const RegistryValue& value)
{
    if (Self->IsJoined())
        return static_cast<void>(
            Self->Forward(MachineChange(Changes::ValueSet{std::string(path), std::string(name), value})));
    const ScopedLock lock(Self->Lock);
    Self->SetValue(*Self->Registry->FindOrCreate(path), std::string(path), std::string(name), value);
}

void Machine::DeleteValue(std::string_view path, std::string_view name)
{
    if (Self->IsJoined())
        return static_cast<void>(
            Self->Forward(MachineChange(Changes::ValueDeleted{std::string(path), std::string(name)})));
    const ScopedLock lock(Self->Lock);
    const RegistryKeyPtr key = Self->Registry->Find(path);
    if (key && key->Values.erase(std::string(name)) != 0)
        Self->Log.Record([&] { return Changes::ValueDeleted{std::string(path), std::string(name)}; });
}

void Machine::CreateKey(std::string_view path)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::KeyCreated{std::string(path)})));
    const ScopedLock lock(Self->Lock);
    Self->Registry->FindOrCreate(path);
    Self->Log.Record([&] { return Changes::KeyCreated{std::string(path)}; });
}

std::optional<RegistryValue> Machine::Value(std::string_view path, std::string_view name) const
{
    const ScopedLock lock(Self->Lock);
    const RegistryKeyPtr key = Self->Registry->Find(path);
    if (!key)
        return std::nullopt;
    const auto found = key->Values.find(name);
    return found == key->Values.end() ? std::nullopt : std::optional(found->second);
}

bool Machine::KeyExists(std::string_view path) const
{
    const ScopedLock lock(Self->Lock);
    return Self->Registry->Find(path) != nullptr;
}

void Machine::DeleteTree(std::string_view path)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::KeyDeleted{std::string(path)})));
    const ScopedLock lock(Self->Lock);
    const RegistryKeyPtr key = Self->Registry->Find(path);
    if (key == Self->Registry)
        throw std::invalid_argument("the root of the registry stays");
    if (!key)
        return;
    key->Delete();
    Self->Log.Record([&] { return Changes::KeyDeleted{std::string(path)}; });
}

void Machine::ConfigureDevice(std::string_view name, const std::string& settings)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::DriverConfigured{std::string(name), settings})));
    std::shared_ptr<ControlDevice> device;
    {
        const ScopedLock lock(Self->Lock);
        const auto found = Self->Devices.All().find(name);
        if (found == Self->Devices.All().end())
            throw std::invalid_argument("no device is called \"" + std::string(name) + '"');
        device = found->second.Device;
    }
    const ForeignCallGate::Holder order(Self->ConfigureGate);
    // The driver writes its message here, truncated to the buffer.
    std::array<char, 200> error{};
    if (!device->Configure(settings.c_str(), error.data(), error.size()))
        throw std::runtime_error(error.data());
    Self->Record([&] { return Changes::DriverConfigured{std::string(name), settings}; });
}

void Machine::SetNamedEvent(std::string_view name, bool signalled)
{
    if (Self->IsJoined())
        return static_cast<void>(Self->Forward(MachineChange(Changes::EventChanged{std::string(name), signalled})));
    const ScopedLock lock(Self->Lock);
    ChangeNamedEvent(name, signalled);
    Self->Log.Record([&] { return Changes::EventChanged{std::string(name), signalled}; });
}

void Machine::FailCall(std::string_view function, unsigned nth, std::uint32_t error, unsigned count)
{
    Self->Faults.Fail(function, nth, error, count);
    Self->Record([&] { return Changes::CallsFail{std::string(function), nth, error, count}; });
}

void Machine::ClearFaults()
{
    Self->Faults.Clear();
    Self->Record([] { return Changes::FaultsCleared{}; });
}

std::uint64_t Machine::Calls(std::string_view function) const
{
    return Self->Faults.Calls(function);
}

void Machine::OnCall(std::string_view function, std::function<void()> hook)
{
    Self->Faults.SetHook(function, std::move(hook));
}

} // namespace Platform
