/// @file
/// A control device in the hands of a test or a bench: it records every request, answers by script,
/// and keeps requests until its user ends them, so that a race is brought about on purpose.
#pragma once

#include "ControlDevice.h"
#include "PlatformExport.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace Platform
{

/// Thread-safe. Answers run on the caller's thread without a lock. The waits below are unbounded; the
/// test's own time-out ends a wait that fails.
class PLATFORM_API ScriptedDevice : public ControlDevice
{
public:
    using RequestPtr = std::shared_ptr<IoRequest>;
    using Answer = std::function<void(const RequestPtr&)>;

    /// A request as it arrived.
    struct Seen
    {
        std::uint32_t Code;
        std::vector<std::uint8_t> Input;
        std::size_t Room;

        bool operator==(const Seen&) const = default;
    };

    /// Answers requests of a code; code 0 stands for all codes without a script. Without a script, or with
    /// null, they end at once with success and no output.
    void On(std::uint32_t code, Answer answer);
    /// Ends requests at once.
    static Answer EndWith(std::uint32_t error, std::vector<std::uint8_t> output = {});
    /// Keeps requests for Held.
    Answer Hold();

    /// Takes the oldest kept request of a code; waits for one.
    RequestPtr Held(std::uint32_t code);
    /// Ends the oldest kept request of a code, or of any code with 0. @return false if none is kept.
    bool EndHeld(std::uint32_t code, std::uint32_t error, const std::vector<std::uint8_t>& output = {});
    /// Waits until so many requests are kept.
    void AwaitHeld(std::size_t count);
    /// Makes Held skip the kept requests of a code that came through this handle. They stay in flight
    /// until they are cancelled.
    void IgnoreRequests(std::uint32_t code, std::uint64_t openId);

    /// From now on cancelled requests are kept for Cancelled. With false they no longer are, and those that are
    /// kept end with 995.
    void HoldCancelled(bool holds = true);
    /// From now on a cancelled request is kept until its caller closes the handle, and then ends with 995.
    void HoldCancelledUntilClose();
    /// Takes the oldest cancelled request; waits for one.
    RequestPtr Cancelled();

    /// Takes the record of all requests so far.
    std::vector<Seen> Requests();

    void Start(const RequestPtr& request) override;
    void Cancel(const RequestPtr& request) override;
    void Cleanup(std::uint64_t openId) override;

private:
    using RequestList = std::list<RequestPtr>;

    RequestPtr Take(RequestList& list, const std::function<bool(const IoRequest&)>& fits);

    std::mutex Mutex; ///< Guards everything below.
    std::condition_variable Changed;
    std::map<std::uint32_t, Answer> Scripts;
    std::vector<Seen> All;
    RequestList Kept;
    RequestList Aside; ///< Referred to, since a request without a reference would end.
    RequestList CancelledRequests;
    bool HoldsCancelled = false;
    bool ReleasesOnClose = false;
};

} // namespace Platform
