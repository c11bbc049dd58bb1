#include "Machine.h"

#include "MachineImpl.h"

#include <algorithm>
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

AdapterId Machine::AddAdapter(const AdapterDescription& adapter)
{
    LeavingDevice leaving;
    const ScopedLock lock(Self->Lock);
    // The new adapter may be absent and name a device that is reachable so far.
    leaving.Device = Self->Devices.SetPresent(adapter.ControlDeviceName, adapter.Present);
    return Self->AdapterNodes.Add(adapter);
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
        LeavingDevice leaving;
        const ScopedLock lock(Self->Lock);
        if (Self->AdapterNodes.All().at(id).Version == copy.Version)
        {
            leaving.Device = Self->Change(id, std::move(copy.Description));
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
    LeavingDevice leaving;
    const ScopedLock lock(Self->Lock);
    // The device stays attached, for an adapter that is added later under the same name.
    leaving.Device = Self->Devices.SetPresent(Self->AdapterNodes.All().at(id).Description.ControlDeviceName, false);
    Self->AdapterNodes.Remove(id);
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
void Machine::Impl::Attach(const std::string& name, std::shared_ptr<ControlDevice> device)
{
    const bool absent = std::ranges::any_of(AdapterNodes.All(), [&](const auto& entry) {
        const AdapterDescription& adapter = entry.second.Description;
        return !adapter.Present && EqualNames(adapter.ControlDeviceName, name);
    });
    Devices.Add(name, std::move(device), !absent);
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
    const ScopedLock lock(Self->Lock);
    Self->Registry->FindOrCreate(path)->Values.insert_or_assign(std::string(name), value);
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
    const ScopedLock lock(Self->Lock);
    const RegistryKeyPtr key = Self->Registry->Find(path);
    if (key == Self->Registry)
        throw std::invalid_argument("the root of the registry stays");
    if (key)
        key->Delete();
}

void Machine::FailCall(std::string_view function, unsigned nth, std::uint32_t error, unsigned count)
{
    Self->Faults.Fail(function, nth, error, count);
}

void Machine::ClearFaults()
{
    Self->Faults.Clear();
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
