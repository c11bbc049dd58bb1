#include "TraceText.h"

#include "AdapterView.h"
#include "DataText.h"

#include <algorithm>
#include <cstring>
#include <fmt/core.h>
#include <stdexcept>

namespace
{

constexpr std::uint32_t AllComponents =
    TRACE_FLAG_SERVICE | TRACE_FLAG_DEVICE | TRACE_FLAG_DEVICE_MANAGER | TRACE_FLAG_NOTIFICATION | TRACE_FLAG_OS_EVENT;

/// Formats an argument by the letter after "%": s for a text, x for hexadecimal, any other for decimal.
std::string ArgumentText(char kind, const std::vector<std::uint8_t>& bytes)
{
    if (kind == 's')
        return Printable({reinterpret_cast<const char*>(bytes.data()),
                          static_cast<std::size_t>(std::ranges::find(bytes, 0) - bytes.begin())});
    std::uint32_t number = 0;
    if (bytes.size() != sizeof number)
        return "<?>";
    std::memcpy(&number, bytes.data(), sizeof number);
    return kind == 'x' ? fmt::format("{:x}", number) : std::to_string(number);
}

} // namespace

TraceSettings ParseTraceSettings(const std::string& text)
{
    const std::size_t colon = text.find(':');
    const std::string_view level = std::string_view(text).substr(0, colon);
    const auto parse = [](std::string_view part, std::uint32_t most) {
        const std::uint32_t number = ParseNumber(part, most);
        if (number == 0)
            throw std::invalid_argument(fmt::format("\"{}\" selects no message; expected 1 to {}", part, most));
        return number;
    };
    const std::uint32_t flags =
        colon == std::string::npos ? AllComponents : parse(std::string_view(text).substr(colon + 1), AllComponents);
    return {static_cast<std::uint8_t>(parse(level, ZV_TRACE_LEVEL_VERBOSE)), flags};
}

std::string TraceMessageText(const ZVTraceMessage& row, const std::vector<std::vector<std::uint8_t>>& arguments)
{
    const std::string_view text = row.Text;
    std::string shown;
    std::size_t next = 0;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (text[at] != '%' || at + 1 == text.size())
        {
            shown += text[at];
            continue;
        }
        ++at;
        // A message with fewer arguments than its text shows "<?>" instead of failing.
        shown += next < arguments.size() ? ArgumentText(text[at], arguments[next]) : "<?>";
        ++next;
    }
    return shown;
}

std::string_view TraceComponent(std::uint32_t flag)
{
    switch (flag)
    {
    case TRACE_FLAG_SERVICE:
        return "service";
    case TRACE_FLAG_DEVICE:
        return "device";
    case TRACE_FLAG_DEVICE_MANAGER:
        return "device-manager";
    case TRACE_FLAG_NOTIFICATION:
        return "notification";
    case TRACE_FLAG_OS_EVENT:
        return "os-event";
    default:
        return "?";
    }
}
