#include "DriverService.h"

#include "Failure.h"
#include "KernelDriverCodes.h"
#include "OSPlatform.h"

#include <memory>
#include <type_traits>

namespace
{

struct CloseService
{
    void operator()(SC_HANDLE service) const { CloseServiceHandle(service); }
};
using Service = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, CloseService>;

Service OpenManager(DWORD access = SC_MANAGER_CONNECT)
{
    Service manager(OpenSCManagerA(nullptr, nullptr, access));
    Require(manager != nullptr, "OpenSCManager");
    return manager;
}

/// Returns null if the driver is not installed.
Service FindDriver(SC_HANDLE manager, DWORD access)
{
    Service driver(OpenServiceA(manager, ZVK_SERVICE_NAME, access));
    Require(driver != nullptr || GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST, "OpenService");
    return driver;
}

DWORD StateOf(SC_HANDLE driver)
{
    SERVICE_STATUS status{};
    Require(QueryServiceStatus(driver, &status), "QueryServiceStatus");
    return status.dwCurrentState;
}

/// Windows unloads a driver only after the last handle of its devices is closed, and reports no change.
void Stop(SC_HANDLE driver)
{
    SERVICE_STATUS status{};
    if (!ControlService(driver, SERVICE_CONTROL_STOP, &status) && GetLastError() != ERROR_SERVICE_NOT_ACTIVE)
        // An earlier stop may be waiting for open handles.
        Require(StateOf(driver) == SERVICE_STOP_PENDING, "ControlService");
    for (int tries = 0; StateOf(driver) != SERVICE_STOPPED; ++tries)
    {
        // 10 seconds.
        if (tries == 100)
            throw Failure{"QueryServiceStatus", ERROR_TIMEOUT};
        Sleep(100);
    }
}

} // namespace

void InstallDriver(const std::string& file)
{
    char path[MAX_PATH];
    const DWORD length = GetFullPathNameA(file.c_str(), sizeof path, path, nullptr);
    Require(length != 0, "GetFullPathName");
    if (length >= sizeof path)
        throw Failure{"GetFullPathName", ERROR_FILENAME_EXCED_RANGE};
    // Windows would register a missing file and report it only at the start.
    Require(GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES, "GetFileAttributes");
    const Service manager = OpenManager(SC_MANAGER_CREATE_SERVICE);
    if (const Service driver = FindDriver(manager.get(), SERVICE_CHANGE_CONFIG))
        Require(ChangeServiceConfigA(driver.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, path,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                "ChangeServiceConfig");
    else
        Require(Service(CreateServiceA(manager.get(), ZVK_SERVICE_NAME, nullptr, SERVICE_ALL_ACCESS,
                                       SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path, nullptr,
                                       nullptr, nullptr, nullptr, nullptr)) != nullptr,
                "CreateService");
}

void StartDriver()
{
    const Service manager = OpenManager();
    const Service driver = FindDriver(manager.get(), SERVICE_START);
    if (!driver)
        throw Failure{"OpenService", ERROR_SERVICE_DOES_NOT_EXIST};
    Require(StartServiceA(driver.get(), 0, nullptr) || GetLastError() == ERROR_SERVICE_ALREADY_RUNNING, "StartService");
}

void StopDriver()
{
    const Service manager = OpenManager();
    if (const Service driver = FindDriver(manager.get(), SERVICE_STOP | SERVICE_QUERY_STATUS))
        Stop(driver.get());
}

void UninstallDriver()
{
    const Service manager = OpenManager();
    const Service driver = FindDriver(manager.get(), SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE);
    if (!driver)
        return;
    Stop(driver.get());
    // Deleted when the last handle on the service is closed, which may be in another program.
    Require(DeleteService(driver.get()), "DeleteService");
}

DriverState QueryDriver()
{
    const Service manager = OpenManager();
    const Service driver = FindDriver(manager.get(), SERVICE_QUERY_STATUS);
    if (!driver)
        return DriverState::NotInstalled;
    const DWORD state = StateOf(driver.get());
    return state == SERVICE_RUNNING   ? DriverState::Running
           : state == SERVICE_STOPPED ? DriverState::Stopped
                                      : DriverState::Changing;
}
