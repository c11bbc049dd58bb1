#include "AdapterView.h"

#include "DataText.h"
#include "Terminal.h"

#include <array>
#include <fmt/core.h>
#include <numeric>

namespace
{

/// The columns of the list, in the order of the heading in AdapterTable.
using Row = std::array<std::string, 7>;
using Widths = std::array<std::size_t, 7>;

struct NamedFlag
{
    std::uint32_t Bit;
    std::string_view Name;
};

/// In the order in which the flags are printed.
constexpr NamedFlag FlagTable[] = {
    {ZV_DEV_HAS_PROBLEM, "problem"},
    {ZV_DEV_ABSENT, "absent"},
    {ZV_DEV_DRIVER_CHANGED, "driver-changed"},
    {ZV_DEV_DRIVER_UNINSTALLED, "driver-uninstalled"},
};

Row RowOf(std::size_t index, const _ZV_SRVC_DEVICE_INFO& adapter)
{
    return {
        std::to_string(index),
        Printable(FieldText(adapter.DeviceName)),
        std::string(BusOf(FieldText(adapter.Service))),
        Printable(FieldText(adapter.Service)),
        Printable(FieldText(adapter.DriverVersion)),
        Printable(FieldText(adapter.NetCfgInstanceId)),
        FlagText(adapter.StateFlags),
    };
}

/// Takes the missing columns from the longest ones, which still show what distinguishes the adapters.
void Shrink(Widths& widths, std::size_t most)
{
    constexpr std::size_t gap = 2;
    constexpr std::size_t least = 8;
    while (std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1)) > most)
    {
        const auto longest = std::ranges::max_element(widths);
        if (*longest <= least)
            return;
        --*longest;
    }
}

Colour FlagColour(std::uint32_t stateFlags)
{
    if ((stateFlags & ZV_DEV_UNAVAILABLE_MASK) != 0)
        return Colour::Red;
    return stateFlags == 0 ? Colour::Green : Colour::Yellow;
}

/// Pads all columns but the last, so that no line ends in blanks.
std::string Line(const Row& row, const Widths& widths, std::optional<Colour> lastColour)
{
    std::string line;
    for (std::size_t column = 0; column + 1 < row.size(); ++column)
    {
        const std::string text = CutText(row[column], widths[column]);
        line += text + std::string(widths[column] - TextWidth(text) + 2, ' ');
    }
    const std::string last = CutText(row.back(), widths.back());
    return line + (lastColour ? Painted(stdout, *lastColour, last) : last);
}

} // namespace

/// Names come from drivers and INF files; a control character could change the terminal's state.
std::string Printable(std::string_view text)
{
    std::string shown(text);
    std::ranges::replace_if(shown, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }, '?');
    return shown;
}

/// The last letter of a service name denotes the bus.
std::string_view BusOf(std::string_view service)
{
    switch (service.empty() ? '\0' : service.back())
    {
    case 'u':
        return "USB";
    case 's':
        return "SDIO";
    case 'e':
        return "PCIe";
    default:
        return "?";
    }
}

std::vector<std::string_view> FlagNames(std::uint32_t stateFlags)
{
    std::vector<std::string_view> names;
    // "Ready" is no flag: other flags, such as a changed driver, may accompany it.
    if ((stateFlags & ZV_DEV_UNAVAILABLE_MASK) == 0)
        names.emplace_back("ready");
    for (const NamedFlag& flag : FlagTable)
        if ((stateFlags & flag.Bit) != 0)
            names.push_back(flag.Name);
    return names;
}

std::string FlagText(std::uint32_t stateFlags)
{
    return Join(FlagNames(stateFlags), ",");
}

Json AdapterJson(const _ZV_SRVC_DEVICE_INFO& adapter)
{
    return Json::Object{
        {"deviceName", FieldText(adapter.DeviceName)},
        {"driverKeyIndex", FieldText(adapter.DriverKeyIndex)},
        {"deviceInstanceId", FieldText(adapter.DeviceInstanceID)},
        {"driverVersion", FieldText(adapter.DriverVersion)},
        {"netCfgInstanceId", FieldText(adapter.NetCfgInstanceId)},
        {"infSection", FieldText(adapter.InfSection)},
        {"service", FieldText(adapter.Service)},
        {"bus", BusOf(FieldText(adapter.Service))},
        {"stateFlags", adapter.StateFlags},
        {"flags", FlagNames(adapter.StateFlags)},
    };
}

std::string AdapterDetails(const _ZV_SRVC_DEVICE_INFO& adapter)
{
    const std::pair<std::string_view, std::string> fields[] = {
        {"name", Printable(FieldText(adapter.DeviceName))},
        {"driver key index", Printable(FieldText(adapter.DriverKeyIndex))},
        {"device instance ID", Printable(FieldText(adapter.DeviceInstanceID))},
        {"driver version", Printable(FieldText(adapter.DriverVersion))},
        {"NetCfgInstanceId", Printable(FieldText(adapter.NetCfgInstanceId))},
        {"INF section", Printable(FieldText(adapter.InfSection))},
        {"service", Printable(FieldText(adapter.Service))},
        {"bus", std::string(BusOf(FieldText(adapter.Service)))},
        {"state flags", fmt::format("0x{:x} ({})", adapter.StateFlags, FlagText(adapter.StateFlags))},
    };
    std::string details;
    for (const auto& [name, value] : fields)
        details += fmt::format("{:<20}{}\n", name, value);
    return details;
}

std::string AdapterTable(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters, std::optional<std::size_t> width)
{
    std::vector<Row> rows = {{"#", "NAME", "BUS", "SERVICE", "VERSION", "IDENTITY", "FLAGS"}};
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        rows.push_back(RowOf(rows.size() - 1, adapter));

    Widths widths = {};
    for (const Row& row : rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], TextWidth(row[column]));
    if (width)
        Shrink(widths, *width);

    std::string table = Painted(stdout, Colour::Bold, Line(rows.front(), widths, std::nullopt)) + '\n';
    for (std::size_t index = 0; index < adapters.size(); ++index)
        table += Line(rows[index + 1], widths, FlagColour(adapters[index].StateFlags)) + '\n';
    return table;
}
