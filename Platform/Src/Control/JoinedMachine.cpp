#include "JoinedMachine.h"

#include "ServerLink.h"

#include <vector>

namespace Platform
{

std::shared_ptr<Machine> JoinMachine(const std::string& path)
{
    // Never destroyed: the threads of a connection use it until the process ends. The machine owns the connection.
    static Mutex& lock = *new Mutex;
    static auto& joined = *new std::vector<std::shared_ptr<Machine>>;
    const auto machine = std::make_shared<Machine>();
    const auto link = std::make_shared<ServerLink>(path, machine->Internal());
    machine->Internal().Link = link;
    {
        const ScopedLock guard(lock);
        joined.push_back(machine);
    }
    link->Start();
    return machine;
}

} // namespace Platform
