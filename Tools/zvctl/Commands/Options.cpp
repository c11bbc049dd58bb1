#include "Options.h"

#include <algorithm>
#include <cstdio>
#include <fmt/core.h>

Option AddData(Syntax command, const std::string& name, Bytes& data)
{
    return command.AddParsed(
        name, [&data](const std::string& text) { data = ParseData(text); },
        "Bytes in hexadecimal, text:TEXT, or @FILE");
}

Option AddAdapter(Syntax command, std::string& adapter)
{
    return command.AddText("ADAPTER", adapter, "Index in the list, or an unambiguous part of ID or name").Required();
}

void AddJson(Syntax command, bool& json, const std::string& help)
{
    command.AddFlag("--json", json, help + "; errors too");
}

void AddErrorJson(Syntax command)
{
    static bool unused = false; // see AsksForJson
    command.AddFlag("--json", unused, "Print an error as a JSON object");
}

bool AsksForJson(const std::vector<std::string>& words)
{
    // "--" ends the options.
    const auto end = std::ranges::find(words, "--");
    return std::find(words.begin(), end, "--json") != end;
}

void AddFormatOptions(Syntax command, DataFormat& format)
{
    const Option raw = command.AddFlag("--raw", format.Raw, "Print the raw bytes");
    command.AddFlag("--json", format.Json, "Print a JSON object; errors too").Excludes(raw);
}

void PrintData(const Bytes& data, const DataFormat& format, Json::Object members)
{
    // No line end follows raw bytes, so that they can be piped into a file.
    if (format.Raw)
        return PrintRaw(data);
    if (!format.Json)
        return fmt::print("{}", HexDump(data));
    // The caller's members come first, in the order of the JSON object.
    members.emplace_back("length", data.size());
    members.emplace_back("data", HexText(data, ""));
    fmt::print("{}", Json(std::move(members)).Text());
}

void PrintRaw(const Bytes& data)
{
    std::fwrite(data.data(), 1, data.size(), stdout);
}
