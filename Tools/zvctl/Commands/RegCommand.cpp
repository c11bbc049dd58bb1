// Commands that access the registry values of an adapter.
#include "AdapterChoice.h"
#include "Command.h"
#include "Options.h"
#include "RegistryValues.h"

#include <fmt/core.h>

namespace
{

struct RegOptions
{
    std::string Adapter;
    std::vector<std::string> Path; ///< [SUBKEY] NAME
    std::string Type = "sz";
    std::string Data;
    RegistryValue Value;
    DataFormat Format;

    /// One word is the name of a value of the driver key itself; of two words the first is a subkey.
    ValuePlace Place() const { return {Path.size() > 1 ? Path.front() : "", Path.back()}; }
};

using OptionsPtr = std::shared_ptr<RegOptions>;

void Print(const RegistryValue& value, const DataFormat& format)
{
    if (format.Raw)
        PrintRaw(value.Data);
    else
        fmt::print("{}", format.Json ? ValueJson(value).Text() : ValueText(value));
}

/// Adds the part that read, write and delete have in common.
Syntax AddOperation(Syntax reg, const char* name, const char* help, const OptionsPtr& options)
{
    Syntax operation = reg.AddCommand(name, help);
    AddAdapter(operation, options->Adapter);
    operation.AddPath("NAME", options->Path, "[SUBKEY] NAME",
                      "The value's name; before it, a key below the driver key");
    return operation;
}

Command AddRead(Syntax reg)
{
    const auto options = std::make_shared<RegOptions>();
    const Syntax read = AddOperation(reg, "read", "Print a value", options);
    AddFormatOptions(read, options->Format);
    return {read, [options] {
                // The registry is reachable without a driver that answers; write and delete rely on this too.
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                Print(ReadValue(*adapter.Device, options->Place()), options->Format);
            }};
}

Command AddWrite(Syntax reg)
{
    const auto options = std::make_shared<RegOptions>();
    Syntax write = AddOperation(reg, "write", "Write a value; creates a missing key", options);
    write.AddChoice("--type", options->Type, {"sz", "dword", "binary"}, "sz (the default), dword or binary")
        .ValueName("TYPE");
    write.AddText("--data", options->Data, "A text; for dword a number; for binary as DATA of set")
        .Required()
        .ValueName("TEXT");
    // The type determines the format and may follow the data.
    write.AddFinalRead("--data", options->Data, [given = options.get()](const std::string& text) {
        given->Value = ParseValue(given->Type, text);
    });
    return {write, [options] {
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                WriteValue(*adapter.Device, options->Place(), options->Value);
            }};
}

Command AddDelete(Syntax reg)
{
    const auto options = std::make_shared<RegOptions>();
    const Syntax remove = AddOperation(reg, "delete", "Delete a value", options);
    return {remove, [options] {
                const OpenAdapter adapter(options->Adapter, DriverNeed::Optional);
                DeleteValue(*adapter.Device, options->Place());
            }};
}

} // namespace

std::vector<Command> AddRegCommands(Syntax app)
{
    Syntax reg = app.AddCommand("reg", "Read, write or delete a value of an adapter's driver key");
    reg.RequireCommand();
    return {AddRead(reg), AddWrite(reg), AddDelete(reg)};
}
