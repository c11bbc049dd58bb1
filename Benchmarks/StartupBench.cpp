/// What objects cost, compared with starting the threads that they have.
///
/// FirstManager: the first factory call of a process, which starts the service: its event thread, its notification
/// thread and the manager's three threads. Each round is a process of its own.
/// FurtherManager: one more manager; the reference starts three threads.
/// Device: one more device with its thread; the counter `bytes` is the memory that it keeps.

#include "Comparison.h"

#include "ZVSrvcLib.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int ServiceThreads = 2;
constexpr int ManagerThreads = 3;
/// Argument with which this program measures one first call, or as many bare threads, and prints the seconds.
constexpr const char* FirstArgument = "--first";
constexpr const char* ThreadsArgument = "--threads";

template <class Interface>
std::shared_ptr<Interface> Create(_ZV_SRVC_INTERFACE_TYPE type)
{
    std::shared_ptr<Interface> created;
    if (CreateZVModule(created, type) != ZV_SRVC_SUCCESS)
        throw std::runtime_error("an object cannot be created");
    return created;
}

/// Threads that wait for their end.
class BareThreads
{
public:
    explicit BareThreads(int count)
    {
        for (int i = 0; i < count; ++i)
            Threads.emplace_back([this] { End.wait(); });
    }
    ~BareThreads() { End.count_down(); }
    BareThreads(const BareThreads&) = delete;
    BareThreads& operator=(const BareThreads&) = delete;

private:
    std::latch End{1};
    std::vector<std::jthread> Threads;
};

template <class Make>
double SecondsToMake(Make make)
{
    decltype(make()) made; // Destroyed outside the measured time.
    return SecondsOf([&] { made = make(); });
}

double SecondsOfThreads(int count)
{
    return SecondsToMake([count] { return std::make_unique<BareThreads>(count); });
}

/// Runs this program with one argument and returns the number that it prints.
double SecondsFromProcess(const char* argument)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen((program + ' ' + argument).c_str(), "r"), &pclose);
    std::array<char, 64> text{};
    double seconds = 0;
    if (output == nullptr || std::fgets(text.data(), text.size(), output.get()) == nullptr ||
        std::from_chars(text.data(), text.data() + std::strlen(text.data()), seconds).ec != std::errc())
        throw std::runtime_error("a round has printed no time");
    return seconds;
}

void FirstManager(benchmark::State& state)
{
    Compare(
        state, {.Ratio = 1.2}, [] { return SecondsFromProcess(FirstArgument); },
        [] { return SecondsFromProcess(ThreadsArgument); });
}

void FurtherManager(benchmark::State& state)
{
    const auto first = Create<CDeviceManagerIntf>(ZV_SRVC_DEVICE_MANAGER_UWP);
    Compare(
        state, {.Ratio = 1.2},
        [] { return SecondsToMake([] { return Create<CDeviceManagerIntf>(ZV_SRVC_DEVICE_MANAGER_UWP); }); },
        [] { return SecondsOfThreads(ManagerThreads); });
}

std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void Device(benchmark::State& state)
{
    std::vector<std::shared_ptr<CDeviceIntf>> devices;
    constexpr std::size_t count = 200;
    devices.push_back(Create<CDeviceIntf>(ZV_SRVC_DEVICE_UWP));
    const std::size_t before = ResidentBytes();
    while (devices.size() <= count)
        devices.push_back(Create<CDeviceIntf>(ZV_SRVC_DEVICE_UWP));
    state.counters["bytes"] = static_cast<double>(ResidentBytes() - before) / static_cast<double>(count);
    devices.clear();
    Compare(
        state, {.Ratio = 1.2}, [] { return SecondsToMake([] { return Create<CDeviceIntf>(ZV_SRVC_DEVICE_UWP); }); },
        [] { return SecondsOfThreads(1); });
}

} // namespace

BENCHMARK(FirstManager)->Iterations(101)->UseManualTime()->Unit(benchmark::kMicrosecond);
// Few, because the service keeps every manager ever created in its list of receivers.
BENCHMARK(FurtherManager)->Iterations(301)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Device)->Iterations(1001)->UseManualTime()->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    const std::string_view argument = argc == 2 ? argv[1] : "";
    if (argument == FirstArgument || argument == ThreadsArgument)
    {
        const double seconds =
            argument == FirstArgument
                ? SecondsToMake([] { return Create<CDeviceManagerIntf>(ZV_SRVC_DEVICE_MANAGER_UWP); })
                : SecondsOfThreads(ServiceThreads + ManagerThreads);
        std::printf("%.9f\n", seconds);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
