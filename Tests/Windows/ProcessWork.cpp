#include "ProcessWork.h"

#include "HostCalls.h"
#include "KernelDevice.h"
#include "OSPlatform.h"
#include "RegistryAdapter.h"

#include <bit>
#include <cstdlib>
#include <thread>

namespace
{

/// The driver stays loaded for the one who calls its function.
auto DeliverFunction()
{
    const HMODULE driver = GetModuleHandleA("VirtualDriver_UWP.dll");
    if (driver == nullptr)
        std::exit(4);
    return std::bit_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(GetProcAddress(driver, "TestDeliver"));
}

/// The control devices of the host, which go with the process; the adapters stay, and the next host
/// finds them as they were.
KernelDevice& AddAdapter(int number, const std::string& identity)
{
    AddRegistryAdapter(number, identity, "zvwlanu");
    return *new KernelDevice(identity);
}

} // namespace

std::function<void(unsigned, std::uint64_t)> Source(const Host& host)
{
    if (host.Simulated)
        return DeliverFunction();
    List(*host.Manager, "ZV_USB"); // Waits until the window receives messages.
    const HWND window = FindWindowA("ZVUWPSrvcLib", nullptr);
    if (window == nullptr)
        std::exit(6);
    return [window](unsigned message, std::uint64_t wParam) { PostMessageA(window, message, wParam, 0); };
}

void AddPromptAdapter()
{
    AddAdapter(81, "{prompt}");
}

void EndProcess(int code)
{
    ExitProcess(static_cast<UINT>(code));
    std::abort(); // Not reached; the published name does not say so.
}

namespace
{

/// Threads inside requests that the driver never ends.
void HoldSync(Host& host)
{
    const KernelDevice& driver = AddAdapter(82, "{held}");
    driver.SetRule(HostCode, ZVK_KEEP);
    host.Device = Open(host, "{held}");
    for (std::uint32_t i = 1; i <= 2; ++i)
    {
        std::thread([device = host.Device] {
            _ZV_SRVC_IOCTL_REQ request = Request(0xFFFFFFFF);
            device->SendIOCTLReq(&request);
        }).detach();
        driver.AwaitWaiting(i);
    }
}

/// Keeps a request and its reads in flight at a driver that answers neither, with a second request queued.
void HoldAsync(Host& host)
{
    const KernelDevice& driver = AddAdapter(82, "{held}");
    driver.SetRule(HostCode, ZVK_KEEP);
    host.Device = Open(host, "{held}");
    SendAsync(*host.Device, 100, [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) {}, 2);
    driver.AwaitWaiting(6);
}

/// Many asynchronous requests that the driver answers one after the other.
void ServeAsync(Host& host)
{
    AddAdapter(82, "{served}");
    host.Device = Open(host, "{served}");
    SendManyAndAwaitOne(*host.Device);
}

constexpr Work Table[] = {
    {"idle", false, false, &BeIdle},
    {"sync", false, false, &HoldSync},
    {"async", false, false, &HoldAsync},
    {"async-served", false, false, &ServeAsync},
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
