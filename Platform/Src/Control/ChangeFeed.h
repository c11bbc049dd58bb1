/// @file
/// Collects the changes of a machine for the thread that sends them to the sessions.
#pragma once

#include "AnnotatedLock.h"
#include "ChangeLog.h"
#include "Machine.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace Platform
{

/// Returns the machine that a control server works on.
using MachineProvider = std::function<std::shared_ptr<Machine>()>;

/// Listens to the log only while a session is subscribed, so that a machine without subscribers is as fast as one
/// without a server. Bounded: a host that changes its machine faster than the changes are sent does not wait for the
/// server, and does not fill the memory. Thread-safe.
class ChangeFeed
{
public:
    /// A change, or the notice that the changes of another machine follow.
    struct Item
    {
        LoggedChangePtr Change = {}; ///< Null for the notice.
        std::uint64_t Replaced = 0;  ///< The last change of the other machine; changes after it follow.
    };
    struct Batch
    {
        std::deque<Item> Items = {};
        std::uint64_t DroppedTo = 0; ///< The last change after the items that there was no room for; 0 for none.
    };

    /// @param wake is called, perhaps while locks of the machine are held, when there is something to take.
    ChangeFeed(MachineProvider provider, std::function<void()> wake);
    ~ChangeFeed();
    ChangeFeed(const ChangeFeed&) = delete;
    ChangeFeed& operator=(const ChangeFeed&) = delete;

    void AddSubscriber();
    void RemoveSubscriber();
    /// Listens to the current machine if there are subscribers. Called after AddSubscriber and after the current
    /// machine has changed. May create the machine. @return the current machine.
    std::shared_ptr<Machine> Listen();
    Batch Take();

private:
    static constexpr std::size_t MostItems = 10'000;

    void Detach() PLATFORM_REQUIRES(SourceLock);
    void Put(Item item) noexcept;

    const MachineProvider CurrentOf;
    const std::function<void()> Wake;

    Mutex SourceLock; // before the locks of a machine and its log, which are before ItemLock
    std::size_t Subscribers PLATFORM_GUARDED_BY(SourceLock) = 0;
    std::shared_ptr<Machine> Source PLATFORM_GUARDED_BY(SourceLock); // null unless the feed listens
    std::optional<ChangeLog::ListenerId> Listener PLATFORM_GUARDED_BY(SourceLock);

    Mutex ItemLock;
    Batch Waiting PLATFORM_GUARDED_BY(ItemLock);
    bool HasWoken PLATFORM_GUARDED_BY(ItemLock) = false;
};

} // namespace Platform
