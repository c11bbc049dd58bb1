#include "DataOutput.h"

#include "AdapterView.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

void AddFormatOptions(CLI::App& command, DataFormat& format)
{
    const auto choice = [&format](DataFormat chosen) { return [&format, chosen] { format = chosen; }; };
    CLI::Option* const raw = command.add_flag_callback("--raw", choice(DataFormat::Raw), "Print the raw bytes");
    command.add_flag_callback("--json", choice(DataFormat::Json), "Print a JSON object")->excludes(raw);
}

void PrintJson(const nlohmann::ordered_json& object)
{
    fmt::print("{}", JsonText(object));
}

void PrintData(const Bytes& data, DataFormat format, nlohmann::ordered_json object)
{
    switch (format)
    {
    case DataFormat::Text:
        fmt::print("{}", HexDump(data));
        break;
    case DataFormat::Raw:
        std::fwrite(data.data(), 1, data.size(), stdout);
        break;
    case DataFormat::Json:
        object["length"] = data.size();
        object["data"] = HexText(data, "");
        PrintJson(object);
        break;
    }
}
