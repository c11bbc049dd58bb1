/// @file
/// A control device that answers like an adapter's driver and checks every request.
#pragma once

#include "AnnotatedLock.h"
#include "ControlDevice.h"
#include "DriverSettings.h"
#include "ItemStore.h"
#include "ResponseStream.h"
#include "TimerThread.h"
#include "WireRecords.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A copy of a received request.
struct DriverCapture
{
    std::uint32_t Code = 0;
    std::vector<std::uint8_t> Input = {};
    std::size_t OutputRoom = 0;
};

/// The driver. It answers the information request and item requests, echoes a host's requests, and
/// returns a response through the response reads that wait on the same handle when a host's request comes.
/// A request that violates the wire format is refused with 87 and recorded.
///
/// Thread-safe. No lock is held while a request is completed. Requests are handled on the caller's thread,
/// or, if a switch delays them, on one timer thread that the destructor joins. The destructor completes the
/// remaining requests with 995; no request may own the model.
class DriverModel final : public Platform::ControlDevice
{
public:
    static constexpr std::size_t MostCaptures = 64;
    static constexpr std::uint32_t BadRequest = 87; ///< Error of a request that violates the wire format.
    static constexpr std::uint32_t Cancelled = 995;
    static constexpr std::uint32_t Removed = 1617;   ///< Error of every request once unplugged.
    static constexpr std::uint32_t NoSuchDevice = 2; ///< Error of every open once unplugged.

    explicit DriverModel(DriverSettings settings = {});
    ~DriverModel() override;
    DriverModel(const DriverModel&) = delete;
    DriverModel& operator=(const DriverModel&) = delete;

    std::uint32_t Open(std::uint64_t openId) override;
    void Close(std::uint64_t openId) override;
    void Start(const RequestPtr& request) override;
    void Cancel(const RequestPtr& request) override;
    /// Accepts switches, by their names in the settings, and items.
    bool Configure(const char* settings, char* error, std::size_t errorRoom) override;
    /// Returns the switches and the items.
    std::string State() const override;

    ItemStore& Items() { return StoredItems; }
    /// Returns all violations of the wire format, oldest first.
    std::vector<std::string> Violations() const;
    /// Returns the last MostCaptures requests, including refused ones, oldest first.
    std::vector<DriverCapture> Captures() const;
    void ClearCaptures();

    DriverSwitches Switches() const;
    /// Applies to requests handled from now on; the chunk count restarts.
    void SetSwitches(const DriverSwitches& switches);
    /// Sets whether requests cancelled from now on are held until ReleaseCancelled.
    void HoldCancelled(bool hold);
    /// Completes all held requests with 995.
    void ReleaseCancelled();
    /// Blocks until at least `count` cancelled requests are held. Returns false after `bound`.
    bool AwaitCancelled(std::size_t count, std::chrono::milliseconds bound) const;
    /// Unplugs the device: completes all waiting, held and later requests with 1617.
    void Vanish();

private:
    using Bytes = DriverSettings::Bytes;
    using Ends = std::vector<RequestEnd>;

    static void CarryOut(const Ends& ends);
    void Deal(const RequestPtr& request, const WireRequest& wire);
    void LetGo(const RequestPtr& request);

    void Capture(const Platform::IoRequest& request) PLATFORM_REQUIRES(Lock);
    std::uint32_t Accept(const RequestPtr& request, const WireRequest& wire) PLATFORM_REQUIRES(Lock);
    bool Remove(const RequestPtr& request) PLATFORM_REQUIRES(Lock);
    ResponseStream& Stream(std::uint64_t openId) PLATFORM_REQUIRES(Lock);
    void DealWithRead(const RequestPtr& read, Ends& ends) PLATFORM_REQUIRES(Lock);
    void DealWithRequest(const RequestPtr& request, const WireRequest& wire, Ends& ends) PLATFORM_REQUIRES(Lock);
    void Serve(ResponseStream& stream, Ends& ends) PLATFORM_REQUIRES(Lock);
    Ends TakeAll(std::uint32_t error) PLATFORM_REQUIRES(Lock);
    std::vector<Bytes> ResponseChunks(const WireRequest& wire) const PLATFORM_REQUIRES(Lock);
    std::size_t ChunksInFront(std::size_t waitingReads, std::size_t chunks) const;
    std::string StoreItem(const Platform::IoRequest& request, const WireRequest& wire);
    Bytes Answer(const WireRequest& wire, std::size_t room) PLATFORM_REQUIRES(Lock);

    mutable Platform::Mutex Lock; ///< Not held while a request is completed.

    const DriverSettings Settings;
    ItemStore StoredItems;

    mutable Platform::Condition CancelledChange; ///< Notified when HeldCancelled has grown.
    DriverSwitches Current PLATFORM_GUARDED_BY(Lock);
    bool Gone PLATFORM_GUARDED_BY(Lock) = false;
    std::uint32_t ChunksServed PLATFORM_GUARDED_BY(Lock) = 0;
    std::vector<std::string> Wrong PLATFORM_GUARDED_BY(Lock);
    std::deque<DriverCapture> Captured PLATFORM_GUARDED_BY(Lock);
    /// By open handle; own the waiting reads.
    std::map<std::uint64_t, ResponseStream> Streams PLATFORM_GUARDED_BY(Lock);
    std::vector<RequestPtr> Waiting PLATFORM_GUARDED_BY(Lock); ///< Requests other than reads.
    std::vector<RequestPtr> HeldCancelled PLATFORM_GUARDED_BY(Lock);

    TimerThread Timer;
};
