// A driver that answers the requests of a journal as they were answered when it was recorded.
#include "ControlDevice.h"
#include "JsonNode.h"
#include "PlatformExport.h"
#include "RecordedRequests.h"
#include "TimerThread.h"

#include <algorithm>
#include <chrono>
#include <list>
#include <memory>
#include <stdexcept>
#include <utility>

namespace
{

using Platform::ControlDevice;
using RequestPtr = std::shared_ptr<Platform::IoRequest>;

constexpr std::uint32_t Cancelled = 995;

/// Requests without a match go to the driver that the recorded machine had.
class ReplayDevice final : public ControlDevice
{
public:
    ReplayDevice(RecordedRequests recorded, std::shared_ptr<ControlDevice> otherwise)
        : Recorded(std::move(recorded)), Otherwise(std::move(otherwise))
    {
    }

    ~ReplayDevice() override { Timer.Stop(); }
    ReplayDevice(const ReplayDevice&) = delete;
    ReplayDevice& operator=(const ReplayDevice&) = delete;

    std::uint32_t Open(std::uint64_t openId) override { return Otherwise ? Otherwise->Open(openId) : 0; }

    void Close(std::uint64_t openId) override
    {
        if (Otherwise)
            Otherwise->Close(openId);
    }

    void Cleanup(std::uint64_t openId) override
    {
        if (Otherwise)
            Otherwise->Cleanup(openId);
    }

    bool Configure(const char* settings, char* error, std::size_t errorRoom) override
    {
        return Otherwise ? Otherwise->Configure(settings, error, errorRoom)
                         : ControlDevice::Configure(settings, error, errorRoom);
    }

    std::string State() const override { return Otherwise ? Otherwise->State() : ""; }

    void Start(const RequestPtr& request) override
    {
        Platform::ScopedLock guard(Lock);
        const std::optional<RecordedRequest> answer = Recorded.Take(request->Code(), request->Input());
        if (!answer)
        {
            guard.Unlock();
            // A request that was never answered waits for its cancellation, like one that a driver has lost.
            if (Otherwise)
                Otherwise->Start(request);
            else
                Wait(request);
            return;
        }
        Waiting.push_back(request);
        // A recorded cancellation happens again when the host asks for it.
        if (answer->Error == Cancelled)
            return;
        // Answers of one code keep their order: a response consists of the answers of several reads.
        TimePoint& earliest = LastAnswer[answer->Code];
        earliest = std::max(earliest, Clock::now() + std::chrono::microseconds(answer->DurationUs));
        // Under the lock, so that answers of the same time keep their order too.
        Timer.PostAt(earliest, [this, request, answer] {
            if (Remove(request))
                request->Complete(answer->Error, answer->Output);
        });
    }

    void Cancel(const RequestPtr& request) override
    {
        if (Remove(request))
            request->Complete(Cancelled);
        else if (Otherwise)
            Otherwise->Cancel(request);
    }

private:
    using Clock = std::chrono::steady_clock;
    using TimePoint = Clock::time_point;

    void Wait(const RequestPtr& request)
    {
        const Platform::ScopedLock guard(Lock);
        Waiting.push_back(request);
    }

    /// Returns false if the request is not waiting here.
    bool Remove(const RequestPtr& request)
    {
        const Platform::ScopedLock guard(Lock);
        return Waiting.remove(request) != 0;
    }

    Platform::Mutex Lock; ///< Not held while a request is completed.
    RecordedRequests Recorded PLATFORM_GUARDED_BY(Lock);
    std::list<RequestPtr> Waiting PLATFORM_GUARDED_BY(Lock);
    std::map<std::uint32_t, TimePoint> LastAnswer PLATFORM_GUARDED_BY(Lock); ///< By code.
    const std::shared_ptr<ControlDevice> Otherwise;                          ///< Null without a driver.
    TimerThread Timer;
};

std::unique_ptr<ControlDevice> MakeDevice(const char* deviceName, const char* settings)
{
    const Platform::JsonDocument document(settings, "settings");
    const Platform::JsonNode root = document.Root();
    root.AllowMembers({"journal", "device", "module", "settings"});
    std::shared_ptr<ControlDevice> otherwise;
    if (root.HasMember("module"))
        otherwise = Platform::LoadControlDevice(root.Member("module").Text(), deviceName,
                                                root.HasMember("settings") ? root.Member("settings").Json() : "{}");
    return std::make_unique<ReplayDevice>(RecordedRequests(root.Member("journal").Text(), root.Member("device").Text()),
                                          std::move(otherwise));
}

} // namespace

extern "C" PLATFORM_API ControlDevice* CreateControlDevice(const char* deviceName, const char* settings, char* error,
                                                           std::size_t errorRoom)
try
{
    return MakeDevice(deviceName, settings).release();
}
catch (const std::runtime_error& mistake)
{
    std::snprintf(error, errorRoom, "%s", mistake.what());
    return nullptr;
}
