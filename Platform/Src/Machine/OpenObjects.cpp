#include "HandleTable.h"
#include "Machine.h"
#include "ModuleTable.h"
#include "RequestTable.h"
#include "TraceHub.h"
#include "WindowTable.h"

namespace Platform
{

OpenObjects CountOpenObjects()
{
    const HandleTable& handles = HandleTable::Instance();
    // Each count is consistent in itself; together they are exact only while no other thread opens or closes.
    return {.RegistryKeys = handles.Count(HandleKind::RegistryKey),
            .DeviceSets = handles.Count(HandleKind::DeviceSet),
            .Modules = ModuleTable::Instance().Count(),
            .TraceProviders = TraceHub::Instance().ProviderCount(),
            .Files = handles.Count(HandleKind::File),
            .Events = handles.Count(HandleKind::Event),
            .RequestsInFlight = RequestTable::Instance().Count(),
            .Windows = WindowTable::Instance().Count()};
}

} // namespace Platform
