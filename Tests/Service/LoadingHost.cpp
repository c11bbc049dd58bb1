/// Makes a host load the library at run time and unload it at once, while its threads run. The module
/// pins itself, so the threads keep their code and the host's objects go on working.

#include "OSPlatform.h"
#include "ZVSrvcLib.h"

#include <bit>
#include <cstdlib>

template <class Interface>
unsigned int CreateZVModule(std::shared_ptr<Interface>& module, _ZV_SRVC_INTERFACE_TYPE type)
{
    const HMODULE library = LoadLibraryA(ZV_LIBRARY_FILE);
    if (library == nullptr)
        std::exit(3);
    using Create = unsigned int (*)(std::shared_ptr<Interface>&, _ZV_SRVC_INTERFACE_TYPE);
    const auto create = std::bit_cast<Create>(GetProcAddress(
        library, "_Z14CreateZVModuleI18CDeviceManagerIntfEjRSt10shared_ptrIT_E23_ZV_SRVC_INTERFACE_TYPE"));
    if (create == nullptr)
        std::exit(4);
    const unsigned int status = create(module, type);
    FreeLibrary(library);
    return status;
}

template unsigned int CreateZVModule<CDeviceManagerIntf>(std::shared_ptr<CDeviceManagerIntf>&, _ZV_SRVC_INTERFACE_TYPE);
