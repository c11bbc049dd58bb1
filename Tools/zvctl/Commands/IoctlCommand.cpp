#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "ControlRequest.h"
#include "DataOutput.h"
#include "Options.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace
{

struct IoctlOptions
{
    std::string Adapter;
    ControlRequest Request;
    bool Async = false;
    std::uint32_t PatienceMs = 10000;
    DataFormat Format = DataFormat::Text;
};

void Ioctl(const IoctlOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    const Bytes output = options.Async ? SendAndAwaitCallback(adapter.Device, options.Request,
                                                              std::chrono::milliseconds(options.PatienceMs))
                                       : SendAndWait(*adapter.Device, options.Request);
    if (options.Async && options.Format == DataFormat::Text)
        fmt::print("callback: status 0\n");
    PrintData(output, options.Format,
              {{"adapter", FieldText(adapter.Record.NetCfgInstanceId)},
               {"code", options.Request.Code},
               {"requestId", options.Request.Id},
               {"async", options.Async},
               {"status", 0}});
}

} // namespace

Command AddIoctlCommand(CLI::App& app)
{
    const auto options = std::make_shared<IoctlOptions>();
    CLI::App* const ioctl = app.add_subcommand("ioctl", "Send a control request to an adapter's driver");
    AddAdapter(*ioctl, options->Adapter);
    AddNumber(*ioctl, "CODE", options->Request.Code, "Control code")->required();
    AddData(*ioctl, "--in", options->Request.Input)->type_name("DATA");
    AddNumber(*ioctl, "--out", options->Request.OutputSize, "Size of the output buffer in bytes (0)", MaxDataSize)
        ->type_name("N");
    AddNumber(*ioctl, "--timeout", options->Request.TimeoutMs, "Time-out of the request (1000)")->type_name("MS");
    AddNumber(*ioctl, "--id", options->Request.Id, "Request number, up to 65535 (1)")->type_name("N");
    CLI::Option* const async =
        ioctl->add_flag("--async", options->Async, "Send an asynchronous request and wait for its callback");
    AddNumber(*ioctl, "--patience", options->PatienceMs, "How long to wait for the callback after the time-out (10000)")
        ->type_name("MS")
        ->needs(async);
    AddFormatOptions(*ioctl, options->Format);
    return {ioctl, [options] { Ioctl(*options); }};
}
