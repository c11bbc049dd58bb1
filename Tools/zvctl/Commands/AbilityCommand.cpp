#include "AdapterChoice.h"
#include "Command.h"
#include "Errors.h"
#include "Options.h"

#include <fmt/format.h>

namespace
{

void Ability(const std::string& text)
{
    const OpenAdapter adapter(text, DriverNeed::Optional);
    std::uint32_t ability = 0;
    Require("GetAbility", adapter.Device->GetAbility(&ability));
    fmt::print("{}\n", ability);
}

} // namespace

Command AddAbilityCommand(CLI::App& app)
{
    const auto adapter = std::make_shared<std::string>();
    CLI::App* const ability = app.add_subcommand("ability", "Print the ability number of an adapter's driver");
    AddAdapter(*ability, *adapter);
    return {ability, [adapter] { Ability(*adapter); }};
}
