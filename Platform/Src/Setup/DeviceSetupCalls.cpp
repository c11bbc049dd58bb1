// The functions of DeviceSetup.h for sets, properties and node status. Properties and status are read at the time of
// the call; only the list of devices is a snapshot, as on Windows.
#include "DeviceSetup.h"

#include "DeviceSet.h"
#include "KeyHandle.h"
#include "PublishedCall.h"

#include <algorithm>
#include <optional>
#include <span>

using namespace Platform;

namespace
{

std::string NetworkClassPath()
{
    return std::string(ClassRootPath) + '\\' + std::string(NetworkClassText);
}

// The name of the class comes from the registry, so that a test can change or remove it.
bool IsNetworkClass(const WCHAR* name)
{
    const auto value = CurrentMachine()->Value(NetworkClassPath(), "Class");
    const auto wanted = RegistryValue::Text(ToUtf8(name)).Data;
    const auto view = [](const std::vector<BYTE>& bytes) { return std::string(bytes.begin(), bytes.end()); };
    return value && EqualNames(view(value->Data), view(wanted));
}

// An empty set is a success, as on Windows for a class without devices.
std::vector<AdapterId> Snapshot(Machine& machine, const GUID* classGuid, DWORD flags)
{
    std::vector<AdapterId> devices;
    if ((flags & DIGCF_ALLCLASSES) == 0 && *classGuid != NetworkClass)
        return devices;
    Machine::Impl& data = machine.Internal();
    const ScopedLock lock(data.Lock);
    for (const auto& [id, node] : data.AdapterNodes.All())
        if (node.Description.Present || ((flags & DIGCF_PRESENT) == 0 && !node.Uninstalled))
            devices.push_back(id);
    return devices;
}

std::optional<std::u16string> Property(const AdapterDescription& adapter, DWORD property)
{
    switch (property)
    {
    case SPDRP_DEVICEDESC:
        return adapter.Description;
    case SPDRP_HARDWAREID:
        // A list: one NUL after the text and one after the list.
        return adapter.HardwareId ? std::optional(*adapter.HardwareId + u'\0') : std::nullopt;
    case SPDRP_CLASS:
        return adapter.ClassName;
    case SPDRP_CLASSGUID:
        return adapter.ClassGuid;
    case SPDRP_DRIVER:
        return adapter.DriverKey;
    case SPDRP_FRIENDLYNAME:
        return adapter.FriendlyName;
    default:
        return std::nullopt;
    }
}

DWORD ReadProperty(Machine::Impl& machine, DEVINST device, DWORD property, std::optional<std::u16string>& text)
{
    if (property >= SPDRP_MAXIMUM_PROPERTY)
        return ERROR_INVALID_REG_PROPERTY;
    const ScopedLock lock(machine.Lock);
    const AdapterNode* node = machine.AdapterNodes.Find(device);
    if (node == nullptr || node->Uninstalled)
        return ERROR_NO_SUCH_DEVINST;
    text = Property(node->Description, property);
    return text ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

// A node with a problem is not started; a hidden one may be either.
ULONG StatusBits(const AdapterDescription& adapter)
{
    const ULONG state = adapter.Problem == 0 ? DN_DRIVER_LOADED | DN_STARTED : DN_HAS_PROBLEM;
    return state | (adapter.Hidden ? DN_NO_SHOW_IN_DM : 0);
}

} // namespace

BOOL SetupDiClassGuidsFromNameW(const WCHAR* className, GUID* guids, DWORD guidCount, DWORD* requiredSize)
try
{
    if (CallFails("SetupDiClassGuidsFromNameW"))
        return FALSE;
    if (className == nullptr || requiredSize == nullptr || (guids == nullptr && guidCount != 0))
        return FailWith(ERROR_INVALID_PARAMETER);
    // Reported even if the buffer is too small, so that the caller can allocate it.
    *requiredSize = IsNetworkClass(className) ? 1 : 0;
    if (guidCount < *requiredSize)
        return FailWith(ERROR_INSUFFICIENT_BUFFER);
    std::ranges::fill_n(guids, *requiredSize, NetworkClass);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, const WCHAR* enumerator, HWND, DWORD flags)
try
{
    if (CallFails("SetupDiGetClassDevsW"))
        return INVALID_HANDLE_VALUE;
    if (enumerator != nullptr || (classGuid == nullptr && (flags & DIGCF_ALLCLASSES) == 0))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    auto machine = CurrentMachine();
    auto devices = Snapshot(*machine, classGuid, flags);
    return HandleTable::Instance().Add(std::make_shared<DeviceSet>(std::move(machine), std::move(devices)));
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(INVALID_HANDLE_VALUE);
}

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set)
{
    if (CallFails("SetupDiDestroyDeviceInfoList"))
        return FALSE;
    return HandleTable::Instance().Close<DeviceSet>(set) ? TRUE : FailWith(ERROR_INVALID_HANDLE);
}

