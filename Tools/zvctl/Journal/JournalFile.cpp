#include "JournalFile.h"

#include "Errors.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fmt/core.h>
#include <string_view>

using Platform::JsonDocument;
using Platform::JsonError;
using Platform::JsonNode;

namespace
{

constexpr char FormatName[] = "zvuwpsrvclib journal";
constexpr std::uint32_t FormatVersion = 1;

/// Reads as many digits as `form` has, then the character that follows in it.
bool ReadDigits(std::string_view& text, std::size_t count, char end, int& number)
{
    if (text.size() <= count || text[count] != end)
        return false;
    const char* const last = text.data() + count;
    const bool isNumber = *text.data() != '-' && std::from_chars(text.data(), last, number).ptr == last;
    text.remove_prefix(count + 1);
    return isNumber;
}

/// Reads the digits after the decimal point, and "Z".
bool ReadFraction(std::string_view text, std::chrono::microseconds& fraction)
{
    constexpr std::size_t mostDigits = 6;
    int number = 0;
    const std::size_t digits = text.empty() ? 0 : text.size() - 1;
    if (digits == 0 || digits > mostDigits || !ReadDigits(text, digits, 'Z', number))
        return false;
    for (std::size_t i = digits; i < mostDigits; ++i)
        number *= 10;
    fraction = std::chrono::microseconds(number);
    return true;
}

JournalTime ReadTime(const JsonNode& node)
{
    using namespace std::chrono;
    const std::string text = node.Text();
    std::string_view rest = text;
    std::array<int, 6> part = {};
    microseconds fraction{};
    bool good = ReadDigits(rest, 4, '-', part[0]) && ReadDigits(rest, 2, '-', part[1]) &&
                ReadDigits(rest, 2, 'T', part[2]) && ReadDigits(rest, 2, ':', part[3]) &&
                ReadDigits(rest, 2, ':', part[4]) && ReadDigits(rest, 2, '.', part[5]) && ReadFraction(rest, fraction);
    const year_month_day date = year{part[0]} / part[1] / part[2];
    good = good && date.ok() && part[3] < 24 && part[4] < 60 && part[5] < 60;
    node.Require(good, "expected a time such as \"2026-11-24T20:35:38.123456Z\"");
    return sys_days(date) + hours(part[3]) + minutes(part[4]) + seconds(part[5]) + fraction;
}

JournalHeader ReadHeader(std::string_view text)
{
    JournalHeader header;
    header.Document = std::make_unique<JsonDocument>(text);
    const JsonNode root = header.Document->Root();
    const JsonNode format = root.Member("format");
    format.Require(format.Text() == FormatName, fmt::format("expected \"{}\"", FormatName));
    const JsonNode version = root.Member("version");
    version.Require(version.Number() == FormatVersion,
                    fmt::format("this zvctl reads journals of version {} only", FormatVersion));
    header.Started = ReadTime(root.Member("started"));
    header.Host = root.Member("host").Text();
    return header;
}

} // namespace

JournalFile::JournalFile(std::string path) : Path(std::move(path)), File(Path, std::ios::binary)
{
    // A folder can be opened; only reading it fails.
    if (!File || (File.peek(), File.bad()))
        throw Failure(fmt::format("{}: cannot be read: {}", Path, std::strerror(errno)));
    if (!Take())
        throw UsageError(fmt::format("{}: empty; a journal begins with a line that names its format", Path));
    Checked([&] { First = ReadHeader(Text); });
    // The header has the number of the change before the first one.
    Checked([&] {
        if (const JsonNode root = First.Document->Root(); root.HasMember("machine"))
            Last = root.Member("machine").Member("sequence").LongNumber();
    });
}

bool JournalFile::Take()
{
    if (!std::getline(File, Text))
        return false;
    ++Number;
    IsComplete = !File.eof();
    return true;
}

JournalLine JournalFile::Parse(std::string_view text)
{
    JournalLine line;
    line.Document = std::make_unique<JsonDocument>(text);
    const JsonNode root = line.Document->Root();
    const JsonNode sequence = root.Member("sequence");
    line.Sequence = sequence.LongNumber();
    sequence.Require(!Last || line.Sequence > *Last, "expected a larger number than in the line before");
    line.Missing = Last ? line.Sequence - *Last - 1 : 0;
    line.Time = ReadTime(root.Member("changed"));
    line.Kind = root.Member("kind").Text();
    root.Member("data").Require(root.Member("data").IsObject(), "expected an object");
    return line;
}

std::optional<std::string> JournalFile::Read(const std::function<void(const JournalLine&)>& read)
{
    std::optional<std::string> warning;
    while (!warning && Take())
    {
        JournalLine line;
        Checked([&] {
            try
            {
                line = Parse(Text);
                Last = line.Sequence;
            }
            catch (const JsonError&)
            {
                // A complete line has an error of its own.
                if (IsComplete)
                    throw;
                warning = fmt::format("{}:{}: the last line is incomplete; its writer was ended while it wrote it",
                                      Path, Number);
            }
        });
        if (!warning)
            Checked([&] { read(line); });
    }
    if (File.bad())
        throw Failure(fmt::format("{}: cannot be read: {}", Path, std::strerror(errno)));
    return warning;
}

void JournalFile::Checked(const std::function<void()>& use) const
{
    try
    {
        use();
    }
    catch (const JsonError& error)
    {
        throw UsageError(fmt::format("{}:{}: {}", Path, Number, error.what()));
    }
}
