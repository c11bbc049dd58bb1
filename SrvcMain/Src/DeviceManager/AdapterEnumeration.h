/// @file
/// Makes adapter records from the machine's network devices or from the simulated driver.
#pragma once

#include "AdapterFilter.h"
#include "AdapterRecord.h"
#include "CSafeList.h"

#include <optional>
#include <vector>

using CAdapterList = CSafeList<ZVAdapterRecord>;

/// Empties the list and fills it with the adapters that pass the filter, in walk order.
/// @return ZV_SRVC_ERR_INVALID_PARAMETER for a filter without service names, and the list stays as
///         it is; ZV_SRVC_ERR_FAILURE or ZV_SRVC_ERR_NO_DEVICE with an empty list; ZV_SRVC_SUCCESS,
///         always when the simulated driver answers.
unsigned int EnumDeviceToList(const CAdapterFilter& filter, CAdapterList& target);

/// Fills an empty list from the simulated driver, or refreshes the flags of a filled one. No filter
/// applies to its records.
/// @return false when its entry is not bound, and nothing has happened.
bool Fake_EnumDevice(CAdapterList& target);

/// The two halves of that, for a list that has to change in one step with something else: the call
/// of the driver, which gives nothing when its entry is not bound, and the change of the list.
std::optional<std::vector<ZVAdapterRecord>> ReadSimulatedDriver();
void FillOrRefresh(CAdapterList& target, const std::vector<ZVAdapterRecord>& delivered);

inline void AddDeviceToList(CAdapterList& target, const ZVAdapterRecord& record)
{
    target.PushBack(record);
}
