/// @file
/// What a host does, and an adapter for it to find.
#pragma once

#include "HostCalls.h"
#include "Machine.h"

/// A described adapter that every filter with its service lists.
inline Platform::AdapterDescription GivenAdapter(std::string_view identity, std::string_view service)
{
    Platform::AdapterDescription adapter;
    adapter.NetCfgInstanceId = identity;
    adapter.Service = service;
    adapter.HardwareId = u"USB\\VID_1234";
    adapter.FriendlyName = u"Adapter";
    adapter.DeviceInstanceId = "USB\\VID_1234\\" + std::string(identity);
    adapter.DriverVersion = "1.2.3.4";
    adapter.InfSection = "Zorvane.ndi";
    return adapter;
}
