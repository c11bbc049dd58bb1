#include <HostKit/HostKit.h>
#include <ZVSrvcLib.h>

#include <cstdio>

int main()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    HostKit::Check(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), "CreateZVModule");
    std::puts(ZV_VERSION_TEXT);
    for (const _ZV_SRVC_DEVICE_INFO& adapter : HostKit::ListAdapters(*manager))
        std::puts(adapter.NetCfgInstanceId);
}
