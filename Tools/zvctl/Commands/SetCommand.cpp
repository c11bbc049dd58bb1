#include "AdapterChoice.h"
#include "Command.h"
#include "ControlRequest.h"
#include "Options.h"

namespace
{

struct SetOptions
{
    std::string Adapter;
    std::uint32_t Id = 0;
    Bytes Data;
};

void Set(const SetOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    SetItem(*adapter.Device, options.Id, options.Data);
}

} // namespace

Command AddSetCommand(CLI::App& app)
{
    const auto options = std::make_shared<SetOptions>();
    CLI::App* const set = app.add_subcommand("set", "Write an information item of an adapter's driver");
    AddAdapter(*set, options->Adapter);
    AddNumber(*set, "ID", options->Id, "Item number")->required();
    AddData(*set, "DATA", options->Data)->required();
    return {set, [options] { Set(*options); }};
}
