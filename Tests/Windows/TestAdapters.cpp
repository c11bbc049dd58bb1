// Provides adapters to transcripts of zvctl.exe: test_adapters kernel | install | remove.
#include "KernelDevice.h"
#include "RegistryAdapter.h"
#include "RootAdapter.h"

#include <array>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

namespace
{

/// Keeps two adapters in the registry, one with a control device, until stdin ends.
void KeepKernelAdapters()
{
    RemoveRegistryAdapters();
    const KernelDevice driver("{kernel}");
    const ScopedAdapter adapter(77, "{kernel}", "zvwlanu");
    const ScopedAdapter deaf(78, "{deaf}", "zvwlane");
    const std::string response(300, 'x');
    driver.SetRule(0x99000000, ZVK_RESPOND, std::span(reinterpret_cast<const std::uint8_t*>(response.data()), 300));
    driver.SetRule(0x99000004, ZVK_END, {}, 0xC0000001);
    driver.SetRule(0x99000008, ZVK_END, std::array<std::uint8_t, 2>{'o', 'k'});
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF)
        ;
    const ZvkCounts counts = driver.Counts();
    std::printf("%u malformed requests, %u open handles\n", counts.Malformed, counts.Opens);
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view verb = count == 2 ? arguments[1] : "";
    if (verb == "install")
        return static_cast<int>(InstallRootAdapter());
    if (verb == "remove")
        return static_cast<int>(RemoveRootAdapter());
    if (verb == "kernel")
        KeepKernelAdapters();
    return verb == "kernel" ? 0 : 2;
}
