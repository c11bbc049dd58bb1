#include "ControlSocket.h"

#include "Control.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace Platform
{

namespace
{

[[noreturn]] void RefusePath(const std::string& path, const std::string& cause)
{
    throw ControlError(path + ": " + cause);
}

[[noreturn]] void RefuseWithError(const std::string& path, const std::string& operation)
{
    RefusePath(path, operation + ": " + std::strerror(errno));
}

class Descriptors
{
public:
    explicit Descriptors(int descriptor) : Number(descriptor) {}
    ~Descriptors()
    {
        if (Number >= 0)
            close(Number);
    }
    Descriptors(const Descriptors&) = delete;
    Descriptors& operator=(const Descriptors&) = delete;

    int Get() const { return Number; }
    int Release() { return std::exchange(Number, -1); }

private:
    int Number;
};

/// Opens the folder of the socket. Whoever may write there could put another socket in its place, so it must belong to
/// the user alone.
int OpenFolder(const std::string& path)
{
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty())
        folder = ".";
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        RefuseWithError(path, "cannot create the directory \"" + folder + '"');
    Descriptors opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.Get() < 0)
        RefuseWithError(path, "cannot open the directory \"" + folder + '"');
    struct stat facts = {};
    fstat(opened.Get(), &facts);
    if (facts.st_uid != geteuid() || (facts.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        RefusePath(path, "the directory \"" + folder +
                             "\" must belong to the user and be writable by the user only; "
                             "create one with 'mkdir -m 700'");
    return opened.Release();
}

sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path))
        RefusePath(path, "expected a path of 1 to " + std::to_string(sizeof(address.sun_path) - 1) + " bytes");
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

const sockaddr* Generic(const sockaddr_un& address)
{
    return static_cast<const sockaddr*>(static_cast<const void*>(&address));
}

int NewSocket(const std::string& path)
{
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (made < 0)
        RefuseWithError(path, "socket");
    return made;
}

/// Removes the socket that a process has left behind.
void RemoveStale(const std::string& path, const sockaddr_un& address)
{
    struct stat facts = {};
    if (lstat(path.c_str(), &facts) != 0)
        return;
    if (!S_ISSOCK(facts.st_mode))
        RefusePath(path, "exists and is not a socket");
    const Descriptors probe(NewSocket(path));
    // A full queue of connections (EAGAIN) has a process too.
    if (connect(probe.Get(), Generic(address), sizeof(address)) == 0 || errno == EAGAIN)
        RefusePath(path, "another process listens here");
    if (errno != ECONNREFUSED && errno != ENOENT)
        RefuseWithError(path, "cannot be checked");
    unlink(path.c_str());
}

} // namespace

ControlSocket::ControlSocket(std::string path) : Path(std::move(path))
{
    Listen();
}

ControlSocket::~ControlSocket()
{
    Unlink();
    if (Descriptor >= 0)
        close(Descriptor);
}

void ControlSocket::Listen()
{
    const sockaddr_un address = AddressOf(Path);
    const Descriptors folder(OpenFolder(Path));
    // Two processes that start at once would both find a stale socket, and one would remove the other's new one. The
    // lock ends with the descriptor and leaves no file.
    if (flock(folder.Get(), LOCK_EX) != 0)
        RefuseWithError(Path, "cannot lock its directory");
    RemoveStale(Path, address);
    Descriptors listener(NewSocket(Path));
    if (bind(listener.Get(), Generic(address), sizeof(address)) != 0)
        RefuseWithError(Path, "bind");
    // Before listen, so that nobody can connect through wider rights.
    if (chmod(Path.c_str(), S_IRUSR | S_IWUSR) != 0 || stat(Path.c_str(), &Identity) != 0 ||
        listen(listener.Get(), SOMAXCONN) != 0)
    {
        const int error = errno;
        unlink(Path.c_str());
        errno = error;
        RefuseWithError(Path, "listen");
    }
    Descriptor = listener.Release();
}

int ControlSocket::Release()
{
    return std::exchange(Descriptor, -1);
}

void ControlSocket::Unlink() const
{
    struct stat now = {};
    if (lstat(Path.c_str(), &now) == 0 && now.st_ino == Identity.st_ino && now.st_dev == Identity.st_dev)
        unlink(Path.c_str());
}

} // namespace Platform
