// Replaces the control server in a build without nlohmann_json or Boost.
#include "Control.h"
#include "ControlOfEnvironment.h"
#include "JoinedMachine.h"

#include <cstdio>
#include <cstdlib>

namespace Platform
{

class ControlServer::Hub
{
};

ControlServer::ControlServer(std::shared_ptr<Machine> machine) : ControlServer(std::move(machine), "") {}

ControlServer::ControlServer(std::shared_ptr<Machine> /*machine*/, const std::string& path)
{
    throw ControlError(path + ": this stand-in was built without nlohmann_json or Boost, so it has no control server");
}

ControlServer::~ControlServer() = default;

int ControlServer::Connect()
{
    return -1; // never reached: there is no object
}

void StartControlOfEnvironment()
{
    const char* const path = std::getenv("ZV_CONTROL");
    if (path == nullptr || *path == '\0')
        return;
    std::fprintf(stderr, "ZV_CONTROL: %s: this stand-in was built without nlohmann_json or Boost\n", path);
    std::_Exit(2);
}

void FollowCurrentMachine() {}

std::shared_ptr<Machine> JoinMachine(const std::string& path)
{
    throw MachineFileError("unix:" + path + ": this stand-in was built without nlohmann_json or Boost");
}

} // namespace Platform
