/// What hosts do that needs no steering of the machine.

#include "ProcessWork.h"

#include "HostCalls.h"
#include "ProcessWait.h"

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

void SendManyAndAwaitOne(CDeviceIntf& device)
{
    static std::atomic<bool> served{false};
    const auto callback = [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {
        served = true;
        NotifyChange();
    };
    SendAsync(device, 1000, callback, 100);
    AwaitChange(served, false);
}

std::string PromptAdapter(const Host& host)
{
    if (host.Simulated)
        return "{sim-2}";
    static std::atomic<bool> added{false};
    if (!added.exchange(true))
        AddPromptAdapter();
    return "{prompt}";
}

void BeIdle(Host& /*host*/) {}

void SendEvents(Host& host)
{
    if (!host.Simulated)
        PromptAdapter(host);
    List(*host.Manager, "ZV_USB");
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
