#include "ControlSession.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t LongestLine = 1024 * 1024;
/// A session with more calls is not read until some have run.
constexpr std::size_t MostCalls = 64;
constexpr std::size_t MostEvents = 1'000;
/// With more bytes than this, events are dropped and calls wait. A single answer may be larger.
constexpr std::size_t MostBytes = 4 * 1024 * 1024;
/// Small, so that events that can still be dropped are not in the hands of the system yet.
constexpr std::size_t WriteSize = 64 * 1024;
/// For the part of an event that is added when it is sent.
constexpr std::size_t EventEndSize = 64;

} // namespace

ControlSession::ControlSession(SessionOwner& owner, Socket socket) : Owner(owner), Stream(std::move(socket)) {}

void ControlSession::Start()
{
    Send({.Text = Greeting()});
    Read();
}

void ControlSession::Close()
{
    if (!std::exchange(IsOpen, false))
        return;
    EndEvents();
    boost::system::error_code ignored;
    Stream.close(ignored);
    Owner.Forget(shared_from_this());
}

void ControlSession::Read()
{
    if (!IsOpen || IsReading || InputEnded || Calls.size() >= MostCalls)
        return;
    IsReading = true;
    Stream.async_read_some(boost::asio::buffer(Chunk),
                           [self = shared_from_this()](const boost::system::error_code& error, std::size_t size) {
                               self->IsReading = false;
                               self->InputEnded = error.failed();
                               self->Input.append(self->Chunk.data(), size);
                               self->TakeLines();
                           });
}

/// Takes complete lines as long as there is room for their calls, and then reads on.
void ControlSession::TakeLines()
{
    while (Calls.size() < MostCalls && InputStart < Input.size())
    {
        const std::size_t end = Input.find('\n', InputStart);
        const bool isComplete = end != std::string::npos;
        const std::size_t length = std::min(end, Input.size()) - InputStart;
        if (length > LongestLine)
        {
            Calls.emplace_back();
            InputEnded = true;
            InputStart = Input.size();
        }
        else if (isComplete || InputEnded) // the last line may lack its end
        {
            HandleLine(Input.substr(InputStart, length));
            InputStart = std::min(InputStart + length + 1, Input.size());
        }
        else
            break;
    }
    Input.erase(0, InputStart);
    InputStart = 0;
    RunNext();
    Read();
    CloseIfDone();
}

void ControlSession::HandleLine(std::string line)
{
    if (line.ends_with('\r'))
        line.pop_back();
    if (line.find_first_not_of(" \t") != std::string::npos)
        Calls.push_back(std::move(line));
}

/// Runs one call at a time, so that a session's calls take effect in their order. A client that does not read its
/// answers gets no further ones.
void ControlSession::RunNext()
{
    if (!IsOpen || IsRunning || Calls.empty() || OutgoingBytes > MostBytes)
        return;
    std::string line = std::move(Calls.front());
    Calls.pop_front();
    if (line.empty())
        return Send({.Text = RefuseLongLine(LongestLine)});
    IsRunning = true;
    Owner.Execute(shared_from_this(), std::move(line));
}

void ControlSession::FinishCall(Reply reply)
{
    if (!IsOpen)
        return;
    if (reply.Subscribe)
    {
        const bool isFirst = !IsSubscribed;
        IsSubscribed = true;
        IsCollecting = true;
        NextKinds = reply.Subscribe->Kinds;
        HasLoss = IsReplaced = false; // the answer makes up for it
        Owner.Subscribe(shared_from_this(), std::move(*reply.Subscribe), isFirst);
        return;
    }
    IsRunning = false;
    if (reply.Unsubscribe)
        EndEvents();
    if (!reply.Line.empty())
        Send({.Text = std::move(reply.Line)});
    TakeLines();
}

