/// The notification thread compared with plain workers, Boost.Asio's post and a raw futex pair.
///
/// Throughput: blobs that 1, 2 and 4 producers allocate and post, until the last one is delivered and released. A
/// worker that takes the whole queue releases a blob long after it has delivered it; counted at the delivery, its
/// last batch would be released for nothing.
/// Hop: two workers on one CPU pass one blob back and forth; one hop.

#include "Comparison.h"
#include "Workers.h"

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
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
constexpr int Rounds = 31;

double SecondsOfPosts(Maker make, int producers)
{
    const int each = PostsPerRound / producers;
    std::atomic<int> left{each * producers};
    std::binary_semaphore done{0};
    const auto release = [&](const unsigned char* bytes) {
        delete[] bytes;
        if (left.fetch_sub(1, std::memory_order_relaxed) == 1)
            done.release();
    };
    const auto worker = make([](const BenchBlob&) {});
    std::latch start(producers + 1);
    std::vector<std::jthread> threads;
    for (int i = 0; i < producers; ++i)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int n = 0; n < each; ++n)
                worker->Post(BenchBlob(new unsigned char[12](), release));
        });
    return SecondsOf([&] {
        start.arrive_and_wait();
        done.acquire();
    });
}

void Throughput(benchmark::State& state, Maker reference)
{
    const int producers = static_cast<int>(state.range(0));
    Compare(
        state, {.Ratio = 1.0}, [&] { return SecondsOfPosts(&MakeNotification, producers); },
        [&] { return SecondsOfPosts(reference, producers); });
    state.SetItemsProcessed(state.iterations() * PostsPerRound);
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

double SecondsOfHop(Maker make)
{
    int left = HopsPerRound; // Of whichever worker has the blob.
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
    return SecondsOf([&] {
               ping->Post(std::make_shared<unsigned char>());
               done.acquire();
           }) /
           HopsPerRound;
}

void FutexWait(std::atomic<std::uint32_t>& word)
{
    while (word.load(std::memory_order_acquire) == 0)
        syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    word.store(0, std::memory_order_relaxed);
}

void FutexWake(std::atomic<std::uint32_t>& word)
{
    word.store(1, std::memory_order_release);
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

double SecondsOfFutexHop()
{
    std::atomic<std::uint32_t> ping{0};
    std::atomic<std::uint32_t> pong{0};
    std::jthread other([&] {
        for (int i = 0; i < HopsPerRound / 2; ++i)
        {
            FutexWait(pong);
            FutexWake(ping);
        }
    });
    return SecondsOf([&] {
               for (int i = 0; i < HopsPerRound / 2; ++i)
               {
                   FutexWake(pong);
                   FutexWait(ping);
               }
           }) /
           HopsPerRound;
}

void HopToWorker(benchmark::State& state, Maker reference)
{
    const OneCpu pin;
    Compare(state, {}, [] { return SecondsOfHop(&MakeNotification); }, [&] { return SecondsOfHop(reference); });
}

void HopToFutexPair(benchmark::State& state)
{
    const OneCpu pin;
    Compare(state, {.Ratio = 1.15}, [] { return SecondsOfHop(&MakeNotification); }, &SecondsOfFutexHop);
}

void EachProducerCount(benchmark::internal::Benchmark* throughput)
{
    throughput->Arg(1)->Arg(2)->Arg(4)->Iterations(Rounds)->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK_CAPTURE(Throughput, swapping, &MakeSwapping)->Apply(&EachProducerCount);
BENCHMARK_CAPTURE(Throughput, plain, &MakePlain)->Apply(&EachProducerCount);
BENCHMARK_CAPTURE(Throughput, asio, &MakeAsio)->Apply(&EachProducerCount);
BENCHMARK(HopToFutexPair)->Iterations(Rounds)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HopToWorker, plain, &MakePlain)->Iterations(Rounds)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HopToWorker, asio, &MakeAsio)->Iterations(Rounds)->UseManualTime()->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
