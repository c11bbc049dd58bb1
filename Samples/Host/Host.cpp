// A complete host: lists the adapters and sends the first one two requests.
#include <HostKit/HostKit.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <span>

/// The first bytes of an output, as text.
static std::string Start(const HostKit::Bytes& output)
{
    return HostKit::HexText(std::span(output).first(4), " ");
}

int main()
try
{
    using namespace std::chrono_literals;

    const auto manager = HostKit::CreateManager();
    const auto adapters = HostKit::ListAdapters(*manager);
    for (const HostKit::Adapter& adapter : adapters)
        std::printf("%s  %s  %s  0x%x\n", adapter.NetCfgInstanceId, adapter.Service, adapter.DeviceName,
                    adapter.StateFlags);
    if (adapters.empty())
        return std::fputs("sample_host: no adapter\n", stderr), 1;

    const HostKit::Device device = HostKit::OpenDevice(*manager, adapters.front());
    const HostKit::Request request{.Code = 0x222000, .Input = {0x56, 0x5A}, .OutputSize = 400, .Timeout = 300ms};
    std::printf("answer %s\n", Start(device.Send(request).Value()).c_str());

    // A driver that stops answering is abandoned after 3 seconds. A simulated driver never reports a completion.
    std::future<HostKit::Result> completion = device.SendAsync(request);
    if (completion.wait_for(4s) == std::future_status::ready)
        std::printf("response %s\n", Start(completion.get().Value()).c_str());
    else
        std::puts("no response");
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "sample_host: %s\n", error.what());
    return 1;
}
