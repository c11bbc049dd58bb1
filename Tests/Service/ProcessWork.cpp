/// What the library of a host process does when the process ends, with the adapters of TestMachine.h.

#include "ProcessWork.h"

#include "OSPlatform.h"
#include "ProcessWait.h"
#include "TestMachine.h"

#include <bit>
#include <cstdlib>
#include <thread>

std::atomic<std::uint32_t> lastEvent{0};

_ZV_SRVC_IOCTL_REQ Request(std::uint32_t timeout)
{
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = HostCode;
    request.Timeout = timeout;
    return request;
}

std::shared_ptr<CDeviceIntf> TryToOpen(const Host& host, const std::string& identity)
{
    List(*host.Manager, "nothing"); // So that the next listing enumerates again.
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

std::string PromptAdapter(const Host& host)
{
    if (host.Simulated)
        return "{sim-2}";
    static const auto& driver = *new std::shared_ptr(PlugAdapter("{prompt}"));
    driver->On(TestDriver::WaitRsp, TestDriver::EndWith(0));
    return "{prompt}";
}

std::function<void(unsigned, std::uint64_t)> Source(const Host& host)
{
    List(*host.Manager, "ZV_USB"); // Waits until the window receives messages.
    if (!host.Simulated)
        return &SendToLibraryWindow;
    // The library has loaded it; this load keeps it for the caller.
    const HMODULE driver = LoadLibraryA("VirtualDriver_UWP.dll");
    if (driver == nullptr)
        std::exit(4);
    return std::bit_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(GetProcAddress(driver, "TestDeliver"));
}

namespace
{

void BeIdle(Host& /*host*/) {}

void SendEvents(Host& host)
{
    PromptAdapter(host);
    std::thread([deliver = Source(host)] {
        for (;;)
        {
            deliver(0x218, 4);
            deliver(0x219, 0x8004);
            deliver(0x219, 0x8000);
        }
    }).detach();
    AwaitChange(lastEvent, 0U);
}

/// Threads that never leave the simulated driver for long.
void SendRequests(Host& host)
{
    static std::atomic<bool> running{false};
    host.Device = Open(host, "{sim-1}");
    for (int i = 0; i < 2; ++i)
        std::thread([device = host.Device] {
            _ZV_SRVC_IOCTL_REQ request = Request(1000);
            device->SendIOCTLReq(&request);
            running = true;
            NotifyChange();
            for (;;)
                device->SendIOCTLReq(&request);
        }).detach();
    AwaitChange(running, false);
}

/// A driver that exists as long as the process and keeps the requests of the host.
TestDriver& PlugHoldingAdapter()
{
    static const auto& driver = *new std::shared_ptr(PlugAdapter("{held}"));
    driver->On(HostCode, driver->Hold());
    return *driver;
}

/// Threads inside requests that the driver never ends.
void HoldSync(Host& host)
{
    TestDriver& driver = PlugHoldingAdapter();
    host.Device = Open(host, "{held}");
    for (const std::uint32_t count : {1U, 2U})
    {
        std::thread([device = host.Device] {
            _ZV_SRVC_IOCTL_REQ request = Request(0xFFFFFFFF);
            device->SendIOCTLReq(&request);
        }).detach();
        driver.AwaitHeld(count);
    }
}

/// Keeps a request and its reads in flight at a driver that answers neither, with a second request queued.
void HoldAsync(Host& host)
{
    TestDriver& driver = PlugHoldingAdapter();
    host.Device = Open(host, "{held}");
    SendAsync(*host.Device, 100, [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {}, 2);
    driver.AwaitHeld(6);
}

/// Many asynchronous requests, whose responses a thread ends one after the other.
void ServeAsync(Host& host)
{
    std::thread([driver = PlugAdapter("{served}")] {
        for (;;)
            driver->Read()->Complete(0);
    }).detach();
    host.Device = Open(host, "{served}");
    static std::atomic<bool> served{false};
    const auto callback = [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {
        served = true;
        NotifyChange();
    };
    SendAsync(*host.Device, 1000, callback, 100);
    AwaitChange(served, false);
}

/// A watcher that checks a removed adapter, whose driver key is deleted or kept.
template <bool IsUninstalled>
void Watch(Host& host)
{
    PlugAdapter("{gone}");
    List(*host.Manager, "ZV_USB");
    RemoveAdapter("{gone}", IsUninstalled);
    AwaitChange(lastEvent, 0U);
}

constexpr Work Table[] = {
    {"watch-long", false, true, &Watch<false>},
    {"idle", false, false, &BeIdle},
    {"sync", false, false, &HoldSync},
    {"async", false, false, &HoldAsync},
    {"async-served", false, false, &ServeAsync},
    {"watch", false, false, &Watch<true>},
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
