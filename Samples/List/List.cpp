// The host that README.md shows: lists the adapters.
#include <HostKit/HostKit.h>

#include <cstdio>
#include <exception>

int main()
try
{
    const auto manager = HostKit::CreateManager();
    for (const HostKit::Adapter& adapter : HostKit::ListAdapters(*manager))
        std::printf("%s  %s\n", adapter.NetCfgInstanceId, adapter.DeviceName);
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "list_host: %s\n", error.what());
    return 1;
}
