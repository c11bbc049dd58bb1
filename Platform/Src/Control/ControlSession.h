/// @file
/// One client of a control server.
#pragma once

#include "ChangeFeed.h"
#include "JsonRpc.h"

#include <boost/asio/local/stream_protocol.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Platform
{

/// A change as it is sent; all sessions share the text.
struct SentChange
{
    std::uint64_t Sequence = 0;
    std::size_t Kind = 0; ///< Its index in MachineChange.
    std::shared_ptr<const std::string> Start = {};
};

class ControlSession;

/// What a session needs of its server.
class SessionOwner
{
public:
    /// Executes a line on another thread, then calls FinishCall on this one.
    virtual void Execute(std::shared_ptr<ControlSession> session, std::string line) = 0;
    /// Makes the answer of a subscription on another thread, then calls FinishSubscription on this one.
    virtual void Subscribe(std::shared_ptr<ControlSession> session, Subscription subscription, bool isFirst) = 0;
    virtual void EndSubscription() = 0;
    virtual void Forget(const std::shared_ptr<ControlSession>& session) = 0;

protected:
    ~SessionOwner() = default;
};

/// Belongs to the server's thread for input and output: no other thread calls it. Handlers of the socket keep it
/// alive.
class ControlSession : public std::enable_shared_from_this<ControlSession>
{
public:
    using Socket = boost::asio::local::stream_protocol::socket;

    ControlSession(SessionOwner& owner, Socket socket);

    /// Sends the greeting and begins to read.
    void Start();
    /// Ends all input and output. The session is destroyed when its handlers have run.
    void Close();

    void FinishCall(Reply reply);
    /// @param sequence the last change that the answer includes.
    void FinishSubscription(std::string answer, std::uint64_t sequence);

    void Deliver(const SentChange& change);
    void DeliverReplacement(std::uint64_t sequence);
    /// The changes up to this number are missing.
    void DeliverLoss(std::uint64_t to);

private:
    struct OutgoingLine
    {
        std::string Text = {};
        std::shared_ptr<const std::string> Event = {}; ///< Replaces the text.
    };

    void Read();
    void TakeLines();
    void HandleLine(std::string line);
    void RunNext();
    void Send(OutgoingLine line);
    void Write();
    void CloseIfDone();
    void EndEvents();
    void DeliverNow(const SentChange& change);
    bool HasRoom() const;
    void SendLoss();

    SessionOwner& Owner;
    Socket Stream;
    bool IsOpen = true;

    // Input.
    std::array<char, 16 * 1024> Chunk{};
    std::string Input;
    std::size_t InputStart = 0; // of the first line that has not been taken
    bool IsReading = false;
    bool InputEnded = false;
    std::deque<std::string> Calls; // an empty one stands for a line that was too long
    bool IsRunning = false;

    // Output.
    std::deque<OutgoingLine> Outgoing;
    std::size_t OutgoingBytes = 0;
    std::size_t OutgoingEvents = 0;
    std::string Writing;
    bool IsWriting = false;

    // Events.
    bool IsSubscribed = false;
    bool IsCollecting = false; // between the start of a subscription and its answer
    KindSet Kinds;
    KindSet NextKinds;
    std::vector<SentChange> Collected; // may be newer than the answer
    std::uint64_t LastSeen = 0;
    std::uint64_t LostTo = 0; // above LastSeen while a loss has not been reported
    bool HasLoss = false;
    bool IsReplaced = false; // the loss includes a change of the machine
};

} // namespace Platform
