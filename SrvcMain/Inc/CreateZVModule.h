/// @file
/// The library's two entry points.
#pragma once

#include "CDeviceIntf.h"
#include "CDeviceManagerIntf.h"
#include "ZVExport.h"
#include "ZVStatus.h"

#include <memory>

/// Creates an object that implements one of the two interfaces. The first call in a process, for either type,
/// starts the service: a thread, tracing, and the simulated driver if the current directory contains
/// "VirtualDriver_UWP.dll". The service runs until the process ends.
///
/// Any thread may call this at any time. Calls that overlap the first one wait until it has finished, so
/// a simulated driver must not wait for such a call in Virtual_RegisterPnPHandler; it may make one
/// itself. Host and library exchange `std::shared_ptr` and `std::string`, so both must be built against
/// the same C++ runtime.
///
/// @param module receives the object and releases its previous one; untouched unless the call succeeds.
/// @param type `CDeviceManagerIntf`: ZV_SRVC_DEVICE_MANAGER_UWP. `CDeviceIntf`: ZV_SRVC_DEVICE_UWP.
/// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_INTERFACE_TYPE for any other type;
///         ZV_SRVC_ERR_MODULE_CREATE when the new object is not ready.
/// @throws std::bad_alloc, std::system_error when memory or threads are exhausted; `module` is
///         untouched. The call can be repeated. A first call that could not start the event window's
///         thread leaves a service without one: later calls succeed, listings and devices work, and
///         no client of the process is ever notified of an event.
/// @note Blocks for the start of threads; a manager has three and a device one.
template <class Interface>
unsigned int CreateZVModule(std::shared_ptr<Interface>& module, _ZV_SRVC_INTERFACE_TYPE type);

/// The instance for devices, which the library exports.
extern template ZV_API unsigned int CreateZVModule<CDeviceIntf>(std::shared_ptr<CDeviceIntf>&, _ZV_SRVC_INTERFACE_TYPE);
/// The instance for managers, which the library exports.
extern template ZV_API unsigned int CreateZVModule<CDeviceManagerIntf>(std::shared_ptr<CDeviceManagerIntf>&,
                                                                       _ZV_SRVC_INTERFACE_TYPE);
