#include "MachineAdapters.h"

#include <algorithm>
#include <filesystem>

std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine)
{
    std::vector<AdapterName> names;
    for (const Platform::AdapterId id : machine.Adapters())
    {
        const Platform::AdapterDescription adapter = machine.Adapter(id);
        const std::u16string name = adapter.FriendlyName.value_or(adapter.Description.value_or(u""));
        // A path is the standard library's way from UTF-16 to UTF-8.
        names.push_back({adapter.NetCfgInstanceId.value_or(""), std::filesystem::path(name).string()});
    }
    return names;
}

Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text)
{
    // Both calls list the adapters in the same order, so the index of the name is that of the id.
    return machine.Adapters()[ChooseName(MachineAdapterNames(machine), text)];
}

std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity)
{
    const std::vector<Platform::AdapterId> ids = machine.Adapters();
    const auto found = std::ranges::find_if(
        ids, [&](Platform::AdapterId id) { return machine.Adapter(id).NetCfgInstanceId == identity; });
    return found == ids.end() ? std::nullopt : std::optional(*found);
}
