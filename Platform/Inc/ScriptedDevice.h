/// @file
/// A control device that a test or a bench controls. It records every request, answers by script, and holds
/// requests until its user completes them, so that a race is brought about on purpose.
#pragma once

#include "AnnotatedLock.h"
#include "ControlDevice.h"
#include "PlatformExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <vector>

namespace Platform
{

/// Thread-safe. Answers run on the caller's thread without a lock. The waits below are unbounded; the
/// test's own time-out ends a wait that fails.
class PLATFORM_API ScriptedDevice : public ControlDevice
{
public:
    using RequestPtr = std::shared_ptr<IoRequest>;         ///< A request; a copy keeps it in flight.
    using Answer = std::function<void(const RequestPtr&)>; ///< Completes a request or keeps it.

    /// A request as it arrived.
    struct Seen
    {
        std::uint32_t Code;              ///< The control code.
        std::vector<std::uint8_t> Input; ///< A copy of the caller's input.
        std::size_t Room;                ///< Capacity of the output buffer in bytes.

        /// Compares all fields.
        bool operator==(const Seen&) const = default;
    };

    /// Sets the answer for requests of a code; code 0 stands for all codes without an answer. Without an answer,
    /// or with null, requests complete at once with success and no output.
    void On(std::uint32_t code, Answer answer);
    /// Returns an answer that completes requests at once.
    /// @param error platform error number, 0 for success.
    /// @param output copied to the caller's buffer, cut to its size.
    static Answer EndWith(std::uint32_t error, std::vector<std::uint8_t> output = {});
    /// Returns an answer that holds requests for Held. The device must outlive its use.
    Answer Hold();

    /// Removes and returns the oldest held request of a code. Blocks until there is one.
    RequestPtr Held(std::uint32_t code);
    /// Completes the oldest held request of a code, or of any code with 0.
    /// @param code the control code, or 0.
    /// @param error platform error number, 0 for success.
    /// @param output copied to the caller's buffer, cut to its size.
    /// @return false if none is held.
    bool EndHeld(std::uint32_t code, std::uint32_t error, const std::vector<std::uint8_t>& output = {});
    /// Blocks until at least `count` requests are held.
    void AwaitHeld(std::size_t count);
    /// Makes Held skip the requests of a code that came through this handle and are held now. They stay in flight
    /// until they are cancelled.
    void IgnoreRequests(std::uint32_t code, std::uint64_t openId);

    /// Sets whether requests cancelled from now on are held for Cancelled. Otherwise they complete with 995,
    /// and so do those that are held already.
    void HoldCancelled(bool holds = true);
    /// Holds requests cancelled from now on until their caller closes the handle; they then complete with 995.
    void HoldCancelledUntilClose();
    /// Removes and returns the oldest held cancelled request. Blocks until there is one.
    RequestPtr Cancelled();

    /// Returns the requests since the last call, oldest first, and clears the record.
    std::vector<Seen> Requests();

    /// @name Called by the stand-in, on the thread of the caller
    /// @{
    void Start(const RequestPtr& request) override;  ///< Records the request and runs its answer.
    void Cancel(const RequestPtr& request) override; ///< Completes the request with 995, or holds it.
    void Cleanup(std::uint64_t openId) override;     ///< Completes held requests of HoldCancelledUntilClose.
    /// @}

private:
    using RequestList = std::list<RequestPtr>;

    using Filter = std::function<bool(const IoRequest&)>;

    /// Removes and returns the oldest request that fits. Blocks until there is one, and releases the lock meanwhile.
    RequestPtr Take(RequestList& list, const Filter& fits) PLATFORM_REQUIRES(Lock);

    Mutex Lock;
    Condition Changed;                                                 ///< Notified when a list below has grown.
    std::map<std::uint32_t, Answer> Scripts PLATFORM_GUARDED_BY(Lock); ///< By code.
    std::vector<Seen> All PLATFORM_GUARDED_BY(Lock);
    RequestList Kept PLATFORM_GUARDED_BY(Lock);  ///< Oldest first.
    RequestList Aside PLATFORM_GUARDED_BY(Lock); ///< Keeps a reference, because a request without one completes.
    RequestList CancelledRequests PLATFORM_GUARDED_BY(Lock);
    bool HoldsCancelled PLATFORM_GUARDED_BY(Lock) = false;
    bool ReleasesOnClose PLATFORM_GUARDED_BY(Lock) = false;
};

} // namespace Platform
