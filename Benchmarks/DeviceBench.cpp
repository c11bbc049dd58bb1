/// Requests to a driver through the library, compared with bare platform calls.
///
/// SyncRequest: synchronous requests of 64 bytes input and 64 B, 64 KiB and 16 MiB output, which the driver completes
/// at once.
/// AsyncRequest: one asynchronous request whose response is one short chunk, from the call to the callback. The
/// reference makes the bare calls on a plain worker and posts the completion back to the caller.
/// Response16MB: a chunked response, from a driver that completes each read at once, and from one that does so on its
/// own thread. The counter is how often the library's thread waited per chunk.

#include "BareRequests.h"
#include "BenchMachine.h"
#include "Comparison.h"
#include "Workers.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

constexpr std::size_t ResponseSize = std::size_t{16} << 20;

/// Ends everything at once; a response is `ResponseLeft` bytes long.
class PromptDriver : public Platform::ControlDevice
{
public:
    void Start(const RequestPtr& request) override
    {
        if (request->Code() == BenchWaitRsp)
            Serve(request);
        else
            request->Complete(0, std::span(Full).first(std::min(request->OutputRoom(), Full.size())));
    }

    void Begin(std::size_t size) { ResponseLeft = size; }

protected:
    virtual void Serve(const RequestPtr& read) { Answer(read); }

    void Answer(const RequestPtr& read)
    {
        const std::size_t size = std::min(BenchChunkSize, ResponseLeft);
        ResponseLeft -= size;
        read->Complete(0, std::span(Zeros).first(size));
    }

    const std::array<std::uint8_t, BenchChunkSize> Zeros{};
    const std::vector<std::uint8_t> Full = std::vector<std::uint8_t>(ResponseSize); ///< Fills any output.
    std::size_t ResponseLeft = 0; ///< Used where the reads are answered, and between two requests.
};

/// Completes response reads on a separate thread.
class ThreadedDriver final : public PromptDriver
{
public:
    ~ThreadedDriver() override { Serve(nullptr); }

    void Cancel(const RequestPtr& request) override
    {
        {
            const std::lock_guard lock(Mutex);
            std::erase(Waiting, request);
        }
        request->Complete(995);
    }

protected:
    void Serve(const RequestPtr& read) override
    {
        bool wasAsleep = false;
        {
            const std::lock_guard lock(Mutex);
            Waiting.push_back(read);
            wasAsleep = std::exchange(IsAsleep, false);
        }
        if (wasAsleep)
            Changed.notify_one();
    }

private:
    void Run()
    {
        while (const RequestPtr read = Next())
            Answer(read);
    }

    /// Yields before it sleeps: a sleep and its wake-up cost more than a chunk, and a busy host sends the next read
    /// by then.
    RequestPtr Next()
    {
        std::unique_lock lock(Mutex);
        for (int yields = 0; Waiting.empty() && yields < YieldsBeforeSleep; ++yields)
        {
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
        }
        IsAsleep = Waiting.empty();
        Changed.wait(lock, [this] { return !Waiting.empty(); });
        const RequestPtr read = Waiting.front();
        Waiting.pop_front();
        return read;
    }

    static constexpr int YieldsBeforeSleep = 8;

    std::mutex Mutex;
    std::condition_variable Changed;
    std::deque<RequestPtr> Waiting; ///< Guarded by Mutex.
    bool IsAsleep = false;          ///< Guarded by Mutex.
    std::jthread Thread{[this] { Run(); }};
};

/// An adapter with this driver, opened through the manager.
template <class Driver>
struct Opened
{
    Opened()
    {
        AddBenchAdapter(*Machine, 0, Control);
        BenchRelist();
        std::vector<_ZV_SRVC_DEVICE_INFO> records(1);
        if (BenchList(records) != ZV_SRVC_SUCCESS ||
            BenchManager().OpenDevice(records.data(), ZV_SRVC_DEVICE_UWP, Device) != ZV_SRVC_SUCCESS)
            throw std::runtime_error("the benchmark's adapter cannot be opened");
    }

