/// Requests to a driver through the library, compared with bare platform calls.
///
/// SyncRequest: synchronous requests of 64 bytes input and 64 B, 64 KiB and 16 MiB output, which the
/// driver completes at once. Library and bare calls alternate; `factor` is the ratio of the medians.
/// AsyncRequest: one asynchronous request whose response is one short chunk, callback included.
/// Response16MB: bytes per second of a chunked response, and how often the thread waited per chunk;
/// from a driver that completes each read at once, and from one that does so on its own thread.

#include "ControlDevice.h"
#include "Machine.h"
#include "Platform.h"
#include "ZVSrvcLib.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

constexpr std::uint32_t HostCode = 0x99000000;
constexpr std::uint32_t WaitRsp = 0x122418;
constexpr std::size_t ResponseSize = std::size_t{16} << 20;
constexpr std::size_t ChunkSize = 200;

/// Ends everything at once; a response is `ResponseLeft` bytes long.
class PromptDriver : public Platform::ControlDevice
{
public:
    void Start(const RequestPtr& request) override
    {
        if (request->Code() == WaitRsp)
            Serve(request);
        else
            request->Complete(0, std::span(Full).first(std::min(request->OutputRoom(), Full.size())));
    }

    void Begin(std::size_t size) { ResponseLeft = size; }

protected:
    virtual void Serve(const RequestPtr& read) { Answer(read); }

    void Answer(const RequestPtr& read)
    {
        const std::size_t size = std::min(ChunkSize, ResponseLeft);
        ResponseLeft -= size;
        read->Complete(0, std::span(Zeros).first(size));
    }

    const std::array<std::uint8_t, ChunkSize> Zeros{};
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
        {
            const std::lock_guard lock(Mutex);
            Waiting.push_back(read);
        }
        Changed.notify_one();
    }

private:
    void Run()
    {
        for (;;)
        {
            std::unique_lock lock(Mutex);
            Changed.wait(lock, [this] { return !Waiting.empty(); });
            const RequestPtr read = Waiting.front();
            Waiting.pop_front();
            lock.unlock();
            if (read == nullptr)
                return;
            Answer(read);
        }
    }

    std::mutex Mutex;
    std::condition_variable Changed;
    std::deque<RequestPtr> Waiting; ///< Guarded by Mutex.
    std::jthread Thread{[this] { Run(); }};
};

/// An adapter with this driver, opened through the manager.
template <class Driver>
struct Opened
{
    Opened()
    {
        Platform::AdapterDescription adapter;
        adapter.NetCfgInstanceId = "{bench}";
        adapter.Service = "zvwlanu";
        adapter.HardwareId = u"USB";
        Machine->AttachDevice("Zorvane_Wifi_Device{bench}", Control);
        Machine->AddAdapter(adapter);
        CreateZVModule(Manager, ZV_SRVC_DEVICE_MANAGER_UWP);
        _ZV_SRVC_DEVICE_FILTER filter{"ZV_ALL", ""};
        const _ZV_SRVC_DEVICE_LIST_REQ request{ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
        _ZV_SRVC_DEVICE_INFO record{};
        _ZV_SRVC_DEVICE_LIST_RSP result{0, sizeof record, &record};
        if (Manager->GetZVDeviceList(&request, &result) != 0 ||
            Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, Device) != 0)
            throw std::runtime_error("the benchmark's adapter cannot be opened");
    }

    Platform::ScopedMachine Machine;
    std::shared_ptr<Driver> Control = std::make_shared<Driver>();
    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::shared_ptr<CDeviceIntf> Device;
};

/// One synchronous request, prepared once.
struct SyncRequest
{
    explicit SyncRequest(std::size_t outSize) : Out(outSize) {}

    bool SendThroughLibrary(CDeviceIntf& device)
    {
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = HostCode;
        request.InBuffer = In.data();
        request.InLength = static_cast<std::uint32_t>(In.size());
        request.OutBuffer = Out.data();
        request.OutLength = static_cast<std::uint32_t>(Out.size());
        request.Timeout = 10'000;
        return device.SendIOCTLReq(&request) == 0;
    }

    bool SendBare()
    {
        const HANDLE file = CreateFileA("\\\\.\\Zorvane_Wifi_Device{bench}", GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        const std::size_t size = std::max(In.size(), Out.size()) + 12;
        const auto buffer = std::make_unique<std::uint8_t[]>(size);
        const DWORD processId = GetCurrentProcessId();
        std::memcpy(buffer.get(), &processId, sizeof processId);
        std::memcpy(buffer.get() + 10, In.data(), In.size());
        const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        OVERLAPPED overlapped{};
        overlapped.hEvent = event;
        DWORD returned = 0;
        DeviceIoControl(file, HostCode, buffer.get(), static_cast<DWORD>(size), Out.data(),
                        static_cast<DWORD>(Out.size()), &returned, &overlapped);
        const bool isDone = WaitForSingleObject(event, 10'000) == WAIT_OBJECT_0;
        CloseHandle(event);
        CloseHandle(file);
        return isDone;
    }

    std::array<std::uint8_t, 64> In{};
    std::vector<std::uint8_t> Out;
};

template <class Call>
double SecondsOf(Call call)
{
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double MedianOf(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

void SyncRequests(benchmark::State& state)
{
    Opened<PromptDriver> opened;
    SyncRequest request(static_cast<std::size_t>(state.range(0)));
    std::vector<double> library;
    std::vector<double> bare;
    bool isGood = true;
    for (auto round : state)
    {
        library.push_back(SecondsOf([&] { isGood &= request.SendThroughLibrary(*opened.Device); }));
        bare.push_back(SecondsOf([&] { isGood &= request.SendBare(); }));
        state.SetIterationTime(library.back());
    }
    if (!isGood)
        state.SkipWithError("a request failed");
    state.counters["bare_us"] = 1e6 * MedianOf(bare);
    state.counters["library_us"] = 1e6 * MedianOf(library);
    state.counters["factor"] = MedianOf(library) / MedianOf(bare);
}

/// Sends an asynchronous request and waits for its callback.
void RunAsync(CDeviceIntf& device, std::vector<std::uint8_t>& out)
{
    std::binary_semaphore ended{0};
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = HostCode;
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

void AsyncRequest(benchmark::State& state)
{
    Opened<PromptDriver> opened;
    std::vector<std::uint8_t> out(64);
    for (auto round : state)
    {
        opened.Control->Begin(50);
        RunAsync(*opened.Device, out);
    }
}

template <class Driver>
void Response16MB(benchmark::State& state)
{
    Opened<Driver> opened;
    std::vector<std::uint8_t> out(ResponseSize);
    const std::uint64_t before = opened.Machine->Calls("WaitForMultipleObjects");
    for (auto round : state)
    {
        opened.Control->Begin(ResponseSize);
        RunAsync(*opened.Device, out);
    }
    const auto waits = static_cast<double>(opened.Machine->Calls("WaitForMultipleObjects") - before);
    const auto bytes = static_cast<double>(state.iterations()) * ResponseSize;
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["waits_per_chunk"] = waits / (bytes / ChunkSize);
}

} // namespace

BENCHMARK(SyncRequests)->Arg(64)->Arg(64 << 10)->Arg(16 << 20)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(AsyncRequest)->UseRealTime();
BENCHMARK(Response16MB<PromptDriver>)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Response16MB<ThreadedDriver>)->UseRealTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
