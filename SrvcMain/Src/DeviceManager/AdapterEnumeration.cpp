#include "AdapterEnumeration.h"

#include "CVirtualDriverBinding.h"
#include "DriverKeyText.h"
#include "NetClassWalk.h"
#include "RecordText.h"
#include "TracePoint.h"

#include "ZVStatus.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace
{

constexpr DWORD NameCapacity = 200;
constexpr DWORD ServiceCapacity = 100;

template <std::size_t Size>
void ReadField(CDriverKeyText& text, const CRegistryKey& key, const char* name, char (&field)[Size])
{
    FillField(field, text.Read(key, name, Size));
}

CRegistryKey OpenSubkey(const CRegistryKey& key, const char* name)
{
    CRegistryKey subkey;
    RegOpenKeyA(key.Get(), name, subkey.Receive());
    return subkey;
}

std::string Lowered(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::string ChooseName(const CDeviceNode& device)
{
    constexpr DWORD codes[] = {SPDRP_FRIENDLYNAME, SPDRP_DEVICEDESC, SPDRP_CLASS, SPDRP_CLASSGUID};
    for (const DWORD code : codes)
        if (const auto name = device.Property(code, NameCapacity); name && !name->empty())
            return ToUtf8(*name);
    return "<Unknown Device>";
}

/// Returns the part after the last backslash, or nothing if it does not fit: a truncated number would be
/// the number of another adapter's key.
std::string DriverKeyIndexOf(const std::string& driverKey)
{
    const std::string index = driverKey.substr(driverKey.rfind('\\') + 1);
    return index.size() < sizeof _ZV_SRVC_DEVICE_INFO::DriverKeyIndex ? index : std::string();
}

void TraceAccepted(const _ZV_SRVC_DEVICE_INFO& record)
{
    const std::uint32_t flags = record.StateFlags;
    ZV_TRACE(WalkAccepted, record.DeviceName, record.DriverKeyIndex, record.NetCfgInstanceId, record.DeviceInstanceID,
             record.DriverVersion, record.InfSection, record.Service, flags);
}

/// Creates the record of a device that passes the filter.
/// @return an empty pointer for a device that is not listed.
ZVAdapterRecord MakeRecord(const CNetClassWalk& walk, const CDeviceNode& device, const CAdapterFilter& filter)
{
    const auto hardwareId = device.Property(SPDRP_HARDWAREID, ZV_PROPERTY_CAPACITY);
    if (!hardwareId)
        return nullptr;
    const auto driverKey = device.Property(SPDRP_DRIVER, ZV_PROPERTY_CAPACITY);
    if (!driverKey)
        return nullptr;
    ZV_TRACE(WalkHardwareId, ToUtf8(*hardwareId));
    const CRegistryKey key = walk.OpenDriverKey(*driverKey);
    if (!key || !OpenSubkey(key, "Linkage"))
        return nullptr;
    const CRegistryKey ndi = OpenSubkey(key, "NDI");
    if (!ndi)
        return nullptr;
    CDriverKeyText text;
    const std::string service = Lowered(text.Read(ndi, "Service", ServiceCapacity));
    if (text.IsBeingDeleted() || !filter.MatchService(service))
        return nullptr;

    auto record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    FillField(record->DeviceName, ChooseName(device));
    ReadField(text, key, "DriverVersion", record->DriverVersion);
    ReadField(text, key, "InfSection", record->InfSection);
    ReadField(text, key, "NetCfgInstanceId", record->NetCfgInstanceId);
    ReadField(text, key, "DeviceInstanceID", record->DeviceInstanceID);
    if (text.IsBeingDeleted())
        return nullptr;
    FillField(record->DriverKeyIndex, DriverKeyIndexOf(ToUtf8(*driverKey)));
    FillField(record->Service, service);
    record->StateFlags = device.Problem() != 0 ? ZV_DEV_HAS_PROBLEM : 0;
    return filter.MatchDeviceIdFilter(FieldText(record->DeviceInstanceID)) ? record : nullptr;
}

unsigned int WalkToList(const CAdapterFilter& filter, ZVAdapterRecords& target)
{
    CNetClassWalk walk;
    if (!walk.Open())
        return ZV_SRVC_ERR_FAILURE;
    while (const std::optional<CDeviceNode> device = walk.Next())
    {
        ZVAdapterRecord record = MakeRecord(walk, *device, filter);
        if (record == nullptr)
            continue;
        TraceAccepted(*record);
        target.push_back(std::move(record));
    }
    const auto accepted = static_cast<std::uint32_t>(target.size());
    const std::uint32_t status = accepted > 0 ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_NO_DEVICE;
    ZV_TRACE(WalkDone, status, accepted);
    return status;
}

constexpr std::size_t MaxSimulatedRecords = 10;
constexpr std::size_t SimulatedBufferSize = 7500;
constexpr std::size_t RecordSize = sizeof(_ZV_SRVC_DEVICE_INFO);

} // namespace

unsigned int EnumDeviceToList(const CAdapterFilter& filter, ZVAdapterRecords& target)
{
    if (filter.ServiceFilter.empty())
    {
        ZV_TRACE(WalkNoFilter);
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    }
    target.clear();
    std::optional<ZVAdapterRecords> delivered = ReadSimulatedDriver();
    if (!delivered)
        return WalkToList(filter, target);
    target = std::move(*delivered);
    return ZV_SRVC_SUCCESS;
}

std::optional<ZVAdapterRecords> ReadSimulatedDriver()
{
    const ZVVirtualEnum enumerate = Virtual_EnumZVDevice;
    if (enumerate == nullptr)
        return std::nullopt;
    alignas(_ZV_SRVC_DEVICE_INFO) std::array<std::byte, SimulatedBufferSize> buffer{};
    CVirtualEnumDescriptor descriptor{MaxSimulatedRecords * RecordSize, 0, buffer.data()};
    enumerate(buffer.data(), &descriptor);

    const std::size_t count = std::min(descriptor.Length / RecordSize, MaxSimulatedRecords);
    ZVAdapterRecords delivered;
    for (std::size_t i = 0; i < count; ++i)
    {
        delivered.push_back(std::make_shared<_ZV_SRVC_DEVICE_INFO>());
        std::memcpy(delivered.back().get(), buffer.data() + i * RecordSize, RecordSize);
    }
    const auto records = static_cast<std::uint32_t>(count);
    ZV_TRACE(SimulatedRecords, records);
    return delivered;
}
