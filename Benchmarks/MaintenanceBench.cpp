/// The work on the adapter list that messages cause, by the number of listed adapters.
///
/// Sweep: from the message until the service's thread is free again; the drivers answer at once. `opens`
/// is the number of probes, one for each pair of an adapter and one before it or itself. The thousand has
/// half a million of them and runs only with ZV_BENCH_LONG set.
/// Merge: an arrival that changes nothing, from the end of the enumeration until the thread is free
/// again. `walk_ms` is the enumeration itself, which is the stand-in's.
/// ListingDuringMerge, ListingDuringSweep: a host that asks for the size of the list again and again
/// while the service works on it. The time is the longest such call, apart from those during which the
/// scheduler took the processor from the host (`preempted`): a host that waits for a lock gives it up by
/// itself. The sweep's adapters are disabled, so that it makes no probe.

#include "BenchMachine.h"

#include "CZVNSrvcMgnt.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <semaphore>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr UINT PowerMessage = 0x218;
constexpr WPARAM Suspend = 4;
constexpr UINT DeviceMessage = 0x219;
constexpr WPARAM Arrival = 0x8000;
constexpr WPARAM RemoveComplete = 0x8004;

double Seconds(Clock::duration time)
{
    return std::chrono::duration<double>(time).count();
}

/// The client that learns when the service is free again.
class Library
{
public:
    static Library& Instance()
    {
        static Library library;
        return library;
    }

    /// Sends a message and returns when the service has handled it: the suspend that follows is queued after it.
    Clock::time_point Maintain(WPARAM change)
    {
        PwrEvtWndProc(nullptr, DeviceMessage, change, 0);
        PwrEvtWndProc(nullptr, PowerMessage, Suspend, 0);
        Suspended.acquire();
        return At;
    }

private:
    Library()
    {
        _ZV_WLAN_NOTIFY_HDLR client{&Library::Hear, this, 0, 0};
        BenchManager().RegisterNotification(&client);
    }

    static void Hear(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* /*data*/)
    {
        if (event != ZV_EVT_SYSTEM_SUSPEND)
            return;
        auto& self = *static_cast<Library*>(context);
        self.At = Clock::now();
        self.Suspended.release();
    }

    std::binary_semaphore Suspended{0};
    Clock::time_point At; ///< Written before Suspended is released.
};

class PromptDriver final : public Platform::ControlDevice
{
public:
    void Start(const std::shared_ptr<Platform::IoRequest>& request) override { request->Complete(0); }
};

void AddAdapters(Platform::Machine& machine, std::int64_t count, std::uint32_t problem = 0)
{
    const auto driver = std::make_shared<PromptDriver>();
    for (std::int64_t i = 0; i < count; ++i)
        AddBenchAdapter(machine, static_cast<std::size_t>(i), driver, problem);
    BenchRelist();
}

void Sweep(benchmark::State& state)
{
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0));
    const std::uint64_t before = machine->Calls("CreateFileA");
    for ([[maybe_unused]] auto round : state)
    {
        const auto begin = Clock::now();
        state.SetIterationTime(Seconds(Library::Instance().Maintain(RemoveComplete) - begin));
    }
    const auto opens = static_cast<double>(machine->Calls("CreateFileA") - before);
    state.counters["opens"] = benchmark::Counter(opens, benchmark::Counter::kAvgIterations);
}

void Merge(benchmark::State& state)
{
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0));
    Clock::time_point walked; // Written on the service's thread before its event.
    machine->OnCall("SetupDiDestroyDeviceInfoList", [&walked] { walked = Clock::now(); });
    double walks = 0;
    for ([[maybe_unused]] auto round : state)
    {
        const auto begin = Clock::now();
        state.SetIterationTime(Seconds(Library::Instance().Maintain(Arrival) - walked));
        walks += Seconds(walked - begin) * 1e3;
    }
    state.counters["walk_ms"] = benchmark::Counter(walks, benchmark::Counter::kAvgIterations);
}

/// Returns how often the scheduler has taken the processor from the calling thread.
long Preemptions()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

void ListDuring(benchmark::State& state, WPARAM change, std::uint32_t problem)
{
    Library& library = Library::Instance();
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0), problem);
    library.Maintain(change); // What it changes at first is changed.
    std::vector<_ZV_SRVC_DEVICE_INFO> none;
    double preempted = 0;
    for ([[maybe_unused]] auto round : state)
    {
        std::atomic<bool> isDone{false};
        std::jthread service([&] {
            library.Maintain(change);
            isDone = true;
        });
        double longest = 0;
        while (!isDone)
        {
            const long switches = Preemptions();
            const auto begin = Clock::now();
            BenchList(none);
            const double time = Seconds(Clock::now() - begin);
            if (Preemptions() == switches)
                longest = std::max(longest, time);
            else
                ++preempted;
        }
        state.SetIterationTime(longest);
    }
    state.counters["preempted"] = preempted;
}

void ListingDuringMerge(benchmark::State& state)
{
    ListDuring(state, Arrival, 0);
}

void ListingDuringSweep(benchmark::State& state)
{
    ListDuring(state, RemoveComplete, 22);
}

void SweepSizes(benchmark::internal::Benchmark* sweep)
{
    sweep->Arg(10)->Arg(100);
    if (std::getenv("ZV_BENCH_LONG") != nullptr)
        sweep->Arg(1000);
}

} // namespace

BENCHMARK(Sweep)->Apply(&SweepSizes)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Merge)->Arg(10)->Arg(1000)->Arg(10'000)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(ListingDuringMerge)->Arg(10'000)->UseManualTime()->Iterations(5)->Unit(benchmark::kMicrosecond);
BENCHMARK(ListingDuringSweep)->Arg(10'000)->UseManualTime()->Iterations(5)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
