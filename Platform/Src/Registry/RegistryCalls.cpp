// The functions of Registry.h. Each one runs while holding its machine's lock, because no foreign code is called.
#include "Registry.h"

#include "KeyHandle.h"
#include "PublishedCall.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace Platform
{

KeyHandle::KeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable)
    : Owner(std::move(owner)), Data(Owner->Internal()), Key(std::move(key)), Writable(writable)
{
}

HKEY AddKeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable)
{
    return static_cast<HKEY>(
        HandleTable::Instance().Add(std::make_shared<KeyHandle>(std::move(owner), std::move(key), writable)));
}

namespace
{

LSTATUS Fault(const char* function)
{
    return static_cast<LSTATUS>(CallFault(function));
}

const char* OrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

// These calls open a key for whatever the caller may do, so a caller without rights opens it for reading. As on
// Windows, the rights at the time of the open count.
bool MayWrite(const Machine& machine)
{
    return machine.Internal().Administrator;
}

std::shared_ptr<KeyHandle> Resolve(HKEY key)
{
    // The predefined key is no entry of the handle table: it is always open and refers to the current machine.
    if (key != HKEY_LOCAL_MACHINE)
        return HandleTable::Instance().Find<KeyHandle>(key);
    auto machine = CurrentMachine();
    Machine::Impl& data = machine->Internal();
    const ScopedLock lock(data.Lock);
    return std::make_shared<KeyHandle>(machine, data.Registry, MayWrite(*machine));
}

// Runs `work(handle, key)` on an open key while holding its machine's lock.
template <class Work>
LSTATUS WithKey(HKEY key, Work work)
try
{
    const auto open = Resolve(key);
    if (!open)
        return ERROR_INVALID_HANDLE;
    const ScopedLock lock(open->Data.Lock);
    return open->Key->IsDeleted() ? ERROR_KEY_DELETED : work(*open, *open->Key);
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

// Does the same with an existing key below it.
template <class Work>
LSTATUS WithKeyBelow(HKEY key, std::string_view path, Work work)
{
    return WithKey(key, [&](const KeyHandle& open, RegistryKey& start) -> LSTATUS {
        if (path.starts_with('\\'))
            return ERROR_BAD_PATHNAME;
        const RegistryKeyPtr below = start.Find(path);
        return below ? work(open, below) : ERROR_FILE_NOT_FOUND;
    });
}

// Has the server of a shared machine change a key that has been checked here. Hold no lock: the server may take its
// time, and its answer is applied under the machine's lock.
LSTATUS AskServer(const std::shared_ptr<Machine>& machine, const MachineChange& change)
{
    const LinkAnswer answer = machine->Internal().Link->Ask(change);
    if (answer.IsAway)
        return RPC_S_SERVER_UNAVAILABLE;
    return answer.Error.empty() ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// Changes a key: checks, then `work` under the lock, or by the server of a shared machine.
// `check(handle, key)` returns an error; `describe(path)` returns the change.
template <class Check, class Describe, class Work>
LSTATUS ChangeKey(HKEY key, std::string_view below, Check check, Describe describe, Work work)
try
{
    std::shared_ptr<Machine> owner;
    std::optional<MachineChange> change;
    const LSTATUS error = WithKeyBelow(key, below, [&](const KeyHandle& open, const RegistryKeyPtr& found) -> LSTATUS {
        if (const LSTATUS refusal = check(open, *found))
            return refusal;
        const Machine::Impl& data = open.Owner->Internal();
        owner = open.Owner;
        if (data.IsJoined() || open.Data.Log.HasListeners())
            change = describe(found->Path());
        if (!data.IsJoined())
        {
            work(*found);
            if (change)
                open.Data.Log.Record([&] { return std::move(*change); });
        }
        return ERROR_SUCCESS;
    });
    return error == ERROR_SUCCESS && owner->Internal().IsJoined() ? AskServer(owner, *change) : error;
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

LSTATUS Open(HKEY key, std::string_view path, HKEY* result)
{
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return WithKeyBelow(key, path, [&](const KeyHandle& open, const RegistryKeyPtr& below) -> LSTATUS {
        // As published, an empty path returns the given handle itself, which must then be closed only once.
        *result = path.empty() ? key : AddKeyHandle(open.Owner, below, MayWrite(*open.Owner));
        return ERROR_SUCCESS;
    });
}

LSTATUS Create(const KeyHandle& open, RegistryKey& start, std::string_view path, HKEY* result)
{
    if (path.starts_with('\\'))
        return ERROR_BAD_PATHNAME;
    // On Windows only loaded hives can be directly below the root.
    if (start.IsRoot() && !start.Find(path.substr(0, path.find('\\'))))
        return ERROR_INVALID_PARAMETER;
    const bool writable = MayWrite(*open.Owner);
    if (!writable && !start.Find(path))
        return ERROR_ACCESS_DENIED;
    NewKey created(start, path);
    *result = AddKeyHandle(open.Owner, created.Key(), writable);
    const bool isNew = !start.Find(path);
    created.Attach(); // last, so that no key is created if there is no memory for its handle
    if (isNew)
        open.Data.Log.Record([&] { return Changes::KeyCreated{created.Key()->Path()}; });
    return ERROR_SUCCESS;
}

// In a shared machine the key is created by the server before it is opened here.
LSTATUS CreateByServer(HKEY key, std::string_view path)
{
    std::shared_ptr<Machine> owner;
    std::string whole;
    const LSTATUS error = WithKey(key, [&](const KeyHandle& open, RegistryKey& start) -> LSTATUS {
        const std::string above = start.Path();
        // What Create refuses, and keys that exist, need no server.
        if (open.Owner->Internal().IsJoined() && MayWrite(*open.Owner) && !path.starts_with('\\') &&
            (!start.IsRoot() || start.Find(path.substr(0, path.find('\\')))) && !start.Find(path))
        {
            owner = open.Owner;
            whole = above.empty() ? std::string(path) : above + '\\' + std::string(path);
        }
        return ERROR_SUCCESS;
    });
    return owner ? AskServer(owner, Changes::KeyCreated{whole}) : error;
}

bool IsText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// The size is reported even when the buffer is too small, so that the caller can allocate it.
LSTATUS Read(const RegistryValue& value, BYTE* data, DWORD* size)
{
    const std::vector<BYTE>& stored = value.Data;
    // The published courtesy for texts that were stored without their NUL.
    const bool addNul = IsText(value.Type) && !stored.empty() && stored.back() != 0;
    const auto length = static_cast<DWORD>(stored.size());
    if (size == nullptr)
        return ERROR_SUCCESS;
    const DWORD room = std::exchange(*size, length);
    if (data == nullptr)
        return ERROR_SUCCESS;
    if (room < length)
        return ERROR_MORE_DATA;
    std::ranges::copy(stored, data);
    if (addNul && room > length)
        data[length] = 0;
    return ERROR_SUCCESS;
}

} // namespace

} // namespace Platform

using namespace Platform;

LSTATUS RegOpenKeyA(HKEY key, const char* subKey, HKEY* result)
{
    const LSTATUS fault = Fault("RegOpenKeyA");
    return fault != 0 ? fault : Open(key, OrEmpty(subKey), result);
}

LSTATUS RegOpenKeyW(HKEY key, const WCHAR* subKey, HKEY* result)
try
{
    const LSTATUS fault = Fault("RegOpenKeyW");
    return fault != 0 ? fault : Open(key, ToUtf8(subKey != nullptr ? subKey : u""), result);
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

LSTATUS RegCreateKeyA(HKEY key, const char* subKey, HKEY* result)
{
    if (const LSTATUS fault = Fault("RegCreateKeyA"))
        return fault;
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    if (const LSTATUS refusal = CreateByServer(key, OrEmpty(subKey)))
        return refusal;
    return WithKey(
        key, [&](const KeyHandle& open, RegistryKey& start) { return Create(open, start, OrEmpty(subKey), result); });
}

LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size)
{
    if (const LSTATUS fault = Fault("RegQueryValueExA"))
        return fault;
    if (reserved != nullptr || (data != nullptr && size == nullptr))
        return ERROR_INVALID_PARAMETER;
    return WithKey(key, [&](const KeyHandle&, const RegistryKey& opened) -> LSTATUS {
        const auto found = opened.Values.find(OrEmpty(valueName));
        const bool exists = found != opened.Values.end();
        if (type != nullptr)
            // Windows stores REG_NONE in the type for a missing value.
            *type = exists ? found->second.Type : REG_NONE;
        return exists ? Read(found->second, data, size) : ERROR_FILE_NOT_FOUND;
    });
}

LSTATUS RegSetValueExA(HKEY key, const char* valueName, DWORD, DWORD type, const BYTE* data, DWORD size)
{
    if (const LSTATUS fault = Fault("RegSetValueExA"))
        return fault;
    if (data == nullptr && size != 0)
        return ERROR_NOACCESS;
    const std::string name = OrEmpty(valueName);
    const auto value = [&] { return RegistryValue{type, {data, data + size}}; };
    return ChangeKey(
        key, "",
        [](const KeyHandle& open, const RegistryKey&) -> LSTATUS {
            return open.Writable ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
        },
        [&](const std::string& path) { return Changes::ValueSet{path, name, value()}; },
        [&](RegistryKey& opened) { opened.Values.insert_or_assign(name, value()); });
}

LSTATUS RegFlushKey(HKEY key)
{
    const LSTATUS fault = Fault("RegFlushKey");
    // The simulated registry has no disk, so only the handle is checked.
    return fault != 0 ? fault : WithKey(key, [](const KeyHandle&, const RegistryKey&) { return ERROR_SUCCESS; });
}

LSTATUS RegCloseKey(HKEY key)
{
    if (const LSTATUS fault = Fault("RegCloseKey"))
        return fault;
    // The predefined key cannot be closed; Windows reports success.
    const bool closed = key == HKEY_LOCAL_MACHINE || HandleTable::Instance().Close<KeyHandle>(key);
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegDeleteKeyValueA(HKEY key, const char* subKey, const char* valueName)
{
    if (const LSTATUS fault = Fault("RegDeleteKeyValueA"))
        return fault;
    const std::string name = OrEmpty(valueName);
    return ChangeKey(
        key, OrEmpty(subKey),
        [&](const KeyHandle& open, const RegistryKey& below) -> LSTATUS {
            // A subkey is opened for this call with the current rights.
            if (subKey == nullptr ? !open.Writable : !MayWrite(*open.Owner))
                return ERROR_ACCESS_DENIED;
            return below.Values.contains(name) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        },
        [&](const std::string& path) { return Changes::ValueDeleted{path, name}; },
        [&](RegistryKey& below) { below.Values.erase(name); });
}

LSTATUS RegDeleteKeyA(HKEY key, const char* subKey)
{
    if (const LSTATUS fault = Fault("RegDeleteKeyA"))
        return fault;
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    return ChangeKey(
        key, subKey,
        [](const KeyHandle& open, const RegistryKey& below) -> LSTATUS {
            // RegDeleteKey deletes no tree: callers delete from the leaves up.
            const bool denied = below.HasSubkeys() || below.IsRoot() || !MayWrite(*open.Owner);
            return denied ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
        },
        [](const std::string& path) { return Changes::KeyDeleted{path}; }, [](RegistryKey& below) { below.Delete(); });
}
