#include "ProcessWork.h"

#include "Hosting.h"
#include "ScriptedDevice.h"

#include <cstdlib>
#include <dlfcn.h>
#include <latch>
#include <thread>

std::atomic<std::uint32_t> lastEvent{0};

namespace
{

constexpr std::uint32_t HostCode = 0x99000000;
constexpr std::uint32_t WaitRsp = 0x122418;

/// Requests in flight; one that nobody refers to would end.
constinit std::vector<Platform::ScriptedDevice::RequestPtr> inFlight;

/// The driver stays loaded for the one who calls its function.
auto DeliverFunction()
{
    void* driver = dlopen("./VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
    if (driver == nullptr)
        std::exit(4);
    return reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
}

_ZV_SRVC_IOCTL_REQ Request(std::uint32_t timeout)
{
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = HostCode;
    request.Timeout = timeout;
    return request;
}

} // namespace

std::function<void(unsigned, std::uint64_t)> Source(const Host& host)
{
    if (host.Simulated)
        return DeliverFunction();
    List(*host.Manager, "ZV_USB"); // Waits until the window hears.
    return [](unsigned message, std::uint64_t wParam) { Platform::CurrentMachine()->Broadcast(message, wParam); };
}

namespace
{

/// Adds an adapter whose driver answers at once, until it is told otherwise.
std::shared_ptr<Platform::ScriptedDevice> AddAdapter(const std::string& identity)
{
    auto driver = std::make_shared<Platform::ScriptedDevice>();
    Platform::CurrentMachine()->AttachDevice("Zorvane_Wifi_Device" + identity, driver);
    Platform::CurrentMachine()->AddAdapter(GivenAdapter(identity, "zvwlanu"));
    return driver;
}

} // namespace

std::string PromptAdapter(const Host& host)
{
    if (host.Simulated)
        return "{sim-2}";
    AddAdapter("{prompt}");
    return "{prompt}";
}

void EndProcess(int code)
{
    std::_Exit(code);
}

std::shared_ptr<CDeviceIntf> TryToOpen(const Host& host, const std::string& identity)
{
    List(*host.Manager, "nothing"); // So that the next one looks anew.
    List(*host.Manager, "ZV_USB");
    _ZV_SRVC_DEVICE_INFO record{};
    identity.copy(record.NetCfgInstanceId, sizeof record.NetCfgInstanceId - 1);
    std::shared_ptr<CDeviceIntf> device;
    host.Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device);
    return device;
}

std::shared_ptr<CDeviceIntf> Open(const Host& host, const std::string& identity)
{
    std::shared_ptr<CDeviceIntf> device = TryToOpen(host, identity);
    if (device == nullptr)
        std::exit(5);
    return device;
}

void SendAsync(CDeviceIntf& device, std::uint32_t timeout, ZV_ASYNC_CALLBACK callback, std::uint16_t count)
{
    static _ZV_SRVC_IOCTL_REQ requests[101];
    static std::uint16_t used = 0;
    for (std::uint16_t left = count; left > 0; --left, ++used)
    {
        requests[used] = Request(timeout);
        requests[used].RequestId = used;
        requests[used].IsAsync = 1;
        requests[used].NotifyFn = callback;
        requests[used].NotifyContext = requests;
        device.SendIOCTLReq(&requests[used]);
    }
}

namespace
{

void BeIdle(Host& /*host*/) {}

/// Threads inside requests that the driver never ends.
void HoldSync(Host& host)
{
    const auto driver = AddAdapter("{held}");
    driver->On(HostCode, driver->Hold());
    host.Device = Open(host, "{held}");
    for (int i = 0; i < 2; ++i)
    {
        std::thread([device = host.Device] {
            _ZV_SRVC_IOCTL_REQ request = Request(0xFFFFFFFF);
            device->SendIOCTLReq(&request);
        }).detach();
        inFlight.push_back(driver->Held(HostCode));
    }
}

/// A request and its reads in flight at a driver that answers neither, and one behind it.
void HoldAsync(Host& host)
{
    const auto driver = AddAdapter("{held}");
    driver->On(HostCode, driver->Hold());
    driver->On(WaitRsp, driver->Hold());
    host.Device = Open(host, "{held}");
    SendAsync(*host.Device, 100, [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {}, 2);
    inFlight.push_back(driver->Held(HostCode));
}

/// Many asynchronous requests that a driver's thread ends one after the other.
void ServeAsync(Host& host)
{
    static std::atomic<bool> served{false};
    const auto driver = AddAdapter("{served}");
    driver->On(WaitRsp, driver->Hold());
    std::thread([driver] {
        for (;;)
            driver->Held(WaitRsp)->Complete(0);
    }).detach();
    host.Device = Open(host, "{served}");
    const auto callback = [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {
        served = true;
        served.notify_all();
    };
    SendAsync(*host.Device, 1000, callback, 100);
    served.wait(false);
}

/// A watcher that looks after an adapter that has gone, and the key of its driver with it or not.
template <auto Verb>
void Watch(Host& host)
{
    AddAdapter("{gone}");
    List(*host.Manager, "ZV_USB");
    const auto machine = Platform::CurrentMachine();
    (machine.get()->*Verb)(machine->Adapters().front());
    lastEvent.wait(0);
}

void SendEvents(Host& host)
{
    if (!host.Simulated)
        AddAdapter("{present}");
    List(*host.Manager, "ZV_USB");
    std::thread([deliver = Source(host)] {
        for (;;)
        {
            deliver(0x218, 4);
            deliver(0x219, 0x8004);
            deliver(0x219, 0x8000);
        }
    }).detach();
    lastEvent.wait(0);
}

/// Threads that never leave the simulated driver for long.
void SendRequests(Host& host)
{
    static std::latch running(2);
    host.Device = Open(host, "{sim-1}");
    for (int i = 0; i < 2; ++i)
        std::thread([device = host.Device] {
            _ZV_SRVC_IOCTL_REQ request = Request(1000);
            device->SendIOCTLReq(&request);
            running.count_down();
            for (;;)
                device->SendIOCTLReq(&request);
        }).detach();
    running.wait();
}

constexpr Work Table[] = {
    {"watch-long", false, true, &Watch<&Platform::Machine::Unplug>},
    {"idle", false, false, &BeIdle},
    {"sync", false, false, &HoldSync},
    {"async", false, false, &HoldAsync},
    {"async-served", false, false, &ServeAsync},
    {"watch", false, false, &Watch<&Platform::Machine::Uninstall>},
    {"events", false, false, &SendEvents},
    {"simulated-idle", true, false, &BeIdle},
    {"simulated-events", true, false, &SendEvents},
    {"simulated-requests", true, false, &SendRequests},
};

} // namespace

std::span<const Work> Works()
{
    return Table;
}
