/// @file
/// Explains why an adapter is not listed or cannot be opened.
#pragma once

#include "AdapterFacts.h"
#include "Errors.h"

#include <ZVDeviceInfo.h>

#include <chrono>
#include <string>

/// Returns a problem number as "disabled, problem 22", "problem 10 (CM_PROB_FAILED_START)" or "problem 99".
std::string ProblemText(std::uint32_t problem);

/// Returns the failure of OpenDevice with its cause and a remedy.
/// @param record the adapter.
/// @param elapsed how long the call took: the library returns one status for a driver that refuses and one that does
///        not answer.
/// @param remedy replaces the usual one unless it is empty.
OperationFailed OpenFailure(const _ZV_SRVC_DEVICE_INFO& record, unsigned int status, std::chrono::nanoseconds elapsed,
                            const std::string& remedy);

/// Returns the failure of NicChangeState.
/// @param status of the library, or an error number of Windows.
Failure SwitchFailure(unsigned int status);

/// Returns the failure of a driver request.
/// @param status the library has one for a refusal and for a time-out.
/// @param bound the time-out that the library used.
OperationFailed RequestFailure(std::string_view operation, unsigned int status, std::chrono::nanoseconds elapsed,
                               std::chrono::milliseconds bound);
