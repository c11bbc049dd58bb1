#include "AdapterEnumeration.h"

#include "CVirtualDriverBinding.h"
#include "NetClassWalk.h"
#include "RecordText.h"
#include "RegistryAccess.h"
#include "TracePoint.h"

#include "ZVStatus.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace
{

constexpr DWORD NameCapacity = 200;
constexpr DWORD ServiceCapacity = 100;

template <std::size_t Size>
void ReadField(const CRegistryKey& key, const char* name, char (&field)[Size])
{
    FillField(field, ReadText(key.Get(), name, Size));
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

void TraceAccepted(const _ZV_SRVC_DEVICE_INFO& record)
{
    const std::uint32_t flags = record.StateFlags;
    ZV_TRACE(WalkAccepted, record.DeviceName, record.DriverKeyIndex, record.NetCfgInstanceId, record.DeviceInstanceID,
             record.DriverVersion, record.InfSection, record.Service, flags);
}

/// Makes the record of a device that passes the filter.
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
    const std::string service = Lowered(ReadText(ndi.Get(), "Service", ServiceCapacity));
    if (!filter.MatchService(service))
        return nullptr;

    auto record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    const std::string driverKeyText = ToUtf8(*driverKey);
    FillField(record->DeviceName, ChooseName(device));
    ReadField(key, "DriverVersion", record->DriverVersion);
    ReadField(key, "InfSection", record->InfSection);
    ReadField(key, "NetCfgInstanceId", record->NetCfgInstanceId);
    ReadField(key, "DeviceInstanceID", record->DeviceInstanceID);
    FillField(record->DriverKeyIndex, driverKeyText.substr(driverKeyText.rfind('\\') + 1));
    FillField(record->Service, service);
    record->StateFlags = device.Problem() != 0 ? ZV_DEV_HAS_PROBLEM : 0;
    return filter.MatchDeviceIdFilter(FieldText(record->DeviceInstanceID)) ? record : nullptr;
}

unsigned int WalkToList(const CAdapterFilter& filter, CAdapterList& target)
{
    CNetClassWalk walk;
    if (!walk.Open())
        return ZV_SRVC_ERR_FAILURE;
    std::uint32_t accepted = 0;
    while (const std::optional<CDeviceNode> device = walk.Next())
    {
        const ZVAdapterRecord record = MakeRecord(walk, *device, filter);
        if (record == nullptr)
            continue;
        TraceAccepted(*record);
        AddDeviceToList(target, record);
        ++accepted;
    }
    const std::uint32_t status = accepted > 0 ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_NO_DEVICE;
    ZV_TRACE(WalkDone, status, accepted);
    return status;
}

constexpr std::size_t MaxSimulatedRecords = 10;
constexpr std::size_t SimulatedRoom = 7500;
constexpr std::size_t RecordSize = sizeof(_ZV_SRVC_DEVICE_INFO);

/// Gives the flags of a delivered record to the first listed one of the same identity.
void RefreshFlags(CAdapterList::CList& list, const _ZV_SRVC_DEVICE_INFO& delivered)
{
    const auto found = std::ranges::find_if(list, [&](const ZVAdapterRecord& listed) {
        return std::memcmp(listed->NetCfgInstanceId, delivered.NetCfgInstanceId, sizeof delivered.NetCfgInstanceId) ==
               0;
    });
    if (found != list.end())
        StoreStateFlags(**found, delivered.StateFlags);
}

} // namespace

unsigned int EnumDeviceToList(const CAdapterFilter& filter, CAdapterList& target)
{
    if (filter.ServiceFilter.empty())
    {
        ZV_TRACE(WalkNoFilter);
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    }
    target.Clear();
    return Fake_EnumDevice(target) ? ZV_SRVC_SUCCESS : WalkToList(filter, target);
}

std::optional<std::vector<ZVAdapterRecord>> ReadSimulatedDriver()
{
    const ZVVirtualEnum enumerate = Virtual_EnumZVDevice;
    if (enumerate == nullptr)
        return std::nullopt;
    alignas(_ZV_SRVC_DEVICE_INFO) std::array<std::byte, SimulatedRoom> buffer{};
    CVirtualEnumDescriptor descriptor{MaxSimulatedRecords * RecordSize, 0, buffer.data()};
    enumerate(buffer.data(), &descriptor);

    const std::size_t count = std::min(descriptor.Length / RecordSize, MaxSimulatedRecords);
    std::vector<ZVAdapterRecord> delivered;
    for (std::size_t i = 0; i < count; ++i)
    {
        delivered.push_back(std::make_shared<_ZV_SRVC_DEVICE_INFO>());
        std::memcpy(delivered.back().get(), buffer.data() + i * RecordSize, RecordSize);
    }
    const auto records = static_cast<std::uint32_t>(count);
    ZV_TRACE(SimulatedRecords, records);
    return delivered;
}

void FillOrRefresh(CAdapterList& target, const std::vector<ZVAdapterRecord>& delivered)
{
    target.With([&](CAdapterList::CList& list) {
        if (list.empty())
            list.assign(delivered.begin(), delivered.end());
        else
            for (const ZVAdapterRecord& record : delivered)
                RefreshFlags(list, *record);
    });
}

bool Fake_EnumDevice(CAdapterList& target)
{
    const auto delivered = ReadSimulatedDriver();
    if (delivered)
        FillOrRefresh(target, *delivered);
    return delivered.has_value();
}
