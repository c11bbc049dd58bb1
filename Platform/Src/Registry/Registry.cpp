#include "Registry.h"

#include "KeyHandle.h"
#include "MachineImpl.h"
#include "PublishedCall.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

namespace Platform
{

KeyHandle::KeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable)
    : Owner(std::move(owner)), Key(std::move(key)), Writable(writable)
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

// A caller without the rights opens keys all the same, since these calls ask for whatever is allowed: it
// may only read. The rights are those of the time when the key is opened.
bool MayWrite(const Machine& machine)
{
    return machine.Internal().Administrator;
}

std::shared_ptr<KeyHandle> Resolve(HKEY key)
{
    if (key != HKEY_LOCAL_MACHINE)
        return HandleTable::Instance().Find<KeyHandle>(key);
    auto machine = CurrentMachine();
    auto root = machine->Internal().Registry;
    const bool writable = MayWrite(*machine);
    return std::make_shared<KeyHandle>(std::move(machine), std::move(root), writable);
}

// Runs the work on an open key, under its machine's lock.
template <class Work>
LSTATUS WithKey(HKEY key, Work work)
try
{
    const auto open = Resolve(key);
    if (!open)
        return ERROR_INVALID_HANDLE;
    const std::lock_guard lock(open->Owner->Internal().Lock);
    return open->Key->IsDeleted() ? ERROR_KEY_DELETED : work(*open);
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

// The same on an existing key below it.
template <class Work>
LSTATUS WithKeyBelow(HKEY key, std::string_view path, Work work)
{
    return WithKey(key, [&](const KeyHandle& open) -> LSTATUS {
        if (path.starts_with('\\'))
            return ERROR_BAD_PATHNAME;
        const RegistryKeyPtr below = open.Key->Find(path);
        return below ? work(open, below) : ERROR_FILE_NOT_FOUND;
    });
}

LSTATUS Open(HKEY key, std::string_view path, HKEY* result)
{
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return WithKeyBelow(key, path, [&](const KeyHandle& open, const RegistryKeyPtr& below) -> LSTATUS {
        *result = path.empty() ? key : AddKeyHandle(open.Owner, below, MayWrite(*open.Owner));
        return ERROR_SUCCESS;
    });
}

LSTATUS Create(const KeyHandle& open, std::string_view path, HKEY* result)
{
    if (path.starts_with('\\'))
        return ERROR_BAD_PATHNAME;
    // The root holds loaded hives only.
    if (open.Key->IsRoot() && !open.Key->Find(path.substr(0, path.find('\\'))))
        return ERROR_INVALID_PARAMETER;
    const bool writable = MayWrite(*open.Owner);
    if (!writable && !open.Key->Find(path))
        return ERROR_ACCESS_DENIED;
    NewKey created(*open.Key, path);
    *result = AddKeyHandle(open.Owner, created.Key(), writable);
    created.Attach(); // last, so that a key that cannot be opened is not created
    return ERROR_SUCCESS;
}

bool IsText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

LSTATUS Read(const RegistryValue& value, BYTE* data, DWORD* size)
{
    const std::vector<BYTE>& stored = value.Data;
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
    return WithKey(key, [&](const KeyHandle& open) { return Create(open, OrEmpty(subKey), result); });
}

LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size)
{
    if (const LSTATUS fault = Fault("RegQueryValueExA"))
        return fault;
    if (reserved != nullptr || (data != nullptr && size == nullptr))
        return ERROR_INVALID_PARAMETER;
    return WithKey(key, [&](const KeyHandle& open) -> LSTATUS {
        const auto found = open.Key->Values.find(OrEmpty(valueName));
        const bool exists = found != open.Key->Values.end();
        if (type != nullptr)
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
    return WithKey(key, [&](const KeyHandle& open) -> LSTATUS {
        if (!open.Writable)
            return ERROR_ACCESS_DENIED;
        open.Key->Values.insert_or_assign(OrEmpty(valueName), RegistryValue{type, {data, data + size}});
        return ERROR_SUCCESS;
    });
}

LSTATUS RegFlushKey(HKEY key)
{
    const LSTATUS fault = Fault("RegFlushKey");
    return fault != 0 ? fault : WithKey(key, [](const KeyHandle&) { return ERROR_SUCCESS; });
}

LSTATUS RegCloseKey(HKEY key)
{
    if (const LSTATUS fault = Fault("RegCloseKey"))
        return fault;
    const bool closed = key == HKEY_LOCAL_MACHINE || HandleTable::Instance().Close<KeyHandle>(key);
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegDeleteKeyValueA(HKEY key, const char* subKey, const char* valueName)
{
    if (const LSTATUS fault = Fault("RegDeleteKeyValueA"))
        return fault;
    const std::string_view path = OrEmpty(subKey);
    return WithKeyBelow(key, path, [&](const KeyHandle& open, const RegistryKeyPtr& below) -> LSTATUS {
        if (subKey == nullptr ? !open.Writable : !MayWrite(*open.Owner))
            return ERROR_ACCESS_DENIED;
        return below->Values.erase(OrEmpty(valueName)) != 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    });
}

LSTATUS RegDeleteKeyA(HKEY key, const char* subKey)
{
    if (const LSTATUS fault = Fault("RegDeleteKeyA"))
        return fault;
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    return WithKeyBelow(key, subKey, [](const KeyHandle& open, const RegistryKeyPtr& below) -> LSTATUS {
        if (below->HasSubkeys() || below->IsRoot() || !MayWrite(*open.Owner))
            return ERROR_ACCESS_DENIED;
        below->Delete();
        return ERROR_SUCCESS;
    });
}
