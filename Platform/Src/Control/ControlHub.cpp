#include "ControlHub.h"

#include <boost/asio/post.hpp>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Platform
{

namespace
{

namespace asio = boost::asio;

/// How long the server waits when the process has no descriptor left for another client.
constexpr std::chrono::milliseconds AcceptPause{100};

} // namespace

ControlServer::Hub::Hub(MachineProvider provider, const std::string& path)
    : CurrentOf(std::move(provider)), Feed(CurrentOf, [this] { asio::post(Context, [this] { SendChanges(); }); })
{
    if (!path.empty())
        Listener.assign(asio::local::stream_protocol(), File.emplace(path).Release());
    try
    {
        Workers.emplace();
        InputThread = StartThread([this] { RunInput(); });
    }
    catch (const std::system_error& error)
    {
        throw ControlError(path + ": cannot start a thread: " + error.what());
    }
    if (File)
        asio::post(Context, [this] { WaitForClient(); });
}

ControlServer::Hub::~Hub()
{
    if (File)
        File->Unlink();
    asio::post(Context, [this] {
        boost::system::error_code ignored;
        Listener.close(ignored);
        Pause.cancel();
        for (const auto& session : Sessions(Clients))
            session->Close();
    });
    Workers.reset(); // waits for the methods that run
    Work.reset();
    InputThread.join();
}

void ControlServer::Hub::RunInput()
{
    for (;;)
    {
        try
        {
            Context.run();
            return;
        }
        catch (const std::bad_alloc&)
        {
            // The handler did not finish its work. A gap in the numbers shows a change that was not sent.
        }
    }
}

void ControlServer::Hub::WaitForClient()
{
    if (Listener.is_open())
        Listener.async_wait(asio::socket_base::wait_read, [this](const boost::system::error_code& error) {
            if (!error)
                AcceptClients();
        });
}

void ControlServer::Hub::AcceptClients()
{
    for (;;)
    {
        // Not by the library, whose sockets would be inherited by the children of the host.
        const int client = accept4(Listener.native_handle(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (client >= 0)
            AddSession(client);
        else if (errno == EAGAIN)
            return WaitForClient();
        else if (errno != EINTR && errno != ECONNABORTED)
            break;
    }
    Pause.expires_after(AcceptPause);
    Pause.async_wait([this](const boost::system::error_code&) { WaitForClient(); });
}

void ControlServer::Hub::AddSession(int descriptor)
{
    ControlSession::Socket socket(Context);
    boost::system::error_code error;
    socket.assign(asio::local::stream_protocol(), descriptor, error);
    if (error)
    {
        close(descriptor);
        return;
    }
    const auto session = std::make_shared<ControlSession>(*this, std::move(socket));
    Clients.insert(session);
    session->Start();
}

int ControlServer::Hub::Connect()
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw ControlError(std::string("socketpair: ") + std::strerror(errno));
    asio::post(Context, [this, end = ends[0]] { AddSession(end); });
    return ends[1];
}

void ControlServer::Hub::FollowMachine()
{
    // Not on this thread, which may be any of the host: creating the default machine may take long.
    Workers->Post([this] { Feed.Listen(); });
}

void ControlServer::Hub::UnlinkSocket() const
{
    if (File)
        File->Unlink();
}

void ControlServer::Hub::Execute(std::shared_ptr<ControlSession> session, std::string line)
{
    Workers->Post([this, session = std::move(session), line = std::move(line)] {
        Reply reply;
        try
        {
            reply = ExecuteLine(*CurrentOf(), line);
        }
        catch (const std::bad_alloc&)
        {
            reply.Line = RefuseForResources();
        }
        asio::post(Context, [this, session, reply = std::move(reply)] {
            SendChanges(); // those that the method has caused come before its answer
            session->FinishCall(reply);
        });
    });
}

void ControlServer::Hub::Subscribe(std::shared_ptr<ControlSession> session, Subscription subscription, bool isFirst)
{
    if (isFirst)
        Feed.AddSubscriber();
    Workers->Post([this, session = std::move(session), subscription = std::move(subscription)] {
        std::pair<std::string, std::uint64_t> answer;
        try
        {
            answer = AnswerSubscription(*Feed.Listen(), subscription);
        }
        catch (const std::bad_alloc&)
        {
            answer.first = RefuseForResources();
        }
        asio::post(Context, [this, session, answer = std::move(answer)] {
            SendChanges();
            session->FinishSubscription(answer.first, answer.second);
        });
    });
}

void ControlServer::Hub::EndSubscription()
{
    Feed.RemoveSubscriber();
}

void ControlServer::Hub::Forget(const std::shared_ptr<ControlSession>& session)
{
    Clients.erase(session);
}

void ControlServer::Hub::SendChanges()
{
    const ChangeFeed::Batch batch = Feed.Take();
    for (const ChangeFeed::Item& item : batch.Items)
    {
        SentChange change;
        if (item.Change)
            change = {.Sequence = item.Change->Sequence,
                      .Kind = item.Change->What.index(),
                      .Start = std::make_shared<const std::string>(EventStart(*item.Change))};
        for (const auto& session : Clients)
            if (item.Change)
                session->Deliver(change);
            else
                session->DeliverReplacement(item.Replaced);
    }
    if (batch.DroppedTo != 0)
        for (const auto& session : Clients)
            session->DeliverLoss(batch.DroppedTo);
}

ControlServer::ControlServer(std::shared_ptr<Machine> machine) : ControlServer(std::move(machine), "") {}

ControlServer::ControlServer(std::shared_ptr<Machine> machine, const std::string& path)
    : Self(std::make_unique<Hub>([machine = std::move(machine)] { return machine; }, path))
{
}

ControlServer::~ControlServer() = default;

int ControlServer::Connect()
{
    return Self->Connect();
}

} // namespace Platform
