// A complete host: lists the adapters and sends the first one two requests.
#include <ZVSrvcLib.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <vector>

static int Fail(const char* what, unsigned int status)
{
    std::fprintf(stderr, "%s: %s (%u)\n", what, ZVStatusName(status), status);
    return 1;
}

int main()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    if (CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
        return 1;

    const _ZV_SRVC_DEVICE_FILTER filter = {"ZV_ALL", ""};
    const _ZV_SRVC_DEVICE_LIST_REQ request = {ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
    _ZV_SRVC_DEVICE_LIST_RSP result = {};
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    unsigned int status = manager->GetZVDeviceList(&request, &result); // returns the required size
    while (status == ZV_SRVC_ERR_BUFFER_TOO_SMALL)                     // repeats if the list has grown since
    {
        // At least one record, because a null buffer would only return the size again.
        adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO) + 1);
        result.Buffer = adapters.data();
        status = manager->GetZVDeviceList(&request, &result);
    }
    if (status != ZV_SRVC_SUCCESS)
        return Fail("no list", status);
    adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        std::printf("%s  %s  %s  0x%x\n", adapter.NetCfgInstanceId, adapter.Service, adapter.DeviceName,
                    adapter.StateFlags);

    // The library uses these objects until the callback, or, if the callback never comes, until the device is
    // destroyed. They are declared before the device and therefore outlive it.
    std::uint32_t input = 0x5A56;
    std::uint32_t output[100] = {};
    std::promise<std::uint32_t> completion;
    _ZV_SRVC_IOCTL_REQ control = {};
    control.IoctlCode = 0x222000;
    control.InBuffer = &input;
    control.InLength = sizeof input;
    control.OutBuffer = output;
    control.OutLength = sizeof output;
    control.Timeout = 300;

    std::shared_ptr<CDeviceIntf> device;
    if (status = manager->OpenDevice(adapters.data(), ZV_SRVC_DEVICE_UWP, device); status != ZV_SRVC_SUCCESS)
        return Fail("no device", status);
    if (status = device->SendIOCTLReq(&control); status != ZV_SRVC_SUCCESS)
        return Fail("no answer", status);
    std::printf("answer 0x%x\n", output[0]);

    control.IsAsync = 1;
    control.NotifyContext = &completion;
    control.NotifyFn = [](void* context, std::uint32_t sent, const _ZV_ASYNC_RESULT*) {
        static_cast<std::promise<std::uint32_t>*>(context)->set_value(sent);
    };
    if (status = device->SendIOCTLReq(&control); status != ZV_SRVC_SUCCESS)
        return Fail("not accepted", status);
    // A driver that stops answering is abandoned after 3 seconds. A simulated driver never calls back.
    std::future<std::uint32_t> completed = completion.get_future();
    if (completed.wait_for(std::chrono::seconds(4)) == std::future_status::ready)
        std::printf("callback with status %u, response 0x%x\n", completed.get(), output[0]);
    else
        std::puts("no callback");
}
