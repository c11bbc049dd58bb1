#include "ProcessWork.h"

#include "Hosting.h"
#include "ProcessWait.h"
#include "ScriptedDevice.h"

#include <cstdlib>
#include <dlfcn.h>
#include <thread>

namespace
{

/// Requests in flight; a request without a reference would complete.
constinit std::vector<Platform::ScriptedDevice::RequestPtr> inFlight;

/// The driver stays loaded for the one who calls its function.
auto DeliverFunction()
{
    void* driver = dlopen("./VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
    if (driver == nullptr)
        std::exit(4);
    return reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
}

} // namespace

std::function<void(unsigned, std::uint64_t)> Source(const Host& host)
{
    if (host.Simulated)
        return DeliverFunction();
    List(*host.Manager, "ZV_USB"); // Waits until the window receives messages.
    return [](unsigned message, std::uint64_t wParam) { Platform::CurrentMachine()->Broadcast(message, wParam); };
}

namespace
{

/// Adds an adapter whose driver answers at once, until changed.
std::shared_ptr<Platform::ScriptedDevice> AddAdapter(const std::string& identity)
{
    auto driver = std::make_shared<Platform::ScriptedDevice>();
    Platform::CurrentMachine()->AttachDevice("Zorvane_Wifi_Device" + identity, driver);
    Platform::CurrentMachine()->AddAdapter(GivenAdapter(identity, "zvwlanu"));
    return driver;
}

} // namespace

void AddPromptAdapter()
{
    AddAdapter("{prompt}");
}

void EndProcess(int code)
{
    std::_Exit(code);
}

namespace
{

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

/// Keeps a request and its reads in flight at a driver that answers neither, with a second request queued.
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
    const auto driver = AddAdapter("{served}");
    driver->On(WaitRsp, driver->Hold());
    std::thread([driver] {
        for (;;)
            driver->Held(WaitRsp)->Complete(0);
    }).detach();
    host.Device = Open(host, "{served}");
    SendManyAndAwaitOne(*host.Device);
}

/// A watcher that checks a removed adapter, whose driver key is deleted or kept.
template <auto Verb>
void Watch(Host& host)
{
    AddAdapter("{gone}");
    List(*host.Manager, "ZV_USB");
    const auto machine = Platform::CurrentMachine();
    (machine.get()->*Verb)(machine->Adapters().front());
    AwaitChange(lastEvent, 0U);
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
