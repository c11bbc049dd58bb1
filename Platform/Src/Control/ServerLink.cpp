#include "ServerLink.h"

#include "ChangeJson.h"
#include "ThreadQueue.h"
#include "WorkerPool.h"

#include <boost/asio/post.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <new>
#include <utility>

namespace Platform
{

namespace
{

using namespace std::chrono_literals;
using nlohmann::json;

constexpr auto JoinTime = 5s;
constexpr auto RetryPause = 100ms;
// Longer than the 5 seconds for which the server waits for a window that does not respond.
constexpr auto AnswerTime = 15s;

// Invalid UTF-8 in the name of a key or value must not end the connection.
std::string Dump(const json& message)
{
    return message.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

json ParamsOf(const MachineVerb& verb)
{
    json params = json::object();
    if (verb.Id)
        params["id"] = *verb.Id;
    if (verb.Problem)
        params["problem"] = *verb.Problem;
    if (verb.Version)
        params["version"] = *verb.Version;
    return params;
}

std::string CallText(const MachineRequest& request, std::uint64_t id)
{
    json call{{"jsonrpc", "2.0"}, {"id", id}};
    if (const auto* const verb = std::get_if<MachineVerb>(&request))
    {
        call["method"] = verb->Method;
        call["params"] = ParamsOf(*verb);
    }
    else
    {
        call["method"] = "change";
        call["params"] = ToJson(std::get<MachineChange>(request));
    }
    return Dump(call);
}

LinkAnswer Away()
{
    return {.Error = "the server of the shared machine cannot be reached", .IsAway = true};
}

/// Windows handle messages of these only; of the other changes the state is all.
bool SendsMessages(const MachineRequest& request)
{
    const auto* const change = std::get_if<MachineChange>(&request);
    return change == nullptr || std::holds_alternative<Changes::Broadcast>(*change);
}

/// A thread that waits for an answer.
struct AskingThread
{
    MessageQueuePtr Queue;
    bool Over PLATFORM_GUARDED_BY(WindowLock) = false;
    LinkAnswer Answer PLATFORM_GUARDED_BY(WindowLock) = {};
};

void Release(AskingThread& thread, const LinkAnswer& answer)
{
    const ScopedLock lock(WindowLock);
    thread.Answer = answer;
    thread.Over = true;
    thread.Queue->Wake();
}

} // namespace

ServerLink::ServerLink(std::string path, Machine::Impl& machine) : Path(std::move(path)), Copy(machine) {}

void ServerLink::Start()
{
    Messages.Start();
    boost::asio::post(Io, [this] { Connect(); });
    StartThread([this] { Run(); }).detach();
    const auto end = std::chrono::steady_clock::now() + JoinTime;
    const ScopedLock lock(StartLock);
    while (!StartError)
        if (!Started.WaitUntil(StartLock, end) && !StartError)
            throw MachineFileError("unix:" + Path + ": the server does not answer");
    if (!StartError->empty())
        throw MachineFileError("unix:" + Path + ": " + *StartError);
}

void ServerLink::Run()
{
    const auto work = boost::asio::make_work_guard(Io);
    for (bool isBroken = false;;)
    {
        try
        {
            // A handler that did not finish may have lost a change. A new connection copies the whole machine.
            if (std::exchange(isBroken, false))
                Disconnect("out of memory");
            Io.run();
        }
        catch (const std::bad_alloc&)
        {
            isBroken = true;
        }
    }
}

void ServerLink::Finish(const std::string& error)
{
    const ScopedLock lock(StartLock);
    if (!StartError)
        StartError = error;
    Started.NotifyAll();
}

LinkAnswer ServerLink::Ask(const MachineRequest& request)
{
    // Shared with the connection, because this call may give up first.
    const auto thread = std::make_shared<AskingThread>(AskingThread{ThisThreadsQueue()});
    // A window procedure that handles a message of the log must not wait for itself.
    const bool afterMessages = SendsMessages(request) && !thread->Queue->IsDispatching();
    AskLater(request, [this, thread, afterMessages](const LinkAnswer& answer) {
        if (afterMessages)
            Messages.Add([thread, answer] { Release(*thread, answer); });
        else
            Release(*thread, answer);
    });
    const auto end = std::chrono::steady_clock::now() + AnswerTime;
    const ScopedLock lock(WindowLock);
    thread->Queue->DispatchUntil(end, [&]() PLATFORM_REQUIRES(WindowLock) { return thread->Over; });
    return thread->Over ? thread->Answer : Away();
}

void ServerLink::AskLater(const MachineRequest& request, Done done)
{
    boost::asio::post(Io, [this, request, done = std::move(done)]() mutable {
        if (!IsConnected)
        {
            done(Away());
            return;
        }
        Calls.emplace(++LastCall, std::move(done));
        Send(CallText(request, LastCall));
    });
}

void ServerLink::Report(const MachineChange& change)
{
    boost::asio::post(Io, [this, change] {
        if (IsConnected)
            Send(Dump({{"jsonrpc", "2.0"}, {"method", "report"}, {"params", ToJson(change)}}));
    });
}

void ServerLink::Connect()
{
    Connection = Stream(Io);
    Connection.async_connect(boost::asio::local::stream_protocol::endpoint(Path), [this](const Error& error) {
        if (error)
        {
            Finish("no server listens there: " + error.message());
            Retry.expires_after(RetryPause);
            Retry.async_wait([this](const Error& cancelled) {
                if (!cancelled)
                    Connect();
            });
            return;
        }
        ++Connections;
        IsConnected = true;
        Subscribe();
        Read();
    });
}

void ServerLink::Subscribe()
{
    IsFollowing = false;
    // An answer to an earlier subscription has another id and is ignored.
    Copies = ++LastCall;
    Send(Dump({{"jsonrpc", "2.0"}, {"id", Copies}, {"method", "subscribe"}, {"params", {{"snapshot", true}}}}));
}

void ServerLink::Read()
{
    const auto received = [this, connection = Connections](const Error& error, std::size_t size) {
        // The connection has been closed meanwhile.
        if (connection != Connections || !IsConnected)
            return;
        if (error)
            return Disconnect(error.message());
        std::string line(size, '\0');
        Input.sgetn(line.data(), static_cast<std::streamsize>(size));
        try
        {
            Handle(line);
        }
        catch (const std::exception& wrong)
        {
            return Disconnect(wrong.what());
        }
        Read();
    };
    boost::asio::async_read_until(Connection, Input, '\n', received);
}

void ServerLink::Handle(std::string_view line)
{
    const JsonDocument document(line);
    const JsonNode root = document.Root();
    if (!root.HasMember("method"))
        return HandleAnswer(root);
    const std::string method = root.Member("method").Text();
    if (method == "event" && IsFollowing)
        HandleEvent(root.Member("params"));
    else if (method == "lost")
        Subscribe(); // what was lost is part of the next copy
}

void ServerLink::HandleEvent(const JsonNode& params)
{
    const std::uint64_t sequence = params.Member("sequence").LongNumber();
    if (sequence <= LastSequence)
        return; // part of the copy
    if (sequence != LastSequence + 1)
        return Subscribe();
    LastSequence = sequence;
    Follow(Copy.Apply(ReadChange(params)));
}

void ServerLink::HandleAnswer(const JsonNode& root)
{
    const std::uint64_t id = root.Member("id").LongNumber();
    if (id == Copies)
        return HandleCopy(root);
    const auto call = Calls.extract(id);
    if (call.empty())
        return;
    LinkAnswer answer{.Done = true};
    if (root.HasMember("error"))
    {
        const JsonNode error = root.Member("error");
        answer.Error = error.Member("message").Text();
        answer.IsUnknown = error.HasMember("data") && error.Member("data").HasMember("reason") &&
                           error.Member("data").Member("reason").Text() == "noAdapter";
    }
    else
    {
        const JsonNode result = root.Member("result");
        answer.Done = !result.HasMember("done") || result.Member("done").Flag();
        answer.Id = result.HasMember("id") ? result.Member("id").Number() : 0;
    }
    // A caller must find its change in the copy.
    if (IsFollowing)
        call.mapped()(answer);
    else
        Held.emplace_back([done = std::move(call.mapped()), answer] { done(answer); });
}

void ServerLink::HandleCopy(const JsonNode& root)
{
    const JsonNode result = root.Member("result");
    const MachineState state = ReadState(result.Member("machine"));
    LastSequence = result.Member("sequence").LongNumber();
    Follow(Copy.Restore(state));
    IsFollowing = true;
    HasReported = false;
    for (const auto& release : std::exchange(Held, {}))
        release();
    Finish("");
}

void ServerLink::Follow(Machine::Impl::Aftermath aftermath)
{
    if (aftermath)
        Messages.Add(std::move(aftermath));
}

void ServerLink::Send(std::string line)
{
    Output.push_back(std::move(line));
    if (Output.size() == 1)
        WriteNext();
}

void ServerLink::WriteNext()
{
    const auto written = [this, connection = Connections](const Error& error, std::size_t) {
        // Disconnect empties the queue. The read of a failed connection detects it.
        if (error || connection != Connections || !IsConnected)
            return;
        Output.pop_front();
        if (!Output.empty())
            WriteNext();
    };
    boost::asio::async_write(Connection, boost::asio::buffer(Output.front()), written);
}

void ServerLink::Disconnect(const std::string& reason)
{
    if (!HasReported)
    {
        std::fprintf(stderr, "unix:%s: the server of the shared machine is gone (%s); the last state stays\n",
                     Path.c_str(), reason.c_str());
        HasReported = true;
    }
    IsFollowing = false;
    IsConnected = false;
    Finish("the connection ended: " + reason);
    Error ignored;
    Connection.close(ignored);
    Output.clear();
    Input.consume(Input.size());
    for (const auto& [id, done] : std::exchange(Calls, {}))
        done(Away());
    for (const auto& release : std::exchange(Held, {}))
        release();
    Retry.expires_after(RetryPause);
    Retry.async_wait([this](const Error& cancelled) {
        if (!cancelled)
            Connect();
    });
}

} // namespace Platform
