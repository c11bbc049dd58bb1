#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "DataOutput.h"
#include "Options.h"
#include "RegistryValues.h"

#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace
{

struct RegOptions
{
    std::string Adapter;
    std::vector<std::string> Path; ///< [SUBKEY] NAME
    std::string Type = "sz";
    std::string Data;
    RegistryValue Value;
    DataFormat Format = DataFormat::Text;

    ValuePlace Place() const { return {Path.size() > 1 ? Path.front() : "", Path.back()}; }
};

/// Shows an option's own text in the usage line, where the base class would say "PATH(1x)".
class PathFormatter final : public CLI::Formatter
{
public:
    std::string make_option_usage(const CLI::Option* option) const override
    {
        const std::string& text = option->get_option_text();
        return text.empty() ? CLI::Formatter::make_option_usage(option) : text;
    }
};

using OptionsPtr = std::shared_ptr<RegOptions>;

void Print(const RegistryValue& value, const RegOptions& options)
{
    switch (options.Format)
    {
    case DataFormat::Text:
        fmt::print("{}", ValueText(value));
        break;
    case DataFormat::Raw:
        PrintData(value.Data, DataFormat::Raw, {});
        break;
    case DataFormat::Json:
        PrintJson(ValueJson(value));
        break;
    }
}

CLI::App* AddOperation(CLI::App& reg, const char* name, const char* help, const OptionsPtr& options)
{
    CLI::App* const operation = reg.add_subcommand(name, help);
    AddAdapter(*operation, options->Adapter);
    operation->add_option("PATH", options->Path, "The value's name; before it, a key below the driver key")
        ->required()
        ->expected(1, 2)
        ->option_text("[SUBKEY] NAME");
    return operation;
}

Command AddRead(CLI::App& reg)
{
    const auto options = std::make_shared<RegOptions>();
    CLI::App* const read = AddOperation(reg, "read", "Print a value", options);
    AddFormatOptions(*read, options->Format);
    return {read, [options] {
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                Print(ReadValue(*adapter.Device, options->Place()), *options);
            }};
}

/// Reads the data after all options, because the type determines the format and may follow the data.
void ReadData(RegOptions& options)
try
{
    options.Value = ParseValue(options.Type, options.Data);
}
catch (const std::invalid_argument& mistake)
{
    throw CLI::ValidationError("--data", mistake.what());
}

Command AddWrite(CLI::App& reg)
{
    const auto options = std::make_shared<RegOptions>();
    CLI::App* const write = AddOperation(reg, "write", "Write a value; creates a missing key", options);
    write->add_option("--type", options->Type, "sz (the default), dword or binary")
        ->check(CLI::Validator(CLI::IsMember({"sz", "dword", "binary"})).description(""))
        ->type_name("TYPE");
    write->add_option("--data", options->Data, "A text; for dword a number; for binary as DATA of set")
        ->required()
        ->type_name("TEXT");
    write->parse_complete_callback([options] { ReadData(*options); });
    return {write, [options] {
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                WriteValue(*adapter.Device, options->Place(), options->Value);
            }};
}

Command AddDelete(CLI::App& reg)
{
    const auto options = std::make_shared<RegOptions>();
    CLI::App* const remove = AddOperation(reg, "delete", "Delete a value", options);
    return {remove, [options] {
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                DeleteValue(*adapter.Device, options->Place());
            }};
}

} // namespace

std::vector<Command> AddRegCommands(CLI::App& app)
{
    CLI::App* const reg = app.add_subcommand("reg", "Read, write or delete a value of an adapter's driver key");
    reg->require_subcommand(1);
    reg->formatter(std::make_shared<PathFormatter>());
    return {AddRead(*reg), AddWrite(*reg), AddDelete(*reg)};
}
