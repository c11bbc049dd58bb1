#include "HandleTable.h"
#include "Machine.h"
#include "ModuleTable.h"
#include "TraceHub.h"

namespace Platform
{

OpenObjects CountOpenObjects()
{
    const HandleTable& handles = HandleTable::Instance();
    return {handles.Count(HandleKind::RegistryKey), handles.Count(HandleKind::DeviceSet),
            ModuleTable::Instance().Count(), TraceHub::Instance().ProviderCount()};
}

} // namespace Platform
