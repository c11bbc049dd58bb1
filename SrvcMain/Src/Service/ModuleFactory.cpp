// The entry points and the factory that they call.

#include "CModuleBase.h"
#include "CUWPDevice.h"
#include "CUWPDeviceManager.h"
#include "CZVNSrvcMgnt.h"
#include "CreateZVModule.h"
#include "ProcessEnd.h"
#include "TracePoint.h"

#include <memory>
#include <utility>

namespace
{

/// A host may hold the last reference until the process ends. Once Windows has terminated the other
/// threads, an object cannot be destroyed any more, since its thread cannot be joined.
struct CRelease
{
    template <class Class>
    void operator()(Class* object) const
    {
        if (!ThreadsHaveBeenEnded())
            delete object;
    }
};

/// Creates an object.
/// @return an empty pointer when it reports that it is not ready.
template <class Class>
std::shared_ptr<Class> MakeObject(std::uint32_t type)
{
    std::shared_ptr<Class> object(new Class, CRelease{});
    CModuleBase& base = *object;
    if (base.IsModuleReady())
        return object;
    ZV_TRACE(FactoryNotReady, type);
    return nullptr;
}

/// Hands a ready object out, as the last step of a call that can fail.
template <class Class, class Interface>
unsigned int HandOut(std::shared_ptr<Class> object, std::shared_ptr<Interface>& module) noexcept
{
    if (object == nullptr)
        return ZV_SRVC_ERR_MODULE_CREATE;
    module = std::move(object);
    return ZV_SRVC_SUCCESS;
}

unsigned int MakeFor(std::shared_ptr<CDeviceIntf>& module, _ZV_SRVC_INTERFACE_TYPE type)
{
    const std::uint32_t number = type;
    switch (type)
    {
    case ZV_SRVC_DEVICE_UWP:
        ZV_TRACE(FactoryDevice);
        return HandOut(MakeObject<CUWPDevice>(number), module);
    case ZV_SRVC_DEVICE_BASE:
    case ZV_SRVC_DEVICE_RESERVED:
        return ZV_SRVC_ERR_INTERFACE_TYPE;
    default:
        ZV_TRACE(FactoryUnknownType, number);
        return ZV_SRVC_ERR_INTERFACE_TYPE;
    }
}

unsigned int MakeFor(std::shared_ptr<CDeviceManagerIntf>& module, _ZV_SRVC_INTERFACE_TYPE type)
{
    const std::uint32_t number = type;
    switch (type)
    {
    case ZV_SRVC_DEVICE_MANAGER_UWP:
        break;
    case ZV_SRVC_DEVICE_MANAGER_BASE:
        return ZV_SRVC_ERR_INTERFACE_TYPE;
    default:
        ZV_TRACE(FactoryUnknownType, number);
        return ZV_SRVC_ERR_INTERFACE_TYPE;
    }
    ZV_TRACE(FactoryManager);
    std::shared_ptr<CUWPDeviceManager> manager = MakeObject<CUWPDeviceManager>(number);
    // Registered before it is handed out, because registering can fail, and the manager would then receive
    // no events.
    if (manager != nullptr)
        WithService([&](CZVNSrvcMgnt& service) { service.RegisterPwrEvtHandler(manager); });
    return HandOut(std::move(manager), module);
}

} // namespace

template <class Interface>
unsigned int CreateZVModule(std::shared_ptr<Interface>& module, _ZV_SRVC_INTERFACE_TYPE type)
{
    EnsureService();
    return MakeFor(module, type);
}

template ZV_API unsigned int CreateZVModule<CDeviceIntf>(std::shared_ptr<CDeviceIntf>&, _ZV_SRVC_INTERFACE_TYPE);
template ZV_API unsigned int CreateZVModule<CDeviceManagerIntf>(std::shared_ptr<CDeviceManagerIntf>&,
                                                                _ZV_SRVC_INTERFACE_TYPE);
