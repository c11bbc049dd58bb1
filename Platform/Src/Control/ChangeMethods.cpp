// The methods with which a joined process makes changes and reports its requests.
#include "ChangeJson.h"
#include "MachineImpl.h"
#include "MachineMethods.h"

#include <nlohmann/json.hpp>

#include <array>

namespace Platform
{

namespace
{

using nlohmann::json;

/// Makes a change in the way a caller in this process would. One function for each kind that a caller can make.
class RequestedChange
{
public:
    explicit RequestedChange(Machine& machine) : Target(machine) {}

    json operator()(const Changes::AdapterAdded& change) const { return {{"id", Target.AddAdapter(change.Adapter)}}; }

    json operator()(const Changes::AdapterChanged& change) const
    {
        Target.ChangeAdapter(change.Id, [&](AdapterDescription& adapter) { adapter = change.Adapter; });
        return json::object();
    }

    json operator()(const Changes::AdapterRemoved& change) const
    {
        Target.RemoveAdapter(change.Id);
        return json::object();
    }

    json operator()(const Changes::KeyCreated& change) const
    {
        Target.CreateKey(change.Path);
        return json::object();
    }

    json operator()(const Changes::KeyDeleted& change) const
    {
        Target.DeleteTree(change.Path);
        return json::object();
    }

    json operator()(const Changes::ValueSet& change) const
    {
        Target.SetValue(change.Path, change.Name, change.Value);
        return json::object();
    }

    json operator()(const Changes::ValueDeleted& change) const
    {
        Target.DeleteValue(change.Path, change.Name);
        return json::object();
    }

    json operator()(const Changes::Broadcast& change) const
    {
        Target.Broadcast(change.Message, change.WParam);
        return json::object();
    }

    json operator()(const Changes::RightsChanged& change) const
    {
        Target.SetCallerRights(change.Administrator);
        return json::object();
    }

    json operator()(const Changes::EventChanged& change) const
    {
        Target.SetNamedEvent(change.Name, change.Signalled);
        return json::object();
    }

    json operator()(const Changes::DriverConfigured& change) const
    {
        Target.ConfigureDevice(change.Device, change.Settings);
        return json::object();
    }

    json operator()(const Changes::CallsFail& change) const
    {
        Target.FailCall(change.Function, change.Nth, change.Error, change.Count);
        return json::object();
    }

    json operator()(const Changes::FaultsCleared& /*change*/) const
    {
        Target.ClearFaults();
        return json::object();
    }

    /// The other kinds follow from changes.
    template <class Other>
    json operator()(const Other& /*change*/) const
    {
        throw MethodError("notPossible", "a change of this kind cannot be requested");
    }

private:
    Machine& Target;
};

json MakeRequestedChange(Machine& machine, const JsonNode& params)
{
    return std::visit(RequestedChange(machine), ReadChange(params));
}

/// Adds a request of a joined process to the log.
json ReportRequest(Machine& machine, const JsonNode& params)
{
    const MachineChange change = ReadChange(params);
    if (!std::holds_alternative<Changes::RequestCompleted>(change))
        params.Member("kind").Fail("only a request can be reported");
    machine.Internal().Record([&] { return change; });
    return json::object();
}

constexpr auto ChangeTable = std::to_array<NamedMethod>({{"change", MakeRequestedChange}, {"report", ReportRequest}});

} // namespace

std::span<const NamedMethod> ChangeMethods()
{
    return ChangeTable;
}

} // namespace Platform
