/// The road of an event, and the work on the adapter list that messages cause.
///
/// Event: from the window procedure to a client's callback, two thread hops. Hops: the same two hops
/// with threads and queues written the usual way. The next one starts when the former has arrived;
/// the time is the mean and the counters tell the rest, in microseconds.
/// EventBurst, HopsBurst: a thousand at once, as events a second.
/// Sweep, Merge: from the message to the moment when the library is through with it, by the number of
/// listed adapters, whose drivers answer at once. Opens tells how often a driver was asked.

#include "Workers.h"

#include "ControlDevice.h"
#include "Machine.h"
#include "PwrEvtWndProc.h"
#include "ZVSrvcLib.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int BurstSize = 1000;
constexpr UINT PowerMessage = 0x218;
constexpr WPARAM Suspend = 4;
constexpr UINT DeviceMessage = 0x219;
constexpr WPARAM Arrival = 0x8000;
constexpr WPARAM RemoveComplete = 0x8004;

/// Tells when the last of the expected arrivals came, on whatever thread.
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

/// The one manager of the process, since the service goes on telling every manager that there was.
class Library
{
public:
    static Library& Instance()
    {
        static Library library;
        return library;
    }

    /// Makes the list anew from the current machine.
    void Relist() const
    {
        List("nothing");
        List("ZV_USB");
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

    void List(const char* name) const
    {
        _ZV_SRVC_DEVICE_FILTER filter{};
        std::memcpy(filter.FilterText, name, std::strlen(name));
        const _ZV_SRVC_DEVICE_LIST_REQ request{ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
        _ZV_SRVC_DEVICE_LIST_RSP result{};
        Manager->GetZVDeviceList(&request, &result);
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

class PromptDriver final : public Platform::ControlDevice
{
public:
    void Start(const std::shared_ptr<Platform::IoRequest>& request) override { request->Complete(0); }
};

void AddAdapters(Platform::Machine& machine, std::int64_t count)
{
    const auto driver = std::make_shared<PromptDriver>();
    for (std::int64_t i = 0; i < count; ++i)
    {
        // All of one length: an identity that is part of another would count as the same adapter.
        const std::string identity = "{" + std::to_string(100'000 + i) + "}";
        Platform::AdapterDescription adapter;
        adapter.NetCfgInstanceId = identity;
        adapter.Service = "zvwlanu";
        adapter.HardwareId = u"USB";
        machine.AttachDevice("Zorvane_Wifi_Device" + identity, driver);
        machine.AddAdapter(adapter);
    }
}

/// The suspend comes behind the message and so tells when that has been dealt with.
void Maintain(benchmark::State& state, WPARAM change)
{
    Library& library = Library::Instance();
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0));
    library.Relist();
    const std::uint64_t before = machine->Calls("CreateFileA");
    for ([[maybe_unused]] auto round : state)
    {
        library.Suspended.Expect(1);
        const auto begin = Clock::now();
        PwrEvtWndProc(nullptr, DeviceMessage, change, 0);
        SendSuspend();
        state.SetIterationTime(std::chrono::duration<double>(library.Suspended.Await() - begin).count());
    }
    const auto opens = static_cast<double>(machine->Calls("CreateFileA") - before);
    state.counters["opens"] = benchmark::Counter(opens, benchmark::Counter::kAvgIterations);
}

void Sweep(benchmark::State& state)
{
    Maintain(state, RemoveComplete);
}

void Merge(benchmark::State& state)
{
    Maintain(state, Arrival);
}

/// The thousand makes half a million opens, one for each pair of a listed adapter and one before it or
/// itself. Each probe's device has a thread to start and to stop, so that is more than twenty minutes.
void SweepSizes(benchmark::internal::Benchmark* sweep)
{
    sweep->Arg(10)->Arg(100);
    if (std::getenv("ZV_BENCH_LONG") != nullptr)
        sweep->Arg(1000);
}

} // namespace

BENCHMARK(Event)->UseManualTime();
BENCHMARK(Hops)->UseManualTime();
BENCHMARK(EventBurst)->UseManualTime();
BENCHMARK(HopsBurst)->UseManualTime();
BENCHMARK(Sweep)->Apply(&SweepSizes)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Merge)->Arg(10)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
