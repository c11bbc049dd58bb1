// The host that README.md shows: lists the adapters.
#include <ZVSrvcLib.h>

#include <cstdio>
#include <vector>

int main()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    if (CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
        return 1;

    std::vector<_ZV_SRVC_DEVICE_INFO> adapters(32);
    const _ZV_SRVC_DEVICE_FILTER filter = {"ZV_ALL", ""};
    const _ZV_SRVC_DEVICE_LIST_REQ request = {ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
    _ZV_SRVC_DEVICE_LIST_RSP result = {0, 32 * sizeof(_ZV_SRVC_DEVICE_INFO), adapters.data()};
    const unsigned int status = manager->GetZVDeviceList(&request, &result);
    if (status != ZV_SRVC_SUCCESS)
        return std::fprintf(stderr, "no list: %s (%u)\n", ZVStatusName(status), status), 1;

    adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        std::printf("%s  %s\n", adapter.NetCfgInstanceId, adapter.DeviceName);
}
