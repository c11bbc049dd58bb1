/// @file
/// The changes of a machine as records: what its log, the control protocol, joined processes and journals consist of.
#pragma once

#include "Machine.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Platform
{

/// A record holds the state after the change, not a difference.
namespace Changes
{

struct AdapterAdded
{
    AdapterId Id = 0;
    AdapterDescription Adapter = {}; ///< With the driver key that the machine chose.
};

struct AdapterChanged
{
    AdapterId Id = 0;
    AdapterDescription Adapter = {};
    bool SendsMessages = false; ///< Windows are notified, as of an event of the computer.
};

struct AdapterRemoved
{
    AdapterId Id = 0;
};

struct DriverUninstalled
{
    AdapterId Id = 0;
};

/// A message of the adapter's interface that no change of the adapter causes, such as the query before a removal.
struct InterfaceMessage
{
    AdapterId Id = 0;
    std::uint32_t Event = 0;
};

struct KeyCreated
{
    std::string Path = {};
};

struct KeyDeleted
{
    std::string Path = {};
};

struct ValueSet
{
    std::string Path = {};
    std::string Name = {};
    RegistryValue Value = {};
};

struct ValueDeleted
{
    std::string Path = {};
    std::string Name = {};
};

struct Broadcast
{
    std::uint32_t Message = 0;
    std::uint64_t WParam = 0;
};

struct RightsChanged
{
    bool Administrator = true;
};

/// Of a named event.
struct EventChanged
{
    std::string Name = {};
    bool Signalled = true;
};

struct DeviceAttached
{
    std::string Name = {};
    std::string Module = {};   ///< Empty for a device that the program itself made.
    std::string Settings = {}; ///< JSON, for the module.
    std::string State = {};    ///< JSON, for ControlDevice::Configure; empty for none.
};

/// The settings or the stored data of a driver.
struct DriverConfigured
{
    std::string Device = {};
    std::string Settings = {}; ///< JSON.
};

struct CallsFail
{
    std::string Function = {};
    std::uint32_t Nth = 1;
    std::uint32_t Error = 0;
    std::uint32_t Count = 1;
};

struct FaultsCleared
{
};

struct CallsHeld
{
    std::string Function = {};
    bool Held = true; ///< False releases them.
};

/// A control request and its answer. Not a change of the machine, but of interest to those who read its log.
struct RequestCompleted
{
    std::string Device = {};
    std::uint32_t Code = 0;
    std::vector<std::uint8_t> Input = {};
    std::vector<std::uint8_t> Output = {};
    std::uint32_t OutputRoom = 0;
    std::uint32_t Error = 0;
    std::uint64_t DurationUs = 0;
    std::uint32_t ProcessId = 0;
    std::uint32_t ThreadId = 0;
};

} // namespace Changes

using MachineChange =
    std::variant<Changes::AdapterAdded, Changes::AdapterChanged, Changes::AdapterRemoved, Changes::DriverUninstalled,
                 Changes::InterfaceMessage, Changes::KeyCreated, Changes::KeyDeleted, Changes::ValueSet,
                 Changes::ValueDeleted, Changes::Broadcast, Changes::RightsChanged, Changes::EventChanged,
                 Changes::DeviceAttached, Changes::DriverConfigured, Changes::CallsFail, Changes::FaultsCleared,
                 Changes::CallsHeld, Changes::RequestCompleted>;

/// A change and its place in the log of its machine.
struct LoggedChange
{
    std::uint64_t Sequence = 0; ///< Counts from 1 without gaps.
    std::chrono::system_clock::time_point Time = {};
    MachineChange What = {};
};

} // namespace Platform
