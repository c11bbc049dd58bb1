// Which machine the published functions see.
#include "Machine.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace Platform
{

namespace
{

struct InstalledMachine
{
    std::mutex Lock;
    std::shared_ptr<Machine> Innermost; // guarded by Lock; null outside every scope
};

// Never destroyed, as the default machine: threads may call while the process ends.
InstalledMachine& Slot()
{
    static InstalledMachine& installed = *new InstalledMachine;
    return installed;
}

std::shared_ptr<Machine> MakeDefaultMachine()
{
    auto machine = std::make_shared<Machine>();
    if (const char* path = std::getenv("ZV_MACHINE"))
    {
        try
        {
            machine->LoadFile(path);
        }
        catch (const MachineFileError& error)
        {
            std::fprintf(stderr, "%s\n", error.what());
            // Not exit(): its destructors could come back here.
            std::_Exit(2);
        }
    }
    return machine;
}

const std::shared_ptr<Machine>& DefaultMachine()
{
    static const std::shared_ptr<Machine>& machine = *new std::shared_ptr<Machine>(MakeDefaultMachine());
    return machine;
}

std::shared_ptr<Machine> Exchange(std::shared_ptr<Machine> machine)
{
    InstalledMachine& installed = Slot();
    const std::lock_guard lock(installed.Lock);
    return std::exchange(installed.Innermost, std::move(machine));
}

} // namespace

std::shared_ptr<Machine> CurrentMachine()
{
    InstalledMachine& installed = Slot();
    {
        const std::lock_guard lock(installed.Lock);
        if (installed.Innermost)
            return installed.Innermost;
    }
    return DefaultMachine();
}

ScopedMachine::ScopedMachine() : ScopedMachine(std::make_shared<Machine>()) {}

ScopedMachine::ScopedMachine(std::shared_ptr<Machine> machine) : Installed(std::move(machine))
{
    Previous = Exchange(Installed);
}

ScopedMachine::~ScopedMachine()
{
    Exchange(std::move(Previous));
}

} // namespace Platform
