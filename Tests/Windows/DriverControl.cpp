// Loads and unloads the kernel-mode test driver: driver_control load FILE, driver_control unload.
#include "KernelDriverCodes.h"
#include "OSPlatform.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace
{

struct CloseService
{
    void operator()(SC_HANDLE service) const { CloseServiceHandle(service); }
};
using Service = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, CloseService>;

int Fail(const char* what)
{
    std::fprintf(stderr, "driver_control: %s: error %lu\n", what, GetLastError());
    return 1;
}

Service FindDriver(SC_HANDLE manager)
{
    return Service(OpenServiceA(manager, ZVK_SERVICE_NAME, SERVICE_ALL_ACCESS));
}

/// Succeeds even if the driver is not loaded.
int Unload(SC_HANDLE manager)
{
    const Service driver = FindDriver(manager);
    if (!driver)
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : Fail("open");
    SERVICE_STATUS status{};
    if (!ControlService(driver.get(), SERVICE_CONTROL_STOP, &status) && GetLastError() != ERROR_SERVICE_NOT_ACTIVE)
        return Fail("stop");
    return DeleteService(driver.get()) ? 0 : Fail("delete");
}

int Load(SC_HANDLE manager, const char* file)
{
    char path[MAX_PATH];
    if (GetFullPathNameA(file, sizeof path, path, nullptr) == 0)
        return Fail(file);
    // One that is left of an earlier run may be another file.
    if (const int result = Unload(manager))
        return result;
    const Service driver(CreateServiceA(manager, ZVK_SERVICE_NAME, nullptr, SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                                        SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path, nullptr, nullptr, nullptr,
                                        nullptr, nullptr));
    if (!driver)
        return Fail("create");
    return StartServiceA(driver.get(), 0, nullptr) ? 0 : Fail("start");
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view verb = count > 1 ? arguments[1] : "";
    if (!(verb == "load" && count == 3) && !(verb == "unload" && count == 2))
    {
        std::fputs("usage: driver_control load FILE | unload\n", stderr);
        return 2;
    }
    const Service manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    if (!manager)
        return Fail("service manager");
    return verb == "load" ? Load(manager.get(), arguments[2]) : Unload(manager.get());
}
