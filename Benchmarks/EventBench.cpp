/// The path of an event.
///
/// Event: from the window procedure to a client's callback, two thread hops. Hops: the same two hops
/// written with plain threads and queues. Each event is sent after the previous one has arrived; the time
/// is the mean, and the counters give the distribution in microseconds.
/// EventBurst, HopsBurst: a thousand events at once, in events per second.

#include "Workers.h"

#include "CZVNSrvcMgnt.h"
#include "ZVSrvcLib.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int BurstSize = 1000;
constexpr UINT PowerMessage = 0x218;
constexpr WPARAM Suspend = 4;

/// Waits for the last of the expected arrivals, on whichever thread it happens.
class Finish
{
public:
    void Expect(int arrivals) { Left = arrivals; }
    void Arrive()
    {
        if (--Left != 0)
            return;
        At = Clock::now();
        Done.release();
    }
    Clock::time_point Await()
    {
        Done.acquire();
        return At;
    }

private:
    std::atomic<int> Left{0};
    Clock::time_point At; ///< Written before Done is released.
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

    std::shared_ptr<CDeviceManagerIntf> Manager;
    Finish Suspended;

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
            static_cast<Library*>(context)->Suspended.Arrive();
    }
};

/// Sends one thing after the other and keeps how long each took.
template <class Send>
void MeasureEach(benchmark::State& state, Finish& finish, const Send& send)
{
    std::vector<double> samples;
    for ([[maybe_unused]] auto round : state)
    {
        finish.Expect(1);
        const auto begin = Clock::now();
        send();
        samples.push_back(std::chrono::duration<double>(finish.Await() - begin).count());
        state.SetIterationTime(samples.back());
    }
    std::ranges::sort(samples);
    const auto share = [&](std::size_t percent) { return samples[(samples.size() - 1) * percent / 100] * 1e6; };
    state.counters["p50_us"] = share(50);
    state.counters["p99_us"] = share(99);
}

template <class Send>
void MeasureBurst(benchmark::State& state, Finish& finish, const Send& send)
{
    for ([[maybe_unused]] auto round : state)
    {
        finish.Expect(BurstSize);
        const auto begin = Clock::now();
        for (int i = 0; i < BurstSize; ++i)
            send();
        state.SetIterationTime(std::chrono::duration<double>(finish.Await() - begin).count());
    }
    state.SetItemsProcessed(state.iterations() * BurstSize);
}

void SendSuspend()
{
    PwrEvtWndProc(nullptr, PowerMessage, Suspend, 0);
}

void Event(benchmark::State& state)
{
    MeasureEach(state, Library::Instance().Suspended, &SendSuspend);
}

void EventBurst(benchmark::State& state)
{
    MeasureBurst(state, Library::Instance().Suspended, &SendSuspend);
}

/// Two plain workers in a row, and a message for them.
struct Chain
{
    Finish Arrived;
    std::unique_ptr<Worker> Second = MakePlain([this](const BenchBlob&) { Arrived.Arrive(); });
    std::unique_ptr<Worker> First = MakePlain([this](const BenchBlob& blob) { Second->Post(blob); });

    void Send() const { First->Post(std::make_shared<unsigned char>()); }
};

void Hops(benchmark::State& state)
{
    Chain chain;
    MeasureEach(state, chain.Arrived, [&chain] { chain.Send(); });
}

void HopsBurst(benchmark::State& state)
{
    Chain chain;
    MeasureBurst(state, chain.Arrived, [&chain] { chain.Send(); });
}

} // namespace

BENCHMARK(Event)->UseManualTime();
BENCHMARK(Hops)->UseManualTime();
BENCHMARK(EventBurst)->UseManualTime();
BENCHMARK(HopsBurst)->UseManualTime();

BENCHMARK_MAIN();
