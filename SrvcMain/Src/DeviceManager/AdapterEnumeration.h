/// @file
/// Creates adapter records from the machine's network devices or from the simulated driver.
#pragma once

#include "AdapterFilter.h"
#include "AdapterRecord.h"

#include <optional>

/// Fills `target` with the adapters that pass the filter, in enumeration order.
/// @return ZV_SRVC_ERR_INVALID_PARAMETER for a filter without service names, and `target` is unchanged;
///         ZV_SRVC_ERR_FAILURE or ZV_SRVC_ERR_NO_DEVICE with an empty list; ZV_SRVC_SUCCESS, always when
///         the simulated driver answers.
unsigned int EnumDeviceToList(const CAdapterFilter& filter, ZVAdapterRecords& target);

/// Reads the adapters of the simulated driver. No filter applies to them.
/// @return nothing when its entry is not bound.
std::optional<ZVAdapterRecords> ReadSimulatedDriver();