void ControlSession::FinishSubscription(std::string answer, std::uint64_t sequence)
{
    if (!IsOpen)
        return;
    IsRunning = false;
    IsCollecting = false;
    Kinds = NextKinds;
    if (!answer.empty())
        Send({.Text = std::move(answer)});
    LastSeen = sequence;
    const bool hadLoss = std::exchange(HasLoss, false);
    const std::uint64_t lostTo = LostTo;
    for (const SentChange& change : std::exchange(Collected, {}))
        if (change.Sequence > sequence)
            DeliverNow(change);
    if (hadLoss)
        DeliverLoss(lostTo);
    SendLoss();
    TakeLines();
}

void ControlSession::EndEvents()
{
    IsCollecting = HasLoss = IsReplaced = false;
    Collected.clear();
    if (std::exchange(IsSubscribed, false))
        Owner.EndSubscription();
}

bool ControlSession::HasRoom() const
{
    return OutgoingEvents < MostEvents && OutgoingBytes < MostBytes;
}

void ControlSession::Deliver(const SentChange& change)
{
    if (!IsSubscribed || InputEnded)
        return;
    if (!IsCollecting)
        return DeliverNow(change);
    if (HasLoss || Collected.size() >= MostEvents)
        return DeliverLoss(change.Sequence);
    Collected.push_back(change);
}

void ControlSession::DeliverNow(const SentChange& change)
{
    if (HasLoss || !HasRoom())
        return DeliverLoss(change.Sequence);
    if (change.Sequence > LastSeen + 1)
    {
        DeliverLoss(change.Sequence - 1);
        SendLoss();
    }
    LastSeen = change.Sequence;
    if (Kinds.test(change.Kind))
        Send({.Event = change.Start});
}

void ControlSession::DeliverReplacement(std::uint64_t sequence)
{
    if (!IsSubscribed || InputEnded)
        return;
    Collected.clear();
    HasLoss = IsReplaced = true;
    LostTo = sequence;
    SendLoss();
}

void ControlSession::DeliverLoss(std::uint64_t to)
{
    if (!IsSubscribed || InputEnded)
        return;
    HasLoss = true;
    LostTo = to;
}

/// Reports a loss as soon as there is room again: for half of the limits, so that a slow client does not receive
/// single events between notices.
void ControlSession::SendLoss()
{
    if (!HasLoss || IsCollecting || OutgoingEvents > MostEvents / 2 || OutgoingBytes > MostBytes / 2)
        return;
    if (IsReplaced || LostTo > LastSeen)
        Send({.Text = LostNotice(LastSeen + 1, LostTo, IsReplaced)});
    LastSeen = LostTo;
    HasLoss = IsReplaced = false;
}

void ControlSession::Send(OutgoingLine line)
{
    OutgoingBytes += line.Event ? line.Event->size() + EventEndSize : line.Text.size();
    OutgoingEvents += line.Event ? 1U : 0U;
    Outgoing.push_back(std::move(line));
    Write();
}

void ControlSession::Write()
{
    if (!IsOpen || IsWriting || Outgoing.empty())
        return;
    Writing.clear();
    std::size_t bytes = 0;
    while (!Outgoing.empty() && Writing.size() < WriteSize)
    {
        const OutgoingLine& line = Outgoing.front();
        Writing += line.Event ? *line.Event + EventEnd() : line.Text;
        bytes += line.Event ? line.Event->size() + EventEndSize : line.Text.size();
        OutgoingEvents -= line.Event ? 1U : 0U;
        Outgoing.pop_front();
    }
    OutgoingBytes -= bytes;
    IsWriting = true;
    boost::asio::async_write(Stream, boost::asio::buffer(Writing),
                             [self = shared_from_this()](const boost::system::error_code& error, std::size_t) {
                                 self->IsWriting = false;
                                 if (error)
                                     return self->Close();
                                 self->SendLoss();
                                 self->Write();
                                 self->TakeLines();
                             });
}

/// A client that sends nothing more still receives its answers.
void ControlSession::CloseIfDone()
{
    const bool isIdle = !IsRunning && Calls.empty() && !IsWriting && Outgoing.empty();
    if (IsOpen && InputEnded && isIdle)
        Close();
}

} // namespace Platform
