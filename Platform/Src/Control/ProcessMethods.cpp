// Methods that describe the machine, and those for the calls and requests of the process.
#include "CallActivity.h"
#include "ChangeJson.h"
#include "ForeignCallGate.h"
#include "MachineImpl.h"
#include "MachineMethods.h"
#include "Quiet.h"
#include "RequestTable.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>

namespace Platform
{

namespace
{

using nlohmann::json;

json HeldCalls(const Machine& machine)
{
    json held = json::array();
    for (const auto& [function, threads] : machine.Internal().Faults.Held())
        held.push_back({{"function", function}, {"threads", threads}});
    return held;
}

json Describe(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({});
    json description = ToJson(machine.Internal().Capture());
    description["heldCalls"] = HeldCalls(machine);
    return description;
}

/// A request in flight, copied because its fields are valid under a lock only.
struct SeenRequest
{
    std::string Device;
    std::uint32_t Code;
    std::int64_t StartNs;
    std::uint32_t ThreadId;
};

/// Returns the adapter that has the device, or null.
json AdapterOf(const Machine& machine, const std::string& device)
{
    Machine::Impl& own = machine.Internal();
    const ScopedLock lock(own.Lock);
    for (const auto& [id, node] : own.AdapterNodes.All())
        if (EqualNames(node.Description.ControlDeviceName, device))
            return id;
    return nullptr;
}

json ListRequests(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({});
    std::vector<SeenRequest> seen;
    RequestTable::Instance().ForAll([&](const Request& request) {
        seen.push_back({request.Gate->Name, request.ControlCode, request.StartNs, request.ThreadId});
    });
    const std::int64_t now = CallActivity::NowNs();
    json requests = json::array();
    for (const SeenRequest& request : seen)
        requests.push_back({{"device", request.Device},
                            {"adapter", AdapterOf(machine, request.Device)},
                            {"code", request.Code},
                            {"ageUs", std::max<std::int64_t>(0, (now - request.StartNs) / 1000)},
                            {"threadId", request.ThreadId}});
    return {{"requests", std::move(requests)}};
}

/// Two waiting threads would see each other run.
ForeignCallGate& QuietGate()
{
    static ForeignCallGate& gate = *new ForeignCallGate;
    return gate;
}

json WaitIdle(Machine& /*machine*/, const JsonNode& params)
{
    constexpr std::uint32_t longestMs = 60'000;
    params.AllowMembers({"timeoutMs", "pauseMs"});
    const std::chrono::milliseconds timeout(NumberOr(params, "timeoutMs", 5'000, longestMs));
    const std::chrono::milliseconds pause(NumberOr(params, "pauseMs", 0, longestMs));
    const ForeignCallGate::Holder turn(QuietGate());
    if (!WaitUntilQuiet(timeout, pause))
        throw MethodError("timedOut", "the process was not idle within " + std::to_string(timeout.count()) + " ms");
    return json::object();
}

json FailCalls(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"function", "nth", "error", "count"});
    machine.FailCall(params.Member("function").Text(), NumberOr(params, "nth", 1), params.Member("error").Number(),
                     NumberOr(params, "count", 1));
    return json::object();
}

json ClearAllFaults(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({});
    machine.ClearFaults();
    return json::object();
}

json CountCalls(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"function"});
    return {{"count", machine.Calls(params.Member("function").Text())}};
}

json HoldCalls(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"function"});
    const std::string function = params.Member("function").Text();
    Machine::Impl& own = machine.Internal();
    own.Faults.Hold(function);
    own.Record([&] { return Changes::CallsHeld{function, true}; });
    const auto held = own.Faults.Held();
    const auto found = held.find(function);
    return {{"threads", found == held.end() ? 0 : found->second}};
}

json ReleaseCalls(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"function"});
    const std::string function = params.Member("function").Text();
    Machine::Impl& own = machine.Internal();
    const std::size_t threads = own.Faults.Release(function);
    own.Record([&] { return Changes::CallsHeld{function, false}; });
    return {{"threads", threads}};
}

constexpr std::array ProcessTable = std::to_array<NamedMethod>({
    {"describe", Describe},
    {"requests", ListRequests},
    {"waitIdle", WaitIdle},
    {"failCall", FailCalls},
    {"clearFaults", ClearAllFaults},
    {"calls", CountCalls},
    {"holdCall", HoldCalls},
    {"releaseCall", ReleaseCalls},
});

} // namespace

std::span<const NamedMethod> ProcessMethods()
{
    return ProcessTable;
}

} // namespace Platform
