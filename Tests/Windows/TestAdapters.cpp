// Provides adapters to transcripts of zvctl.exe: test_adapters kernel | install | remove.
#include "RootAdapter.h"
#include "TestMachine.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <thread>

namespace
{

/// Keeps two adapters in the registry, one with a control device, until the current folder has a file "stop". A
/// file, because background processes of Wine would keep a pipe open.
void KeepKernelAdapters()
{
    RemoveRegistryAdapters();
    const TestDriver driver("{kernel}");
    AddRegistryAdapter(77, "{kernel}", "zvwlanu");
    AddRegistryAdapter(78, "{deaf}", "zvwlane");
    driver.Respond(0x99000000, Bytes(300, 'x'));
    driver.On(0x99000004, TestDriver::EndWith(31));
    driver.On(0x99000008, TestDriver::EndWith(0, {'o', 'k'}));
    std::puts("ready");
    std::fflush(stdout);
    while (!std::filesystem::exists("stop"))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const ZvkCounts counts = driver.Counts();
    std::printf("%u malformed requests, %u open handles\n", counts.Malformed, counts.Opens);
    RemoveRegistryAdapters();
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view verb = count == 2 ? arguments[1] : "";
    if (verb == "install")
        return static_cast<int>(InstallRootAdapter());
    if (verb == "remove")
    {
        RemoveRegistryAdapters();
        return static_cast<int>(RemoveRootAdapter());
    }
    if (verb == "kernel")
        KeepKernelAdapters();
    return verb == "kernel" ? 0 : 2;
}
