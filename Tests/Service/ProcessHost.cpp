/// A host process that ends in the way named by its argument. Exit code 0 when it got as far as it
/// should; a hang or a crash shows as such.

#include "ZVSrvcLib.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <latch>
#include <thread>
#include <unistd.h>

namespace
{

std::shared_ptr<CDeviceManagerIntf> MakeManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    if (CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
        std::exit(3);
    return manager;
}

auto DeliverFunction()
{
    void* driver = dlopen("./VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
    if (driver == nullptr)
        std::exit(4);
    return reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
}

void Suspend(std::uint64_t wParam)
{
    DeliverFunction()(0x218, wParam);
}

int ExitInCallback()
{
    const auto manager = MakeManager();
    std::latch never(1);
    _ZV_WLAN_NOTIFY_HDLR client{[](void*, std::uint32_t, const _ZV_WLAN_NOTIFY_DATA*) { std::exit(0); }, &never, 0, 0};
    manager->RegisterNotification(&client);
    Suspend(4);
    never.wait();
    return 5;
}

int QueuedWork()
{
    static std::latch entered(1);
    const auto manager = MakeManager();
    _ZV_WLAN_NOTIFY_HDLR client{[](void*, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA*) {
                                    if (event == ZV_EVT_SYSTEM_SUSPEND)
                                        entered.count_down();
                                },
                                nullptr, 0, 0};
    manager->RegisterNotification(&client);
    Suspend(4);
    entered.wait();
    const auto deliver = DeliverFunction();
    for (int i = 0; i < 10'000; ++i)
        deliver(0x218, 18);
    return 0;
}

/// Threads that go on calling the library while the process ends.
int LateHost()
{
    static std::latch running(3);
    const auto manager = MakeManager();
    for (int i = 0; i < 3; ++i)
        std::thread([] {
            running.count_down();
            for (;;)
            {
                std::shared_ptr<CDeviceIntf> device;
                CreateZVModule(device, ZV_SRVC_DEVICE_RESERVED);
                Suspend(4);
            }
        }).detach();
    running.wait();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const char* ending = argc > 1 ? argv[1] : "";
    if (chdir(argc > 2 ? argv[2] : ".") != 0)
        return 2;
    alarm(30); // A hang ends as a failure of this process and not of the whole run.
    if (std::strcmp(ending, "return") == 0)
    {
        MakeManager();
        return 0;
    }
    if (std::strcmp(ending, "exit-in-callback") == 0)
        return ExitInCallback();
    if (std::strcmp(ending, "queued-work") == 0)
        return QueuedWork();
    if (std::strcmp(ending, "late-host") == 0)
        return LateHost();
    return 2;
}
