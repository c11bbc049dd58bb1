/// @file
/// The connection of a joined process to the server of its machine.
#pragma once

#include "AnnotatedLock.h"
#include "JsonNode.h"
#include "MachineImpl.h"
#include "MessageQueue.h"
#include "WorkQueue.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/streambuf.hpp>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// One thread reads the connection and applies the log to the machine. A second one sends the messages of the
/// changes, in their order, so that a slow window does not delay the state. Never destroyed, like its threads.
class ServerLink final : public MachineLink
{
public:
    ServerLink(std::string path, Machine::Impl& machine);

    /// Starts the threads and waits for the first copy of the machine. @throws MachineFileError
    void Start();

    LinkAnswer Ask(const MachineRequest& request) override;
    void AskLater(const MachineRequest& request, Done done) override;
    void Report(const MachineChange& change) override;

private:
    using Stream = boost::asio::local::stream_protocol::socket;
    using Error = boost::system::error_code;

    // All of these run on the connection's thread.
    [[noreturn]] void Run();
    void Connect();
    void Read();
    void Handle(std::string_view line);
    void HandleEvent(const JsonNode& params);
    void HandleAnswer(const JsonNode& root);
    void HandleCopy(const JsonNode& root);
    void Subscribe();
    void Send(std::string line);
    void WriteNext();
    void Disconnect(const std::string& reason);
    void Follow(Machine::Impl::Aftermath aftermath);

    /// Ends the wait of Start.
    void Finish(const std::string& error) PLATFORM_EXCLUDES(StartLock);

    const std::string Path;
    Machine::Impl& Copy;

    boost::asio::io_context Io{1};
    WorkQueue Messages; // runs what follows changes

    // Used only by the connection's thread.
    Stream Connection{Io};
    boost::asio::steady_timer Retry{Io};
    boost::asio::streambuf Input;
    std::deque<std::string> Output;
    std::uint64_t LastSequence = 0;
    std::uint64_t Copies = 0; // number of the last subscription
    std::uint64_t Connections = 0;
    bool IsConnected = false;
    bool IsFollowing = false; // the copy is complete
    bool HasReported = false; // the message of an outage
    std::uint64_t LastCall = 0;
    std::map<std::uint64_t, Done> Calls;
    std::vector<std::function<void()>> Held; // answers that arrived before the copy

    Mutex StartLock;
    Condition Started;
    std::optional<std::string> StartError PLATFORM_GUARDED_BY(StartLock); // empty text after success
};

} // namespace Platform