HKEY SetupDiOpenClassRegKey(const GUID* classGuid, REGSAM access)
try
{
    const HKEY failed = static_cast<HKEY>(INVALID_HANDLE_VALUE);
    if (CallFails("SetupDiOpenClassRegKey"))
        return failed;
    if (classGuid != nullptr && *classGuid != NetworkClass)
    {
        SetLastError(ERROR_INVALID_CLASS);
        return failed;
    }
    auto machine = CurrentMachine();
    const std::string path = classGuid != nullptr ? NetworkClassPath() : std::string(ClassRootPath);
    Machine::Impl& data = machine->Internal();
    const ScopedLock lock(data.Lock);
    RegistryKeyPtr key = data.Registry->Find(path);
    if (!key)
    {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return failed;
    }
    if ((access & ~KEY_READ) != 0 && !data.Administrator)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return failed;
    }
    return AddKeyHandle(machine, std::move(key), (access & KEY_SET_VALUE) != 0);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(static_cast<HKEY>(INVALID_HANDLE_VALUE));
}

BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* device)
{
    if (CallFails("SetupDiEnumDeviceInfo"))
        return FALSE;
    if (device == nullptr)
        return FailWith(ERROR_INVALID_PARAMETER);
    const auto open = HandleTable::Instance().Find<DeviceSet>(set);
    if (!open)
        return FailWith(ERROR_INVALID_HANDLE);
    if (device->cbSize != sizeof(SP_DEVINFO_DATA))
        return FailWith(ERROR_INVALID_USER_BUFFER);
    if (index >= open->Devices.size())
        return FailWith(ERROR_NO_MORE_ITEMS);
    // The last field is opaque to callers and has no effect here.
    *device = {sizeof(SP_DEVINFO_DATA), NetworkClass, open->Devices[index], ULONG_PTR{index} + 1};
    return TRUE;
}

BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD property, DWORD* type, BYTE* buffer,
                                       DWORD bufferSize, DWORD* requiredSize)
try
{
    if (CallFails("SetupDiGetDeviceRegistryPropertyW"))
        return FALSE;
    const auto open = HandleTable::Instance().Find<DeviceSet>(set);
    if (!open)
        return FailWith(ERROR_INVALID_HANDLE);
    if (!open->Holds(device))
        return FailWith(ERROR_INVALID_PARAMETER);
    std::optional<std::u16string> text;
    if (const DWORD error = ReadProperty(open->Data, device->DevInst, property, text))
        return FailWith(error);
    const auto bytes = std::as_bytes(std::span(text->c_str(), text->size() + 1));
    if (type != nullptr)
        *type = property == SPDRP_HARDWAREID ? REG_MULTI_SZ : REG_SZ;
    if (requiredSize != nullptr)
        *requiredSize = static_cast<DWORD>(bytes.size());
    // Type and size are stored by then, because callers ask for them with an empty buffer.
    if (buffer == nullptr || bufferSize < bytes.size())
        return FailWith(ERROR_INSUFFICIENT_BUFFER);
    std::ranges::copy(bytes, std::as_writable_bytes(std::span(buffer, bufferSize)).begin());
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

CONFIGRET CM_Get_DevNode_Status(ULONG* status, ULONG* problem, DEVINST device, ULONG flags)
try
{
    if (const CONFIGRET fault = CallFault("CM_Get_DevNode_Status", CR_FAILURE))
        return fault;
    if (status == nullptr || problem == nullptr)
        return CR_INVALID_POINTER;
    if (flags != 0)
        return CR_INVALID_FLAG;
    const auto machine = CurrentMachine();
    Machine::Impl& data = machine->Internal();
    const ScopedLock lock(data.Lock);
    const AdapterNode* node = data.AdapterNodes.Find(device);
    if (node == nullptr || !node->Description.Present || !node->Description.Readable)
        return CR_NO_SUCH_DEVINST; // the outputs stay unchanged, which callers must cope with
    *status = StatusBits(node->Description);
    *problem = node->Description.Problem;
    return CR_SUCCESS;
}
catch (const std::bad_alloc&)
{
    return CR_FAILURE;
}
