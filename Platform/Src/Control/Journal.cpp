#include "Journal.h"

#include "ChangeJson.h"
#include "JournalOfEnvironment.h"
#include "MachineImpl.h"
#include "WorkQueue.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Platform
{

namespace
{

using nlohmann::json;

constexpr std::chrono::seconds FlushTime{2};

} // namespace

/// Owned by the journal and by the work that is queued.
class Journal::Impl
{
public:
    Impl(std::shared_ptr<Machine> machine, const std::string& path) : Recorded(std::move(machine)), Path(path)
    {
        File = std::fopen(path.c_str(), "we");
        if (File == nullptr)
            throw JournalError(path + ": cannot be written: " + std::strerror(errno));
    }
    ~Impl()
    {
        if (Listener)
            Recorded->Internal().Log.Dismiss(*Listener);
        std::fclose(File);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    /// The following functions run on the writing thread.

    /// Writes the first line, and the changes that have happened since the machine was copied.
    void WriteHeader(const json& header, std::uint64_t sequence)
    {
        Write(header);
        HasHeader = true;
        for (const LoggedChangePtr& change : std::exchange(Early, {}))
            if (change->Sequence > sequence)
                Write(ToJson(*change));
    }

    void WriteChange(const LoggedChangePtr& change)
    {
        if (HasHeader)
            Write(ToJson(*change));
        else
            Early.push_back(change);
    }

    const std::shared_ptr<Machine> Recorded;
    std::optional<ChangeLog::ListenerId> Listener;
    // Never destroyed, because its thread is not.
    WorkQueue& Queue = *new WorkQueue;

private:
    /// Reports an error once: the file is incomplete from then on.
    void Write(const json& line)
    {
        // Invalid UTF-8 in the name of a key or value must not end the recording.
        const std::string text = line.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
        const bool written = std::fwrite(text.data(), 1, text.size(), File) == text.size() && std::fflush(File) == 0;
        if (!written && !std::exchange(HasFailed, true))
            std::fprintf(stderr, "%s: the journal is incomplete: %s\n", Path.c_str(), std::strerror(errno));
    }

    const std::string Path;
    // The rest is used only by the writing thread.
    std::FILE* File;
    bool HasFailed = false;
    bool HasHeader = false;
    std::vector<LoggedChangePtr> Early; // before the header
};

Journal::Journal(std::shared_ptr<Machine> machine, const std::string& path, const std::string& program)
    : Self(std::make_shared<Impl>(std::move(machine), path))
{
    Self->Queue.Start();
    Machine::Impl& recorded = Self->Recorded->Internal();
    const std::string started = TimeText(std::chrono::system_clock::now());
    // The listener is called under locks, so it only queues.
    Self->Listener = recorded.Log.Listen([self = std::weak_ptr(Self)](const LoggedChangePtr& change) {
        const std::shared_ptr<Impl> journal = self.lock();
        if (!journal)
            return;
        try
        {
            journal->Queue.Add([journal, change] { journal->WriteChange(change); });
        }
        catch (const std::bad_alloc&)
        {
            return; // the numbers in the file then have a gap
        }
    });
    MachineState state = recorded.Capture();
    state.RecordsRequests = true;
    Self->Queue.Add([journal = Self, state, started, program] {
        journal->WriteHeader({{"format", "zvuwpsrvclib journal"},
                              {"version", 1},
                              {"started", started},
                              {"host", program},
                              {"processId", getpid()},
                              {"machine", ToJson(state)}},
                             state.Sequence);
    });
    RequestsAreRecorded = true; // last, because nothing resets it if a step before fails
}

Journal::~Journal()
{
    Self->Recorded->Internal().Log.Dismiss(*std::exchange(Self->Listener, std::nullopt));
    Flush();
}

void Journal::Flush()
{
    struct Marker
    {
        Mutex Lock;
        Condition Changed;
        bool IsReached PLATFORM_GUARDED_BY(Lock) = false;
    };
    // Shared with the writing thread, because this call may give up first.
    const auto marker = std::make_shared<Marker>();
    Self->Queue.Add([marker] {
        const ScopedLock lock(marker->Lock);
        marker->IsReached = true;
        marker->Changed.NotifyAll();
    });
    const auto end = std::chrono::steady_clock::now() + FlushTime;
    const ScopedLock lock(marker->Lock);
    while (!marker->IsReached)
        if (!marker->Changed.WaitUntil(marker->Lock, end))
            return;
}

namespace
{

// Null without a journal. Never destroyed, because threads record until the process ends.
std::atomic<Journal*> journalOfEnvironment = nullptr;

} // namespace

void FlushJournal()
{
    if (Journal* const journal = journalOfEnvironment)
        journal->Flush();
}

void StartJournalOfEnvironment(const std::shared_ptr<Machine>& machine)
{
    static const bool started = [&] {
        const char* const path = std::getenv("ZV_JOURNAL");
        if (path == nullptr || *path == '\0')
            return false;
        try
        {
            journalOfEnvironment = new Journal(machine, path, program_invocation_name);
            std::atexit(FlushJournal);
            return true;
        }
        catch (const JournalError& error)
        {
            std::fprintf(stderr, "ZV_JOURNAL: %s\n", error.what());
            std::_Exit(2);
        }
    }();
    static_cast<void>(started);
}

} // namespace Platform
