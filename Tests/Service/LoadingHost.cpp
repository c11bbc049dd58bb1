/// Makes a host load the library at run time and unload it at once, while its threads run. The module
/// pins itself, so the threads keep their code and the host's objects go on working.

#include "ZVSrvcLib.h"

#include <cstdlib>
#include <dlfcn.h>

template <class Interface>
unsigned int CreateZVModule(std::shared_ptr<Interface>& module, _ZV_SRVC_INTERFACE_TYPE type)
{
    void* const library = dlopen(ZV_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        std::exit(3);
    using Create = unsigned int (*)(std::shared_ptr<Interface>&, _ZV_SRVC_INTERFACE_TYPE);
    const auto create = reinterpret_cast<Create>(
        dlsym(library, "_Z14CreateZVModuleI18CDeviceManagerIntfEjRSt10shared_ptrIT_E23_ZV_SRVC_INTERFACE_TYPE"));
    if (create == nullptr)
        std::exit(4);
    const unsigned int status = create(module, type);
    dlclose(library);
    return status;
}

template unsigned int CreateZVModule<CDeviceManagerIntf>(std::shared_ptr<CDeviceManagerIntf>&, _ZV_SRVC_INTERFACE_TYPE);
