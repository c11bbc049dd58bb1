// Which machine the published functions use.
#include "CallActivity.h"
#include "ControlOfEnvironment.h"
#include "JournalOfEnvironment.h"
#include "MachineImpl.h"
#include "NamedEvents.h"
#include "PublishedCall.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace Platform
{

namespace
{

struct InstalledMachine
{
    Mutex Lock;
    std::shared_ptr<Machine> Innermost PLATFORM_GUARDED_BY(Lock); // null outside every scope
};

// Never destroyed, like the default machine: threads may call while the process ends.
InstalledMachine& Slot()
{
    static InstalledMachine& installed = *new InstalledMachine;
    return installed;
}

std::shared_ptr<Machine> MakeDefaultMachine()
{
    const char* const source = std::getenv("ZV_MACHINE");
    if (source == nullptr)
        return std::make_shared<Machine>();
    try
    {
        return OpenMachine(source);
    }
    catch (const MachineFileError& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        // Not exit(), whose destructors could call a published function and thus this one.
        std::_Exit(2);
    }
}

// Created by the first call that needs it, so that a process that installs its own machine reads no file.
const std::shared_ptr<Machine>& DefaultMachine()
{
    static const std::shared_ptr<Machine>& machine = *new std::shared_ptr<Machine>(MakeDefaultMachine());
    StartJournalOfEnvironment(machine);
    StartControlOfEnvironment(); // afterwards, because its threads use the machine
    return machine;
}

// Returns the previous machine, so that it is destroyed, if at all, without the lock.
std::shared_ptr<Machine> Exchange(std::shared_ptr<Machine> machine)
{
    InstalledMachine& installed = Slot();
    const ScopedLock lock(installed.Lock);
    return std::exchange(installed.Innermost, std::move(machine));
}

} // namespace

std::shared_ptr<Machine> CurrentMachine()
{
    InstalledMachine& installed = Slot();
    {
        const ScopedLock lock(installed.Lock);
        if (installed.Innermost)
            return installed.Innermost;
    }
    // Without the lock, because creating the default machine reads a file and may call a driver.
    return DefaultMachine();
}

std::optional<std::uint32_t> EnterCall(const char* function)
try
{
    const CallEntry entry;
    return CurrentMachine()->Internal().Faults.Enter(function);
}
catch (const std::bad_alloc&)
{
    // There was no memory for the default machine, so there is no machine that could fail the call.
    return std::nullopt;
}

AttachedDevicePtr FindDevice(std::string_view name)
{
    return CurrentMachine()->Internal().FindDevice(name);
}

bool ShareNamedEvent(std::string_view name, bool signalled)
try
{
    CurrentMachine()->SetNamedEvent(name, signalled);
    return true;
}
catch (const MachineServerError&)
{
    return false;
}

void RecordRequest(const CompletedRequest& request) noexcept
try
{
    const std::shared_ptr<Machine> machine = CurrentMachine();
    Machine::Impl& own = machine->Internal();
    const auto make = [&] {
        return Changes::RequestCompleted{
            .Device = request.Device,
            .Code = request.Code,
            .Input = {request.Input.begin(), request.Input.end()},
            .Output = {request.Output.begin(), request.Output.end()},
            .OutputRoom = request.OutputRoom,
            .Error = request.Error,
            .DurationUs = static_cast<std::uint64_t>((CallActivity::NowNs() - request.StartNs) / 1000),
            .ProcessId = static_cast<std::uint32_t>(getpid()),
            .ThreadId = request.ThreadId};
    };
    own.Record(make);
    if (own.IsJoined())
        own.Link->Report(make());
}
catch (const std::bad_alloc&)
{
    return; // the journal then lacks this request
}

bool SharesState()
{
    return CurrentMachine()->Internal().SharesState();
}

void ShareState(ControlDevice& device, const std::string& settings, std::function<void(std::uint32_t)> done)
{
    CurrentMachine()->Internal().ShareState(device, settings, std::move(done));
}

ScopedMachine::ScopedMachine() : ScopedMachine(std::make_shared<Machine>()) {}

ScopedMachine::ScopedMachine(std::shared_ptr<Machine> machine) : Installed(std::move(machine))
{
    StartJournalOfEnvironment(Installed);
    Previous = Exchange(Installed);
    StartControlOfEnvironment();
    FollowCurrentMachine();
}

ScopedMachine::~ScopedMachine()
{
    Exchange(std::move(Previous));
    FollowCurrentMachine();
}

} // namespace Platform
