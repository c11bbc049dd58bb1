// bench: measures requests to a driver on the user's machine.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "ControlRequest.h"
#include "Options.h"
#include "Timing.h"

#include <algorithm>
#include <fmt/core.h>
#include <stdexcept>

namespace
{

using Clock = std::chrono::steady_clock;

/// Longer than the 3 seconds without a chunk after which the library ends a response.
constexpr std::chrono::seconds Patience{10};

struct BenchOptions
{
    std::string Adapter;
    ControlRequest Request;
    bool Async = false;
    std::uint32_t Count = 1000;
    bool Json = false;
};

Timing Measure(const OpenAdapter& adapter, const BenchOptions& options)
{
    WarnOfLostLength(options.Request);
    std::vector<Timing::Duration> times;
    times.reserve(options.Count);
    while (times.size() < options.Count)
    {
        const auto start = Clock::now();
        if (options.Async)
            SendAndAwaitCallback(adapter.Device, options.Request, Patience);
        else
            SendAndWait(*adapter.Device, options.Request);
        times.push_back(Clock::now() - start);
    }
    return Timing(std::move(times));
}

std::string TimeText(Timing::Duration time)
{
    const double us = std::chrono::duration<double, std::micro>(time).count();
    return us < 1000 ? fmt::format("{:.3g} us", us) : fmt::format("{:.3g} ms", us / 1000);
}

void PrintHistogram(const Timing& timing)
{
    constexpr std::size_t width = 40;
    const auto buckets = timing.Histogram();
    const std::size_t most = std::ranges::max(buckets, {}, &Timing::Bucket::Count).Count;
    for (const Timing::Bucket& bucket : buckets)
        fmt::print("{:>10}  {:<{}} {}\n", TimeText(bucket.From),
                   std::string((bucket.Count * width + most - 1) / most, '#'), width, bucket.Count);
}

void PrintReport(const Timing& timing, std::uint32_t outputSize)
{
    const double seconds = std::chrono::duration<double>(timing.Total()).count();
    const auto count = static_cast<double>(timing.Count());
    fmt::print("{} requests, {:.0f} per second", timing.Count(), count / seconds);
    if (outputSize != 0)
        fmt::print(", {:.3g} MB/s of output", count * outputSize / seconds / 1e6);
    fmt::print("\nshortest {}", TimeText(timing.AtMost(0)));
    for (const unsigned percent : {50U, 90U, 99U})
        fmt::print(", {} % {}", percent, TimeText(timing.AtMost(percent)));
    fmt::print(", longest {}\n", TimeText(timing.AtMost(100)));
    PrintHistogram(timing);
}

Json NanosecondsOf(Timing::Duration time)
{
    return static_cast<std::uint64_t>(time.count());
}

Json ReportJson(const Timing& timing, const OpenAdapter& adapter, const BenchOptions& options)
{
    Json::Object quantiles;
    for (const unsigned percent : {0U, 50U, 90U, 99U, 100U})
        quantiles.emplace_back(std::to_string(percent), NanosecondsOf(timing.AtMost(percent)));
    Json::Array histogram;
    for (const Timing::Bucket& bucket : timing.Histogram())
        histogram.emplace_back(
            Json::Object{{"fromNanoseconds", NanosecondsOf(bucket.From)}, {"count", std::uint64_t{bucket.Count}}});
    return Json::Object{{"adapter", FieldText(adapter.Record.NetCfgInstanceId)},
                        {"code", options.Request.Code},
                        {"async", options.Async},
                        {"outputSize", options.Request.OutputSize},
                        {"count", options.Count},
                        {"totalNanoseconds", NanosecondsOf(timing.Total())},
                        {"quantiles", std::move(quantiles)},
                        {"histogram", std::move(histogram)}};
}

void Bench(const BenchOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    const Timing timing = Measure(adapter, options);
    if (options.Json)
        fmt::print("{}", ReportJson(timing, adapter, options).Text());
    else
        PrintReport(timing, options.Request.OutputSize);
}

} // namespace

Command AddBenchCommand(Syntax app)
{
    const auto options = std::make_shared<BenchOptions>();
    Syntax bench = app.AddCommand("bench", "Measure the time of a control request to an adapter's driver");
    AddAdapter(bench, options->Adapter);
    AddRequest(bench, options->Request);
    bench.AddFlag("--async", options->Async, "Send asynchronous requests and wait for each callback");
    bench
        .AddParsed(
            "--count",
            [options = options.get()](const std::string& text) {
                constexpr std::uint32_t limit = 10'000'000; // 80 MB of times.
                options->Count = ParseNumber(text, limit);
                if (options->Count == 0)
                    throw std::invalid_argument("at least one request is needed");
            },
            "Number of requests (1000)")
        .ValueName("N");
    AddJson(bench, options->Json);
    return {bench, [options] { Bench(*options); }};
}
