#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "Errors.h"
#include "Options.h"

#include <fmt/format.h>

namespace
{

struct InfoOptions
{
    std::string Adapter;
    bool Json = false;
};

void Info(const InfoOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    _ZV_SRVC_DEVICE_INFO record = {};
    Require("GetDeviceInfo", adapter.Device->GetDeviceInfo(&record));
    fmt::print("{}", options.Json ? AdapterJson(record) : AdapterDetails(record));
}

} // namespace

Command AddInfoCommand(CLI::App& app)
{
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* const info = app.add_subcommand("info", "Open an adapter and show its record");
    AddAdapter(*info, options->Adapter);
    info->add_flag("--json", options->Json, "Print a JSON object with every field");
    return {info, [options] { Info(*options); }};
}
