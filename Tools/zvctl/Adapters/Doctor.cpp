#include "Doctor.h"

#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Diagnosis.h"
#include "Errors.h"
#include "Host.h"
#include "Library.h"

#include <algorithm>
#include <filesystem>
#include <fmt/core.h>
#include <optional>

namespace
{

using Adapters = std::vector<_ZV_SRVC_DEVICE_INFO>;

/// The services of filter ZV_ALL. The library lists an adapter whose service is a part of this text.
constexpr std::string_view Services = "zvlwlanu,zvwlanu,zvlwlans,zvwlans,zvlwlane,zvwlane";
constexpr char SimulatedDriver[] = "VirtualDriver_UWP.dll";
constexpr std::string_view Reinstall = "reinstall the adapter's driver";

bool HasSimulatedDriver()
{
    std::error_code ignored;
    return std::filesystem::exists(SimulatedDriver, ignored);
}

bool IsForeign(const AdapterFacts& facts)
{
    return facts.Service && Services.find(*facts.Service) == std::string_view::npos;
}

/// Why the library skips an adapter, in the order of its own checks.
std::optional<Finding> WhyUnlisted(const AdapterFacts& facts)
{
    const struct
    {
        bool Applies;
        std::string Cause;
        std::string_view Remedy;
    } reasons[] = {
        {!facts.Present, "it is absent", "plug it in"},
        {!facts.Readable, "the status of its device node cannot be read", "restart the computer"},
        {facts.Hidden, "Windows hides it (DN_NO_SHOW_IN_DM)", Reinstall},
        {!facts.HasHardwareId, "it has no hardware ID", Reinstall},
        {!facts.HasDriverKeyName, "it has no driver key", "install its driver"},
        {!facts.HasDriverKey, "its driver key does not exist in the registry", Reinstall},
        {!facts.HasLinkage, "its driver key has no key \"Linkage\"", Reinstall},
        {!facts.HasNdi, "its driver key has no key \"NDI\"", Reinstall},
    };
    for (const auto& [applies, cause, remedy] : reasons)
        if (applies)
            return Finding{.Result = Verdict::Problem, .Detail = "not listed: " + cause, .Remedy = std::string(remedy)};
    return std::nullopt;
}

/// Checks an adapter that the library lists.
Finding CheckListed(const _ZV_SRVC_DEVICE_INFO& record)
try
{
    if (FieldText(record.Service).empty())
        return {.Result = Verdict::Problem,
                .Detail = R"(listed by every filter, because its key "NDI" has no value "Service")",
                .Remedy = std::string(Reinstall)};
    OpenAgain(record, DriverNeed::Answers);
    return {.Detail = "listed, and its driver answers"};
}
catch (const Failure& failure)
{
    return {.Result = Verdict::Problem, .Detail = fmt::format("listed, but {}", failure.what())};
}

Finding CheckAdapter(const AdapterFacts& facts, const Adapters& listed)
{
    if (IsForeign(facts))
        return {.Result = Verdict::Note,
                .Detail = fmt::format("not listed: its service \"{}\" is not one of {}", *facts.Service, Services)};
    if (std::optional<Finding> unlisted = WhyUnlisted(facts))
        return *unlisted;
    if (!facts.Identity)
        return {.Result = Verdict::Problem,
                .Detail = "listed, but cannot be opened: its driver key has no value \"NetCfgInstanceId\"",
                .Remedy = std::string(Reinstall)};
    const auto record = std::ranges::find_if(
        listed, [&](const auto& each) { return FieldText(each.NetCfgInstanceId) == *facts.Identity; });
    if (record != listed.end())
        return CheckListed(*record);
    if (HasSimulatedDriver())
        return {.Result = Verdict::Problem,
                .Detail = "not listed: the simulated driver replaces all adapters",
                .Remedy = fmt::format("remove {} from the current directory", SimulatedDriver)};
    return {.Result = Verdict::Problem,
            .Detail = "not listed, although nothing prevents it",
            .Remedy = "run 'zvctl --trace 4 list'"};
}

std::string Plural(std::size_t count, std::string_view noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

} // namespace

const char* VerdictName(Verdict verdict)
{
    constexpr const char* names[] = {"ok", "note", "problem"};
    return names[static_cast<std::size_t>(verdict)];
}

std::vector<Finding> CheckSurroundings()
{
    SessionManager();
    // The window exists once the first listing has ended.
    const std::size_t listed = ListAllOrNone().size();
    const Host::Surroundings found = Host::Inspect();
    std::vector<Finding> findings = {{.Subject = "machine", .Detail = found.Source}};
    findings.push_back(
        HasSimulatedDriver()
            ? Finding{.Subject = "simulated driver",
                      .Result = Verdict::Note,
                      .Detail = fmt::format("{} in the current directory replaces all adapters", SimulatedDriver)}
            : Finding{.Subject = "simulated driver", .Detail = "none in the current directory"});
    findings.push_back(found.IsAdministrator
                           ? Finding{.Subject = "rights", .Detail = "administrator"}
                           : Finding{.Subject = "rights",
                                     .Result = Verdict::Note,
                                     .Detail = "no administrator: adapters cannot be enabled or disabled",
                                     .Remedy = "run as administrator"});
    findings.push_back(found.HasEventWindow ? Finding{.Subject = "event window", .Detail = "exists"}
                                            : Finding{.Subject = "event window",
                                                      .Result = Verdict::Problem,
                                                      .Detail = "does not exist: no event will arrive",
                                                      .Remedy = "run 'zvctl --trace 4 list'"});
    findings.push_back({.Subject = "list",
                        .Result = listed == 0 ? Verdict::Problem : Verdict::Ok,
                        .Detail = Plural(listed, "adapter")});
    return findings;
}

std::vector<Finding> CheckAdapters()
{
    const Adapters listed = ListAllOrNone();
    std::vector<Finding> findings;
    for (const AdapterFacts& facts : Host::Facts())
    {
        findings.push_back(CheckAdapter(facts, listed));
        const std::string name = facts.Name.empty() ? facts.DeviceInstanceId.value_or("unnamed adapter") : facts.Name;
        findings.back().Subject = Printable(name);
    }
    return findings;
}
