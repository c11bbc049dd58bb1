// Instead of MachineFile.cpp in a build without a JSON reader: machines are described by code only.
#include "JournalOfEnvironment.h"
#include "Machine.h"

namespace Platform
{

namespace
{

[[noreturn]] void Refuse(std::string_view origin)
{
    throw MachineFileError(
        std::string(origin) +
        ": cannot be read: this stand-in was built without nlohmann_json, so it reads no machine files");
}

} // namespace

void Machine::Load(std::string_view /*json*/, std::string_view origin)
{
    Refuse(origin);
}

void Machine::LoadFile(const std::string& path)
{
    Refuse(path);
}

std::shared_ptr<Machine> OpenMachine(const std::string& source)
{
    Refuse(source);
}

void StartJournalOfEnvironment(const std::shared_ptr<Machine>& /*machine*/) {}

} // namespace Platform
