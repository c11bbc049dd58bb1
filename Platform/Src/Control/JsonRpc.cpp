#include "JsonRpc.h"

#include "ChangeJson.h"
#include "MachineImpl.h"
#include "MachineMethods.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <unistd.h>
#include <utility>

namespace Platform
{

namespace
{

using nlohmann::json;

// The codes of JSON-RPC 2.0.
constexpr int ParseErrorCode = -32700;
constexpr int InvalidRequestCode = -32600;
constexpr int UnknownMethodCode = -32601;
constexpr int InvalidParamsCode = -32602;
constexpr int InternalErrorCode = -32603;
constexpr int OperationFailedCode = -32000;

std::string LineOf(const json& message)
{
    // A machine may contain texts that are not UTF-8; they must not cost the client its answer.
    return message.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

std::string Answer(const json& id, const json& result)
{
    return LineOf({{"jsonrpc", "2.0"}, {"id", id}, {"result", result}});
}

std::string ErrorAnswer(const json& id, int code, const std::string& message, const std::string& reason = "")
{
    json error = {{"code", code}, {"message", message}};
    if (!reason.empty())
        error["data"] = {{"reason", reason}};
    return LineOf({{"jsonrpc", "2.0"}, {"id", id}, {"error", std::move(error)}});
}

/// Returns the names of all kinds of changes, in the order of MachineChange.
template <std::size_t... Index>
std::vector<std::string> NamesOfKinds(std::index_sequence<Index...> /*all*/)
{
    return {ToJson(MachineChange(std::in_place_index<Index>)).at("kind").template get<std::string>()...};
}

const std::vector<std::string>& KindNames()
{
    static const auto& names =
        *new std::vector<std::string>(NamesOfKinds(std::make_index_sequence<std::variant_size_v<MachineChange>>()));
    return names;
}

KindSet ReadKinds(const JsonNode& params)
{
    KindSet kinds;
    if (!params.HasMember("kinds"))
        return kinds.set();
    for (const JsonNode& node : params.Member("kinds").Elements())
    {
        const auto found = std::ranges::find(KindNames(), node.Text());
        node.Require(found != KindNames().end(), "no event is called that");
        kinds.set(static_cast<std::size_t>(found - KindNames().begin()));
    }
    return kinds;
}

Subscription ReadSubscription(const JsonNode& params)
{
    params.AllowMembers({"snapshot", "kinds"});
    return {.Kinds = ReadKinds(params),
            .WithSnapshot = params.HasMember("snapshot") && params.Member("snapshot").Flag()};
}

/// A call whose form has been checked.
class Call
{
public:
    Call(Machine& machine, const json& message)
        : Target(machine), Message(message), Id(message.value("id", json())), NeedsAnswer(message.contains("id"))
    {
    }

    Reply Run() const
    {
        Reply reply;
        try
        {
            reply = Execute();
        }
        catch (const JsonError& error)
        {
            reply.Line = ErrorAnswer(Id, InvalidParamsCode, error.what());
        }
        catch (const std::invalid_argument& error)
        {
            reply.Line = ErrorAnswer(Id, InvalidParamsCode, error.what());
        }
        catch (const MethodError& error)
        {
            reply.Line = ErrorAnswer(Id, OperationFailedCode, error.what(), error.Reason);
        }
        catch (const MachineServerError& error)
        {
            reply.Line = ErrorAnswer(Id, OperationFailedCode, error.what(), "noServer");
        }
        catch (const std::out_of_range&)
        {
            // Removed between the choice of the adapter and the operation.
            reply.Line = ErrorAnswer(Id, OperationFailedCode, "the adapter has been removed", "noAdapter");
        }
        catch (const std::bad_alloc&)
        {
            reply.Line = ErrorAnswer(Id, InternalErrorCode, "out of memory");
        }
        catch (const std::exception& error)
        {
            reply.Line = ErrorAnswer(Id, OperationFailedCode, error.what(), "failed");
        }
        if (!NeedsAnswer)
            reply.Line.clear();
        return reply;
    }

private:
    Reply Execute() const
    {
        static const json noParams = json::object();
        const JsonNode params(Message.contains("params") ? Message.at("params") : noParams, "params");
        params.Require(params.IsObject(), "expected an object");
        const std::string method = Message.at("method").get<std::string>();
        if (method == "subscribe")
        {
            Subscription subscription = ReadSubscription(params);
            subscription.Id = NeedsAnswer ? Id.dump() : "";
            return {.Subscribe = std::move(subscription)};
        }
        if (method == "unsubscribe")
        {
            params.AllowMembers({});
            return {.Line = Answer(Id, json::object()), .Unsubscribe = true};
        }
        if (const Method run = FindMethod(method))
            return {.Line = Answer(Id, run(Target, params))};
        return {.Line = ErrorAnswer(Id, UnknownMethodCode, "there is no method \"" + method + '"')};
    }

    Machine& Target;
    const json& Message;
    const json Id;
    const bool NeedsAnswer;
};

/// Returns what is wrong with the form of a call; empty if nothing is.
std::string FormError(const json& message)
{
    if (message.is_array())
        return "batches are not supported; send one call per line";
    if (!message.is_object())
        return "expected an object";
    const auto version = message.find("jsonrpc");
    if (version == message.end() || *version != "2.0")
        return R"(expected "jsonrpc": "2.0")";
    const auto method = message.find("method");
    if (method == message.end() || !method->is_string())
        return R"(expected a text "method")";
    const auto id = message.find("id");
    if (id != message.end() && !id->is_string() && !id->is_number() && !id->is_null())
        return R"(expected a text or a number "id")";
    for (const auto& [name, member] : message.items())
        if (name != "jsonrpc" && name != "method" && name != "params" && name != "id")
            return "unknown member \"" + name + '"';
    return {};
}

/// Returns the id of a call whose form is wrong, as far as it has one.
json IdOf(const json& message)
{
    const auto id = message.find("id"); // the end for a value that is no object
    return id != message.end() && (id->is_string() || id->is_number()) ? *id : json();
}

} // namespace

Reply ExecuteLine(Machine& machine, std::string_view line)
{
    std::optional<JsonDocument> document;
    try
    {
        document.emplace(line);
    }
    catch (const JsonError& error)
    {
        return {.Line = ErrorAnswer(nullptr, ParseErrorCode, error.what())};
    }
    const json& message = document->Root().Any();
    const std::string fault = FormError(message);
    if (!fault.empty())
        return {.Line = ErrorAnswer(IdOf(message), InvalidRequestCode, fault)};
    return Call(machine, message).Run();
}

std::pair<std::string, std::uint64_t> AnswerSubscription(Machine& machine, const Subscription& subscription)
{
    Machine::Impl& own = machine.Internal();
    json result;
    std::uint64_t sequence = 0;
    if (subscription.WithSnapshot)
    {
        const MachineState state = own.Capture();
        sequence = state.Sequence;
        result["machine"] = ToJson(state);
    }
    else
        sequence = own.Log.LastSequence();
    result["sequence"] = sequence;
    return {subscription.Id.empty() ? "" : Answer(json::parse(subscription.Id), result), sequence};
}

std::string RefuseLongLine(std::size_t limit)
{
    return ErrorAnswer(nullptr, InvalidRequestCode, "the line is longer than " + std::to_string(limit) + " bytes");
}

std::string RefuseForResources()
{
    return ErrorAnswer(nullptr, InternalErrorCode, "out of memory or threads");
}

std::string Greeting()
{
    std::vector<std::string> methods = MethodNames();
    methods.insert(methods.end(), {"subscribe", "unsubscribe"});
    return LineOf({{"jsonrpc", "2.0"},
                   {"method", "greeting"},
                   {"params",
                    {{"protocol", 1},
                     {"product", "ZVUWPSrvcLib"},
                     {"version", ZV_VERSION},
                     {"processId", getpid()},
                     {"program", program_invocation_short_name},
                     {"methods", std::move(methods)},
                     {"events", KindNames()}}}});
}

std::string EventStart(const LoggedChange& change)
{
    std::string text = R"({"jsonrpc":"2.0","method":"event","params":)" +
                       ToJson(change).dump(-1, ' ', false, json::error_handler_t::replace);
    text.pop_back(); // the brace that EventEnd writes
    return text;
}

std::string EventEnd()
{
    return R"(,"sent":")" + TimeText(std::chrono::system_clock::now()) + "\"}}\n";
}

std::string LostNotice(std::uint64_t from, std::uint64_t to, bool replaced)
{
    return LineOf({{"jsonrpc", "2.0"},
                   {"method", "lost"},
                   {"params", {{"from", from}, {"to", to}, {"machineReplaced", replaced}}}});
}

} // namespace Platform
