/// The notification thread compared with a plain worker, Boost.Asio's post and a raw futex pair.
///
/// Throughput: posts a second from 1, 2 and 4 producers until the last one is delivered.
/// PingPong: two workers on one CPU pass one blob back and forth; the time is that of one hop.

#include "Workers.h"

#include <benchmark/benchmark.h>

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <latch>
#include <semaphore>
#include <thread>
#include <vector>

namespace
{

using Maker = std::unique_ptr<Worker> (*)(BenchHandler);

constexpr int PostsPerRound = 200'000;
constexpr int HopsPerRound = 20'000;

/// Blobs of a producer's own, so that reference counts are no meeting place of the producers.
std::vector<BenchBlob> MakeBlobs()
{
    std::vector<BenchBlob> blobs(1024);
    for (BenchBlob& blob : blobs)
        blob = BenchBlob(new unsigned char[12](), std::default_delete<unsigned char[]>());
    return blobs;
}

void Throughput(benchmark::State& state, Maker make)
{
    const int producers = static_cast<int>(state.range(0));
    const int each = PostsPerRound / producers;
    int left = 0; // The worker's own between two rounds.
    std::binary_semaphore done{0};
    const auto worker = make([&](const BenchBlob&) {
        if (--left == 0)
            done.release();
    });
    for (auto round : state)
    {
        left = each * producers;
        std::latch start(producers + 1);
        std::vector<std::jthread> threads;
        for (int i = 0; i < producers; ++i)
            threads.emplace_back([&] {
                const std::vector<BenchBlob> blobs = MakeBlobs();
                start.arrive_and_wait();
                for (int n = 0; n < each; ++n)
                    worker->Post(blobs[static_cast<std::size_t>(n) % blobs.size()]);
            });
        const auto begin = std::chrono::steady_clock::now();
        start.arrive_and_wait();
        done.acquire();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    state.SetItemsProcessed(state.iterations() * each * producers);
}

/// Keeps the calling thread, and the threads that it starts, on one CPU.
class OneCpu
{
public:
    OneCpu()
    {
        sched_getaffinity(0, sizeof Before, &Before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OneCpu() { sched_setaffinity(0, sizeof Before, &Before); }
    OneCpu(const OneCpu&) = delete;
    OneCpu& operator=(const OneCpu&) = delete;

private:
    cpu_set_t Before{};
};

void PingPong(benchmark::State& state, Maker make)
{
    const OneCpu pin;
    const BenchBlob blob = MakeBlobs().front();
    int left = 0; // Of whichever worker has the blob.
    std::binary_semaphore done{0};
    std::unique_ptr<Worker> ping;
    std::unique_ptr<Worker> pong;
    const auto hop = [&](std::unique_ptr<Worker>& other) {
        return [&](const BenchBlob& got) {
            if (--left <= 0)
                done.release();
            else
                other->Post(got);
        };
    };
    ping = make(hop(pong));
    pong = make(hop(ping));
    for (auto round : state)
    {
        left = HopsPerRound;
        ping->Post(blob);
        done.acquire();
    }
    state.SetItemsProcessed(state.iterations() * HopsPerRound);
}

void FutexWait(std::atomic<std::uint32_t>& word)
{
    while (word.load(std::memory_order_acquire) == 0)
        syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    word.store(0, std::memory_order_relaxed);
}

void FutexWake(std::atomic<std::uint32_t>& word, std::uint32_t value)
{
    word.store(value, std::memory_order_release);
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void FutexPair(benchmark::State& state)
{
    const OneCpu pin;
    std::atomic<std::uint32_t> ping{0};
    std::atomic<std::uint32_t> pong{0};
    std::atomic<bool> end{false};
    std::jthread other([&] {
        for (;;)
        {
            FutexWait(pong);
            if (end)
                return;
            FutexWake(ping, 1);
        }
    });
    for (auto round : state)
        for (int i = 0; i < HopsPerRound / 2; ++i)
        {
            FutexWake(pong, 1);
            FutexWait(ping);
        }
    end = true;
    FutexWake(pong, 1);
    state.SetItemsProcessed(state.iterations() * HopsPerRound);
}

} // namespace

BENCHMARK_CAPTURE(Throughput, notification, &MakeNotification)->Arg(1)->Arg(2)->Arg(4)->UseManualTime();
BENCHMARK_CAPTURE(Throughput, plain, &MakePlain)->Arg(1)->Arg(2)->Arg(4)->UseManualTime();
BENCHMARK_CAPTURE(Throughput, asio, &MakeAsio)->Arg(1)->Arg(2)->Arg(4)->UseManualTime();
BENCHMARK_CAPTURE(PingPong, notification, &MakeNotification)->UseRealTime();
BENCHMARK_CAPTURE(PingPong, plain, &MakePlain)->UseRealTime();
BENCHMARK_CAPTURE(PingPong, asio, &MakeAsio)->UseRealTime();
BENCHMARK(FutexPair)->UseRealTime();

BENCHMARK_MAIN();
