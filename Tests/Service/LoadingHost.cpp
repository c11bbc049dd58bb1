/// A host that loads the library at run time and unloads it while its threads run. The module pins
/// itself, so the threads keep their code and the host's objects go on working.

#include "ZVSrvcLib.h"

#include <dlfcn.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    alarm(30); // A hang ends as a failure of this process and not of the whole run.
    using Create = unsigned int (*)(std::shared_ptr<CDeviceManagerIntf>&, _ZV_SRVC_INTERFACE_TYPE);
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return 3;
    const auto create = reinterpret_cast<Create>(
        dlsym(library, "_Z14CreateZVModuleI18CDeviceManagerIntfEjRSt10shared_ptrIT_E23_ZV_SRVC_INTERFACE_TYPE"));
    if (create == nullptr)
        return 4;
    std::shared_ptr<CDeviceManagerIntf> manager;
    if (create(manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
        return 5;
    dlclose(library);
    _ZV_WLAN_NOTIFY_HDLR client{};
    if (manager->DeRegisterNotification(&client) != ZV_SRVC_ERR_INVALID_PARAMETER)
        return 6;
    return manager->RegisterNotification(&client) == ZV_SRVC_SUCCESS ? 0 : 7;
}
