/// @file
/// Messages about device interfaces.
#pragma once

#include "Machine.h"
#include "Windowing.h"

#include <memory>

namespace Platform
{

/// GUID_NDIS_LAN_CLASS, the interface class of every adapter.
inline constexpr GUID LanInterfaceClass = {
    0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}};

/// Creates the record that a message about an adapter's interface points at.
std::shared_ptr<const DEV_BROADCAST_DEVICEINTERFACE_W> MakeInterfaceRecord(const AdapterDescription& adapter);

} // namespace Platform
