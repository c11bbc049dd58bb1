/// Listings by the number of adapters, compared with the least that they can cost.
///
/// CachedListing: GetZVDeviceList from its list; the reference is one memcpy of as many records.
/// Walk: GetZVDeviceList that enumerates; the reference is the same platform calls without any processing.

#include "BareWalk.h"
#include "BenchMachine.h"
#include "Comparison.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace
{

class PromptDriver final : public Platform::ControlDevice
{
public:
    void Start(const std::shared_ptr<Platform::IoRequest>& request) override { request->Complete(0); }
};

void AddAdapters(Platform::Machine& machine, std::int64_t count)
{
    const auto driver = std::make_shared<PromptDriver>();
    for (std::int64_t i = 0; i < count; ++i)
        AddBenchAdapter(machine, static_cast<std::size_t>(i), driver);
    BenchRelist();
}

/// Seconds of one call, from as many calls as the clock needs.
template <class Call>
double SecondsOfOne(std::size_t calls, const Call& call)
{
    return SecondsOf([&] {
               for (std::size_t i = 0; i < calls; ++i)
                   call();
           }) /
           static_cast<double>(calls);
}

void CachedListing(benchmark::State& state)
{
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0));
    std::vector<_ZV_SRVC_DEVICE_INFO> records(static_cast<std::size_t>(state.range(0)));
    std::vector<_ZV_SRVC_DEVICE_INFO> source = records;
    const std::size_t calls = 20'000 / records.size();
    // A larger list takes long enough for the constant part not to count.
    const Goal goal{.Ratio = 1.35, .ConstantSeconds = state.range(0) < 100 ? 100e-9 : 0};
    Compare(
        state, goal,
        [&] {
            return SecondsOfOne(calls, [&] {
                if (BenchList(records) != ZV_SRVC_SUCCESS)
                    throw std::runtime_error("a listing failed");
            });
        },
        [&] {
            return SecondsOfOne(calls, [&] {
                std::memcpy(records.data(), source.data(), records.size() * sizeof records[0]);
                benchmark::ClobberMemory();
            });
        });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Walk(benchmark::State& state)
{
    const Platform::ScopedMachine machine;
    AddAdapters(*machine, state.range(0));
    std::vector<_ZV_SRVC_DEVICE_INFO> none;
    std::size_t found = 0;
    bool isAll = false;
    Compare(
        state, {.Ratio = 1.2},
        [&] {
            isAll = !isAll; // Another filter than last time, so that the list is not used.
            return SecondsOf([&] { BenchList(none, isAll ? "ZV_ALL" : "ZV_USB"); });
        },
        [&] { return SecondsOf([&] { found = BareWalk(); }); });
    if (found != static_cast<std::size_t>(state.range(0)))
        state.SkipWithError("the bare walk has missed adapters");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(CachedListing)->Arg(4)->Arg(10)->Arg(100)->Arg(1000)->Iterations(101)->UseManualTime();
BENCHMARK(Walk)->Arg(10)->Arg(100)->Arg(1000)->Iterations(31)->UseManualTime()->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
