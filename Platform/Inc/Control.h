/// @file
/// A server through which other processes control a machine and receive its changes: JSON-RPC over a Unix domain
/// socket. docs/CONTROL.md describes the protocol.
#pragma once

#include "Machine.h"
#include "PlatformExport.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace Platform
{

/// A control server cannot be started; `what()` names the path and the cause.
class PLATFORM_API ControlError : public std::runtime_error
{
public:
    /// Takes the text.
    using std::runtime_error::runtime_error;
};

/// Serves one machine. Thread-safe. A process under the environment variable ZV_CONTROL has a server for its current
/// machine without any code of its own.
///
/// The server has one thread for input and output, and starts further ones while methods block. Clients that read
/// slowly lose events, which a notification reports; neither the machine nor other clients wait for them.
class PLATFORM_API ControlServer
{
public:
    /// Starts a server without a path. Its only sessions are those of Connect.
    /// @throws ControlError
    explicit ControlServer(std::shared_ptr<Machine> machine);
    /// Starts a server that listens.
    /// @param machine is kept until the server is destroyed.
    /// @param path of the socket, which gets mode 0600. Its directory must belong to the user and be writable by the
    ///        user only; it is created if it does not exist. A socket that another process has left behind is
    ///        replaced.
    /// @throws ControlError, in particular if another process listens there.
    ControlServer(std::shared_ptr<Machine> machine, const std::string& path);
    /// Closes all sessions and removes the socket. Blocks until the methods that run have ended. Calls that a client
    /// has held stay held.
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    /// Opens a session from within the process.
    /// @return a connected stream socket, which the caller closes.
    /// @throws ControlError if there is no descriptor left.
    int Connect();

    class Hub; ///< For the stand-in itself.

private:
    std::unique_ptr<Hub> Self;
};

} // namespace Platform
