#include "ControlOfEnvironment.h"

#include "ControlHub.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace Platform
{

namespace
{

using Hub = ControlServer::Hub;

// Null without the variable. Never destroyed: its threads may run while the process ends.
constinit std::atomic<Hub*> HubOfProcess = nullptr;

/// Nobody else removes the socket, because the server is never destroyed.
void UnlinkAtExit()
{
    HubOfProcess.load()->UnlinkSocket();
}

bool StartHub()
{
    const char* const path = std::getenv("ZV_CONTROL");
    if (path == nullptr || *path == '\0')
        return false;
    try
    {
        HubOfProcess = new Hub(CurrentMachine, path);
        std::atexit(UnlinkAtExit);
        return true;
    }
    catch (const ControlError& error)
    {
        std::fprintf(stderr, "ZV_CONTROL: %s\n", error.what());
        // Not exit(), whose destructors could call a published function.
        std::_Exit(2);
    }
}

} // namespace

void StartControlOfEnvironment()
{
    [[maybe_unused]] static const bool isStarted = StartHub();
}

void FollowCurrentMachine()
{
    if (Hub* const hub = HubOfProcess)
        hub->FollowMachine();
}

} // namespace Platform
