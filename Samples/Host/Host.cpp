// A whole host: lists the adapters. README.md shows it from here to the end.
#include <ZVSrvcLib.h>

#include <cstdio>
#include <vector>

int main()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    if (CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
        return 1;

    const _ZV_SRVC_DEVICE_FILTER filter = {"ZV_ALL", ""};
    const _ZV_SRVC_DEVICE_LIST_REQ request = {ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
    _ZV_SRVC_DEVICE_LIST_RSP result = {};
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    unsigned int status = manager->GetZVDeviceList(&request, &result); // asks for the size
    while (status == ZV_SRVC_ERR_BUFFER_TOO_SMALL)                     // again when the list grew in between
    {
        adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
        result.Buffer = adapters.data();
        status = manager->GetZVDeviceList(&request, &result);
    }
    if (status != ZV_SRVC_SUCCESS)
    {
        std::fprintf(stderr, "no list: %s (%u)\n", ZVStatusName(status), status);
        return 1;
    }

    adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        std::printf("%s  %s  %s  0x%x\n", adapter.NetCfgInstanceId, adapter.Service, adapter.DeviceName,
                    adapter.StateFlags);
}
