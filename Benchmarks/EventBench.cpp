/// The path of an event compared with the same two thread hops written with plain workers. Each hop has a message of
/// its own, as the window message and the event have.
///
/// Event: one event after the other, from the window procedure to a client's callback.
/// EventBurst: a thousand events at once, until the last callback.

#include "Comparison.h"
#include "Workers.h"

#include "CZVNSrvcMgnt.h"
#include "ZVSrvcLib.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <semaphore>
#include <stdexcept>

namespace
{

constexpr UINT PowerMessage = 0x218;
constexpr WPARAM Suspend = 4;

/// Waits for the last of the expected arrivals, on whichever thread it happens.
class Finish
{
public:
    void Expect(int arrivals) { Left = arrivals; }
    void Arrive()
    {
        if (--Left == 0)
            Done.release();
    }
    void Await() { Done.acquire(); }

private:
    std::atomic<int> Left{0};
    std::binary_semaphore Done{0};
};

/// The only manager of the process, because the service keeps notifying every manager ever created.
class Library
{
public:
    static Library& Instance()
    {
        static Library library;
        return library;
    }

    static void Send() { PwrEvtWndProc(nullptr, PowerMessage, Suspend, 0); }

    Finish Arrived;

private:
    Library()
    {
        if (CreateZVModule(Manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
            throw std::runtime_error("no manager");
        _ZV_WLAN_NOTIFY_HDLR client{&Library::Hear, this, 0, 0};
        Manager->RegisterNotification(&client);
    }

    static void Hear(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* /*data*/)
    {
        if (event == ZV_EVT_SYSTEM_SUSPEND)
            static_cast<Library*>(context)->Arrived.Arrive();
    }

    std::shared_ptr<CDeviceManagerIntf> Manager;
};

BenchBlob MakeMessage(std::size_t size)
{
    return BenchBlob(new unsigned char[size](), std::default_delete<unsigned char[]>());
}

/// Two plain workers in a row.
struct Chain
{
    Finish Arrived;
    std::unique_ptr<Worker> Second = MakePlain([this](const BenchBlob&) { Arrived.Arrive(); });
    std::unique_ptr<Worker> First = MakePlain([this](const BenchBlob&) { Second->Post(MakeMessage(12)); });

    void Send() const { First->Post(MakeMessage(36)); }
};

template <class Path>
double SecondsOfEvents(Path& path, int count)
{
    path.Arrived.Expect(count);
    return SecondsOf([&] {
        for (int i = 0; i < count; ++i)
            path.Send();
        path.Arrived.Await();
    });
}

void CompareEvents(benchmark::State& state, Goal goal, int count)
{
    Chain chain;
    Compare(
        state, goal, [&] { return SecondsOfEvents(Library::Instance(), count); },
        [&] { return SecondsOfEvents(chain, count); });
    state.SetItemsProcessed(state.iterations() * count);
}

void Event(benchmark::State& state)
{
    CompareEvents(state, {}, 1);
}

void EventBurst(benchmark::State& state)
{
    CompareEvents(state, {.Ratio = 1.0}, 1000);
}

} // namespace

BENCHMARK(Event)->Iterations(20'001)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(EventBurst)->Iterations(501)->UseManualTime()->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
