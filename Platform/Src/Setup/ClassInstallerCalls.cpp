// The functions of DeviceSetup.h for the driver key and for the class installer, which enables and disables devices.
#include "DeviceSet.h"
#include "KeyHandle.h"
#include "PublishedCall.h"

#include <cstring>
#include <optional>
#include <stdexcept>

using namespace Platform;

namespace
{

/// Returns the error of using a device of a set; 0 for none.
DWORD DeviceError(const std::shared_ptr<DeviceSet>& set, const SP_DEVINFO_DATA* device)
{
    if (!set)
        return ERROR_INVALID_HANDLE;
    return set->Holds(device) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

/// Returns an error number; 0 with the handle in `result`.
DWORD OpenDriverKey(const DeviceSet& set, AdapterId device, REGSAM access, HKEY& result)
{
    Machine::Impl& machine = set.Data;
    const ScopedLock lock(machine.Lock);
    const AdapterNode* node = machine.AdapterNodes.Find(device);
    if (node == nullptr || node->Uninstalled)
        return ERROR_NO_SUCH_DEVINST;
    const auto& name = node->Description.DriverKey;
    RegistryKeyPtr key =
        name ? machine.Registry->Find(std::string(ClassRootPath) + '\\' + ToUtf8(*name)) : RegistryKeyPtr();
    if (!key)
        return ERROR_KEY_DOES_NOT_EXIST;
    // Unlike the registry calls, this one asks for exact rights and fails without them.
    if ((access & ~KEY_READ) != 0 && !machine.Administrator)
        return ERROR_ACCESS_DENIED;
    result = AddKeyHandle(set.Owner, std::move(key), (access & KEY_SET_VALUE) != 0);
    return ERROR_SUCCESS;
}

// Windows accepts a disable in one profile only, and an enable in one or in all.
bool IsKnownChange(const SP_PROPCHANGE_PARAMS& change)
{
    const bool enable = change.StateChange == DICS_ENABLE &&
                        (change.Scope == DICS_FLAG_GLOBAL || change.Scope == DICS_FLAG_CONFIGSPECIFIC);
    return change.ClassInstallHeader.InstallFunction == DIF_PROPERTYCHANGE &&
           (enable || (change.StateChange == DICS_DISABLE && change.Scope == DICS_FLAG_CONFIGSPECIFIC));
}

DWORD ReadParameters(const SP_CLASSINSTALL_HEADER* parameters, DWORD size, SP_PROPCHANGE_PARAMS& change)
{
    if (parameters == nullptr || size != sizeof(change))
        return ERROR_INVALID_PARAMETER;
    if (parameters->cbSize != sizeof(SP_CLASSINSTALL_HEADER))
        return ERROR_INVALID_USER_BUFFER;
    std::memcpy(&change, parameters, sizeof(change));
    return IsKnownChange(change) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

/// Returns nothing if the device has no parameters for the function.
std::optional<SP_PROPCHANGE_PARAMS> ParametersFor(DI_FUNCTION function, const DeviceSet& set, AdapterId device)
{
    const ScopedLock lock(set.Data.Lock);
    const auto found = set.InstallParameters.find(device);
    return function != DIF_PROPERTYCHANGE || found == set.InstallParameters.end() ? std::nullopt
                                                                                  : std::optional(found->second);
}

/// Returns the error that prevents the change; 0 for none.
DWORD Objection(Machine::Impl& machine, AdapterId device)
{
    // Checked first: a caller without rights receives this error even for an absent device.
    if (!machine.Administrator)
        return ERROR_ACCESS_DENIED;
    const ScopedLock lock(machine.Lock);
    const AdapterNode* node = machine.AdapterNodes.Find(device);
    return node != nullptr && node->Description.Present ? node->Description.StateChangeError : ERROR_NO_SUCH_DEVINST;
}

DWORD CarryOut(const SP_PROPCHANGE_PARAMS& change, Machine& machine, AdapterId device)
try
{
    // An enable in every profile ends a disable in every profile, which no adapter here has.
    if (change.Scope == DICS_FLAG_GLOBAL)
        return ERROR_SUCCESS;
    if (change.StateChange == DICS_ENABLE)
        return machine.Enable(device) ? ERROR_SUCCESS : ERROR_NO_SUCH_DEVINST;
    return machine.Disable(device) ? ERROR_SUCCESS : ERROR_NOT_DISABLEABLE;
}
catch (const std::out_of_range&) // removed meanwhile
{
    return ERROR_NO_SUCH_DEVINST;
}
catch (const MachineServerError&)
{
    return RPC_S_SERVER_UNAVAILABLE;
}

} // namespace

HKEY SetupDiOpenDevRegKey(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope, DWORD profile, DWORD keyType,
                          REGSAM access)
try
{
    HKEY result = static_cast<HKEY>(INVALID_HANDLE_VALUE);
    if (CallFails("SetupDiOpenDevRegKey"))
        return result;
    const auto open = HandleTable::Instance().Find<DeviceSet>(set);
    DWORD error = DeviceError(open, device);
    if (error == ERROR_SUCCESS && (scope != DICS_FLAG_GLOBAL || profile != 0 || keyType != DIREG_DRV))
        error = ERROR_INVALID_PARAMETER;
    if (error == ERROR_SUCCESS)
        error = OpenDriverKey(*open, device->DevInst, access, result);
    if (error != ERROR_SUCCESS)
        SetLastError(error);
    return result;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(static_cast<HKEY>(INVALID_HANDLE_VALUE));
}

BOOL SetupDiSetClassInstallParamsW(HDEVINFO set, SP_DEVINFO_DATA* device, SP_CLASSINSTALL_HEADER* parameters,
                                   DWORD size)
try
{
    if (CallFails("SetupDiSetClassInstallParamsW"))
        return FALSE;
    const auto open = HandleTable::Instance().Find<DeviceSet>(set);
    if (const DWORD error = DeviceError(open, device))
        return FailWith(error);
    if (parameters == nullptr && size == 0)
    {
        const ScopedLock lock(open->Data.Lock);
        open->InstallParameters.erase(device->DevInst);
        return TRUE;
    }
    SP_PROPCHANGE_PARAMS change{};
    if (const DWORD error = ReadParameters(parameters, size, change))
        return FailWith(error);
    const ScopedLock lock(open->Data.Lock);
    open->InstallParameters.insert_or_assign(device->DevInst, change);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

BOOL SetupDiCallClassInstaller(DI_FUNCTION function, HDEVINFO set, SP_DEVINFO_DATA* device)
try
{
    if (CallFails("SetupDiCallClassInstaller"))
        return FALSE;
    const auto open = HandleTable::Instance().Find<DeviceSet>(set);
    if (const DWORD error = DeviceError(open, device))
        return FailWith(error);
    const auto change = ParametersFor(function, *open, device->DevInst);
    if (!change)
        return FailWith(ERROR_NO_CLASSINSTALL_PARAMS);
    if (const DWORD error = Objection(open->Data, device->DevInst))
        return FailWith(error);
    // Without the lock: this sends messages and waits for window procedures.
    const DWORD error = CarryOut(*change, *open->Owner, device->DevInst);
    return error == ERROR_SUCCESS ? TRUE : FailWith(error);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}