    Platform::ScopedMachine Machine;
    std::shared_ptr<Driver> Control = std::make_shared<Driver>();
    std::shared_ptr<CDeviceIntf> Device;
    const std::string Path = "\\\\.\\Zorvane_Wifi_Device" + BenchIdentity(0);
};

bool SendThroughLibrary(CDeviceIntf& device, std::span<std::uint8_t> in, std::span<std::uint8_t> out)
{
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = BenchHostCode;
    request.InBuffer = in.data();
    request.InLength = static_cast<std::uint32_t>(in.size());
    request.OutBuffer = out.data();
    request.OutLength = static_cast<std::uint32_t>(out.size());
    request.Timeout = 10'000;
    return device.SendIOCTLReq(&request) == ZV_SRVC_SUCCESS;
}

void SyncRequest(benchmark::State& state)
{
    Opened<PromptDriver> opened;
    std::array<std::uint8_t, 64> in{};
    std::vector<std::uint8_t> out(static_cast<std::size_t>(state.range(0)));
    bool isGood = true;
    const double goal = out.size() > (64 << 10) ? 2 : 1.15;
    Compare(
        state, {.Ratio = goal},
        [&] { return SecondsOf([&] { isGood &= SendThroughLibrary(*opened.Device, in, out); }); },
        [&] {
            return SecondsOf([&] {
                const HANDLE file = BareOpen(opened.Path.c_str());
                isGood &= BareSend(file, in, out);
                CloseHandle(file);
            });
        });
    if (!isGood)
        state.SkipWithError("a request failed");
}

/// Sends an asynchronous request and waits for its callback.
void RunAsync(CDeviceIntf& device, std::vector<std::uint8_t>& out)
{
    std::binary_semaphore ended{0};
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = BenchHostCode;
    request.OutBuffer = out.data();
    request.OutLength = static_cast<std::uint32_t>(out.size());
    request.Timeout = 1000;
    request.IsAsync = 1;
    request.NotifyFn = [](void* context, std::uint32_t, const _ZV_ASYNC_RESULT*) {
        static_cast<std::binary_semaphore*>(context)->release();
    };
    request.NotifyContext = &ended;
    device.SendIOCTLReq(&request);
    ended.acquire();
}

template <class Driver>
void CompareResponses(benchmark::State& state, Goal goal, std::size_t size)
{
    Opened<Driver> opened;
    std::vector<std::uint8_t> out(std::max<std::size_t>(size, 64));
    std::binary_semaphore ended{0};
    const auto worker = MakePlain([&](const BenchBlob&) {
        BareResponse(opened.Path.c_str(), out);
        ended.release();
    });
    std::uint64_t waits = 0;
    Compare(
        state, goal,
        [&] {
            opened.Control->Begin(size);
            const std::uint64_t before = opened.Machine->Calls("WaitForMultipleObjects");
            const double seconds = SecondsOf([&] { RunAsync(*opened.Device, out); });
            waits += opened.Machine->Calls("WaitForMultipleObjects") - before;
            return seconds;
        },
        [&] {
            opened.Control->Begin(size);
            return SecondsOf([&] {
                worker->Post(std::make_shared<unsigned char>());
                ended.acquire();
            });
        });
    const auto bytes = static_cast<double>(state.iterations()) * static_cast<double>(size);
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["waits_per_chunk"] = static_cast<double>(waits) / (bytes / BenchChunkSize);
}

void AsyncRequest(benchmark::State& state)
{
    CompareResponses<PromptDriver>(state, {.Ratio = 1.15}, 50);
}

template <class Driver>
void Response16MB(benchmark::State& state)
{
    CompareResponses<Driver>(state, {.Ratio = 1 / 0.9}, ResponseSize);
}

} // namespace

BENCHMARK(SyncRequest)->Arg(64)->Arg(64 << 10)->Iterations(3001)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SyncRequest)->Arg(16 << 20)->Iterations(51)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(AsyncRequest)->Iterations(3001)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Response16MB<PromptDriver>)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Response16MB<ThreadedDriver>)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
