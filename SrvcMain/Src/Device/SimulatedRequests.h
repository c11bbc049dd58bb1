/// @file
/// Requests to the simulated driver. Each returns false without an effect when its entry is not bound. The
/// result of a bound entry is ignored.
#pragma once

#include "DriverRequest.h"

#include "ZVDeviceInfo.h"

#include <cstdint>
#include <string>

bool Fake_IOCTL_Send(const _ZV_SRVC_DEVICE_INFO& record, const CDriverRequest& request);
bool Fake_SetQueryInfo(const _ZV_SRVC_DEVICE_INFO& record, std::uint8_t isSet, std::uint32_t infoId, void* buffer,
                       std::uint32_t length);
bool Fake_AccessRegistry(const _ZV_SRVC_DEVICE_INFO& record, std::uint32_t operation, const std::string& subKey,
                         const std::string& valueName, std::uint32_t* type, std::uint8_t* data, std::uint32_t* size);
