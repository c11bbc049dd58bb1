#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "ControlRequest.h"
#include "DataOutput.h"
#include "Options.h"

#include <nlohmann/json.hpp>

namespace
{

struct GetOptions
{
    std::string Adapter;
    std::uint32_t Id = 0;
    std::uint32_t Length = 0;
    DataFormat Format = DataFormat::Text;
};

void Get(const GetOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    const Bytes data = QueryItem(*adapter.Device, options.Id, options.Length);
    PrintData(data, options.Format, {{"adapter", FieldText(adapter.Record.NetCfgInstanceId)}, {"id", options.Id}});
}

} // namespace

Command AddGetCommand(CLI::App& app)
{
    const auto options = std::make_shared<GetOptions>();
    CLI::App* const get = app.add_subcommand("get", "Read an information item of an adapter's driver");
    AddAdapter(*get, options->Adapter);
    AddNumber(*get, "ID", options->Id, "Item number")->required();
    AddNumber(*get, "LENGTH", options->Length, "Number of bytes to read", MaxDataSize)->required();
    AddFormatOptions(*get, options->Format);
    return {get, [options] { Get(*options); }};
}
