/// @file
/// Makes adapter records from the machine's network devices or from the simulated driver.
#pragma once

#include "AdapterFilter.h"
#include "AdapterList.h"

#include <optional>

/// Fills `target` with the adapters that pass the filter, in enumeration order.
/// @return ZV_SRVC_ERR_INVALID_PARAMETER for a filter without service names, and `target` is unchanged;
///         ZV_SRVC_ERR_FAILURE or ZV_SRVC_ERR_NO_DEVICE with an empty list; ZV_SRVC_SUCCESS, always when
///         the simulated driver answers.
unsigned int EnumDeviceToList(const CAdapterFilter& filter, ZVAdapterRecords& target);

/// Asks the simulated driver for its adapters. No filter applies to them.
/// @return nothing when its entry is not bound.
std::optional<ZVAdapterRecords> ReadSimulatedDriver();

/// Gives the flags of each delivered record to the first listed one of the same identity.
void RefreshFlags(const ZVAdapterRecords& listed, const ZVAdapterRecords& delivered);
