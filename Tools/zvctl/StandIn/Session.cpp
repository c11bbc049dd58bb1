#include "Session.h"

#include "Errors.h"
#include "NeverDestroyed.h"

#include <Machine.h>

#include <cstdlib>
#include <memory>

namespace
{

std::string Source;
std::string SharedPath;

std::shared_ptr<Platform::Machine> MakeMachine(const std::string& file)
{
    if (!file.empty())
        return Platform::OpenMachine(file);
    auto machine = std::make_shared<Platform::Machine>();
    machine->Load(DefaultMachineText, "built-in machine");
    return machine;
}

} // namespace

void InstallMachine(const std::string& file)
try
{
    const char* const named = std::getenv("ZV_MACHINE");
    const bool inEnvironment = named != nullptr && *named != '\0';
    const std::string chosen = file.empty() && inEnvironment ? named : file;
    SharedPath = chosen.starts_with("unix:") ? chosen.substr(chosen.find(':') + 1) : "";
    Source = chosen.empty()      ? "built-in machine"
             : MachineIsShared() ? "shared machine " + chosen
                                 : "machine file " + chosen;
    // Threads of the library use the machine until the process exits. --machine takes precedence over ZV_MACHINE.
    static const NeverDestroyed<Platform::ScopedMachine> installed(MakeMachine(chosen));
}
catch (const Platform::MachineFileError& mistake)
{
    throw UsageError(mistake.what());
}

const std::string& MachineSource()
{
    return Source;
}

const std::string& SharedMachinePath()
{
    return SharedPath;
}

bool MachineIsShared()
{
    return !SharedPath.empty();
}
