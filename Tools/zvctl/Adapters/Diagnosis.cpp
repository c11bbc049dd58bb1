#include "Diagnosis.h"

#include "AdapterView.h"
#include "Explanations.h"
#include "Host.h"

#include <ZVStatus.h>

#include <algorithm>
#include <exception>
#include <fmt/core.h>

namespace
{

constexpr std::uint32_t DisabledProblem = 22;
/// How long the library waits for a driver when it opens an adapter.
constexpr std::chrono::milliseconds OpenBound{300};

/// Timers of Windows may be early by one tick of its clock.
bool IsTimeOut(std::chrono::nanoseconds elapsed, std::chrono::milliseconds bound)
{
    return elapsed >= bound - std::min(bound / 2, std::chrono::milliseconds(16));
}

/// Returns nothing for an adapter of a simulated driver, which the operating system does not have.
std::optional<AdapterFacts> FactsOf(const _ZV_SRVC_DEVICE_INFO& record)
try
{
    const std::vector<AdapterFacts> all = Host::Facts();
    const auto found = std::ranges::find_if(
        all, [&](const AdapterFacts& facts) { return facts.Identity == FieldText(record.NetCfgInstanceId); });
    return found == all.end() ? std::nullopt : std::optional(*found);
}
catch (const std::exception&)
{
    return std::nullopt; // without facts, the message is less precise
}

struct OpenCause
{
    ExitCode Code;
    std::string Cause;
    std::string Remedy;
};

OpenCause Unavailable(const _ZV_SRVC_DEVICE_INFO& record)
{
    const auto facts = FactsOf(record);
    if (facts && facts->Present && facts->Problem != 0)
        return {ExitCode::NotReady, (facts->Problem == DisabledProblem ? "is " : "has ") + ProblemText(facts->Problem),
                fmt::format("run 'zvctl explain problem {}'", facts->Problem)};
    // Only the flags are known of an adapter that Windows does not have, or whose state has changed since the last
    // event.
    return {ExitCode::NotReady, fmt::format("is {}", FlagText(record.StateFlags)), "run 'zvctl doctor'"};
}

OpenCause Unanswered(const _ZV_SRVC_DEVICE_INFO& record, std::chrono::nanoseconds elapsed)
{
    if (IsTimeOut(elapsed, OpenBound))
        return {ExitCode::TimedOut, fmt::format("has a driver that does not answer within {} ms", OpenBound.count()),
                "plug the adapter in again or reinstall its driver"};
    if (const auto facts = FactsOf(record); facts && !facts->HasControlDevice)
        return {ExitCode::NotReady, "has no control device", "install its driver"};
    return {ExitCode::Refused, "has a driver that refuses the first request", "run 'zvctl explain 15'"};
}

} // namespace

std::string ProblemText(std::uint32_t problem)
{
    const std::string_view name = ProblemName(problem);
    if (problem == DisabledProblem)
        return "disabled, problem 22";
    return name.empty() ? fmt::format("problem {}", problem) : fmt::format("problem {} ({})", problem, name);
}

OperationFailed OpenFailure(const _ZV_SRVC_DEVICE_INFO& record, unsigned int status, std::chrono::nanoseconds elapsed,
                            const std::string& remedy)
{
    if (status != ZV_SRVC_ERR_DEVICE_NOT_OPEN && status != ZV_SRVC_ERR_CONTROL_DEVICE)
        return {"OpenDevice", status};
    const OpenCause found = status == ZV_SRVC_ERR_DEVICE_NOT_OPEN ? Unavailable(record) : Unanswered(record, elapsed);
    return {"OpenDevice", status, found.Code,
            fmt::format("\"{}\" {}; {}", Printable(FieldText(record.DeviceName)), found.Cause,
                        remedy.empty() ? found.Remedy : remedy)};
}

Failure SwitchFailure(unsigned int status)
{
    constexpr std::string_view operation = "NicChangeState";
    if (status == ZV_SRVC_ERR_FAILURE)
        return OperationFailed(operation, status);
    // The operation has only three statuses of the library; any other number is an error of Windows.
    if (status != ZV_SRVC_ERR_INVALID_PARAMETER)
        return Failure(fmt::format("{0}: Windows refuses with error {1} (0x{1:x})", operation, status),
                       ExitCode::OperationFailed, operation);
    if (!Host::Inspect().IsAdministrator)
        return OperationFailed(operation, status, ExitCode::OperationFailed,
                               "the caller has no administrator rights; run as administrator");
    return OperationFailed(operation, status, ExitCode::NotReady, "the adapter is absent; run 'zvctl doctor'");
}

OperationFailed RequestFailure(std::string_view operation, unsigned int status, std::chrono::nanoseconds elapsed,
                               std::chrono::milliseconds bound)
{
    if (status != ZV_SRVC_ERR_FAILURE && status != ZV_SRVC_ERR_DRIVER_REQUEST)
        return {operation, status};
    if (IsTimeOut(elapsed, bound))
        return {operation, status, ExitCode::TimedOut,
                fmt::format("the driver did not answer within {} ms", bound.count())};
    return {operation, status, ExitCode::Refused,
            "the driver refused the request, or its control device cannot be opened"};
}
