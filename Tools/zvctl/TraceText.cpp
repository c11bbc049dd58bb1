#include "TraceText.h"

#include "AdapterView.h"

#include <charconv>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <stdexcept>

namespace
{

constexpr std::uint32_t AllComponents =
    TRACE_FLAG_SERVICE | TRACE_FLAG_DEVICE | TRACE_FLAG_DEVICE_MANAGER | TRACE_FLAG_NOTIFICATION | TRACE_FLAG_OS_EVENT;

std::uint32_t ParseNumber(std::string_view text, std::uint32_t limit)
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc{} || end != digits.data() + digits.size() || number > limit)
        throw std::invalid_argument(fmt::format("\"{}\" is not a number up to {}", text, limit));
    return number;
}

std::string ArgumentText(char kind, const std::vector<std::uint8_t>& bytes)
{
    if (kind == 's')
        return Printable({reinterpret_cast<const char*>(bytes.data()),
                          static_cast<std::size_t>(std::ranges::find(bytes, 0) - bytes.begin())});
    std::uint32_t number = 0;
    if (bytes.size() != sizeof number)
        return "<?>";
    std::memcpy(&number, bytes.data(), sizeof number);
    return kind == 'x' ? fmt::format("{:x}", number) : fmt::to_string(number);
}

} // namespace

TraceSettings ParseTraceSettings(const std::string& text)
{
    const std::size_t colon = text.find(':');
    const std::string_view level = std::string_view(text).substr(0, colon);
    const std::uint32_t flags = colon == std::string::npos ? AllComponents
                                                           : ParseNumber(std::string_view(text).substr(colon + 1),
                                                                         std::numeric_limits<std::uint32_t>::max());
    return {static_cast<std::uint8_t>(ParseNumber(level, std::numeric_limits<std::uint8_t>::max())), flags};
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
