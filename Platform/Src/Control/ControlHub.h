/// @file
/// The implementation of a control server.
#pragma once

#include "ChangeFeed.h"
#include "Control.h"
#include "ControlSession.h"
#include "ControlSocket.h"
#include "WorkerPool.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace Platform
{

/// One thread does all input and output, without blocking; methods run on the pool's threads. Each session and its
/// queues belong to the first thread, so they need no lock.
class ControlServer::Hub final : public SessionOwner
{
public:
    /// @param path where to listen; empty for nowhere. @throws ControlError
    Hub(MachineProvider provider, const std::string& path);
    ~Hub();
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;

    int Connect();
    /// Called after the provider's machine has changed.
    void FollowMachine();
    void UnlinkSocket() const;

private:
    using Sessions = std::set<std::shared_ptr<ControlSession>>;

    void Execute(std::shared_ptr<ControlSession> session, std::string line) override;
    void Subscribe(std::shared_ptr<ControlSession> session, Subscription subscription, bool isFirst) override;
    void EndSubscription() override;
    void Forget(const std::shared_ptr<ControlSession>& session) override;

    void RunInput();
    void WaitForClient();
    void AcceptClients();
    void AddSession(int descriptor);
    void SendChanges();

    const MachineProvider CurrentOf;
    boost::asio::io_context Context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> Work{Context.get_executor()};
    std::optional<ControlSocket> File;
    boost::asio::local::stream_protocol::acceptor Listener{Context};
    boost::asio::steady_timer Pause{Context};
    Sessions Clients;
    ChangeFeed Feed;
    std::optional<WorkerPool> Workers;
    std::thread InputThread;
};

} // namespace Platform
