#include "PresentAdapters.h"

#include "DriverKeyText.h"
#include "NetClassWalk.h"

#include <utility>

namespace
{

std::optional<CPresentAdapter> ReadAdapter(const CNetClassWalk& walk, const CDeviceNode& device)
{
    const auto path = device.Property(SPDRP_DRIVER, ZV_PROPERTY_CAPACITY);
    if (!path)
        return std::nullopt;
    const CRegistryKey key = walk.OpenDriverKey(*path);
    if (!key)
        return std::nullopt;
    CDriverKeyText text;
    std::string version = text.Read(key, "DriverVersion", sizeof _ZV_SRVC_DEVICE_INFO::DriverVersion);
    std::string identity = text.QueryIdentity(key).value_or(std::string());
    if (text.IsBeingDeleted())
        return std::nullopt;
    return CPresentAdapter{std::move(version), std::move(identity), device.Problem() != 0};
}

} // namespace

std::optional<std::vector<CPresentAdapter>> ReadPresentAdapters()
{
    CNetClassWalk walk;
    if (!walk.Open())
        return std::nullopt;
    std::vector<CPresentAdapter> adapters;
    while (const std::optional<CDeviceNode> device = walk.Next())
        if (std::optional<CPresentAdapter> adapter = ReadAdapter(walk, *device))
            adapters.push_back(std::move(*adapter));
    return adapters;
}
