/// Time from a change of a shared machine to the callback of a host in another process than the server.
///
/// usage: shared_machine_latency ZVCTL
/// Starts `zvctl serve`, joins its machine, and sends methods over a control connection. Suspend and resume change
/// nothing else, so their time is that of the path; after a removal and an arrival the library also checks and merges
/// its list.
#include "HostKit/HostKit.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds Patience{10};

/// `zvctl serve`, until the end of the program.
class Server
{
public:
    Server(const char* program, const std::string& socket)
    {
        std::array<const char*, 5> words{program, "serve", "--socket", socket.c_str(), nullptr};
        unsetenv("ZV_MACHINE");
        if (posix_spawn(&Process, program, nullptr, nullptr, const_cast<char**>(words.data()), environ) != 0)
            throw std::runtime_error("zvctl cannot be started");
    }
    ~Server()
    {
        kill(Process, SIGTERM);
        waitpid(Process, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

private:
    pid_t Process = 0;
};

int Connect(const std::string& path)
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    for (const auto end = Clock::now() + Patience; Clock::now() < end;
         std::this_thread::sleep_for(std::chrono::milliseconds(10)))
    {
        const int stream = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(stream, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return stream;
        close(stream);
    }
    throw std::runtime_error("no server");
}

/// Prints median and p99 of the times from sending each method to its event.
void Measure(int stream, HostKit::EventQueue& events, const char* name,
             const std::array<std::pair<const char*, HostKit::EventQueue::Event>, 2>& methods, std::size_t rounds)
{
    std::vector<double> micros;
    for (std::size_t i = 0; i < rounds; ++i)
    {
        const auto& [call, event] = methods[i % 2];
        const std::string line = std::string(R"({"jsonrpc":"2.0",)") + call + "}\n"; // without id: no answer to read
        const auto start = Clock::now();
        if (write(stream, line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
            !events.WaitFor(event, Patience))
            throw std::runtime_error(std::string(name) + ": no event");
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::ranges::sort(micros);
    std::printf("%-36s median %7.1f us   p99 %7.1f us   %zu changes\n", name, micros[rounds / 2],
                micros[rounds * 99 / 100], rounds);
}

void Run(const char* zvctl)
{
    std::string folder = "/tmp/shared-machine-bench.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        throw std::runtime_error("no folder");
    const std::string path = folder + "/machine.sock";
    const Server server(zvctl, path);
    const int stream = Connect(path);
    setenv("ZV_MACHINE", ("unix:" + path).c_str(), 1);
    const auto manager = HostKit::CreateManager();
    HostKit::ListAdapters(*manager);
    HostKit::EventQueue events(manager);
    Measure(stream, events, "suspend, resume to the callback",
            {{{R"("method":"suspend")", ZV_EVT_SYSTEM_SUSPEND}, {R"("method":"resume")", ZV_EVT_SYSTEM_RESUME}}}, 2000);
    Measure(stream, events, "unplug, plug to the callback",
            {{{R"("method":"unplug","params":{"adapter":"WL600U"})", ZV_EVT_DEVICE_STATUS_CHANGED},
              {R"("method":"plug","params":{"adapter":"WL600U"})", ZV_EVT_DEVICE_ARRIVED}}},
            100);
    close(stream);
    rmdir(folder.c_str());
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc != 2)
        throw std::runtime_error("usage: shared_machine_latency ZVCTL");
    Run(argv[1]);
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "shared_machine_latency: %s\n", error.what());
    return 1;
}
