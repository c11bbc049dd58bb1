/// @file
/// The socket of a control server in the file system.
#pragma once

#include <string>
#include <sys/stat.h>

namespace Platform
{

/// Listens at a path that only the user can reach, and removes the socket at the end if it is still this one.
class ControlSocket
{
public:
    /// @throws ControlError
    explicit ControlSocket(std::string path);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// Returns the descriptor and leaves its owner to the caller.
    int Release();
    /// Removes the file, unless another process has replaced it.
    void Unlink() const;

private:
    void Listen();

    const std::string Path;
    int Descriptor = -1;
    struct stat Identity = {};
};

} // namespace Platform
