// Commands that send requests to a driver.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "ControlRequest.h"
#include "Options.h"

#include <fmt/core.h>

namespace
{

/// Options of get and set; each uses some of them.
struct ItemOptions
{
    std::string Adapter;
    std::uint32_t Id = 0;
    std::uint32_t Length = 0;
    DataFormat Format;
    Bytes Data;
};

void Get(const ItemOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    const Bytes data = QueryItem(*adapter.Device, options.Id, options.Length);
    PrintData(data, options.Format, {{"adapter", FieldText(adapter.Record.NetCfgInstanceId)}, {"id", options.Id}});
}

Command AddGet(Syntax app)
{
    const auto options = std::make_shared<ItemOptions>();
    const Syntax get = app.AddCommand("get", "Read an information item of an adapter's driver");
    AddAdapter(get, options->Adapter);
    AddNumber(get, "ID", options->Id, "Item number").Required();
    AddNumber(get, "LENGTH", options->Length, "Number of bytes to read", MaxDataSize).Required();
    AddFormatOptions(get, options->Format);
    return {get, [options] { Get(*options); }};
}

Command AddSet(Syntax app)
{
    const auto options = std::make_shared<ItemOptions>();
    const Syntax set = app.AddCommand("set", "Write an information item of an adapter's driver");
    AddAdapter(set, options->Adapter);
    AddNumber(set, "ID", options->Id, "Item number").Required();
    AddData(set, "DATA", options->Data).Required();
    return {set, [options] { SetItem(*OpenAdapter(options->Adapter).Device, options->Id, options->Data); }};
}

struct IoctlOptions
{
    std::string Adapter;
    ControlRequest Request;
    bool Async = false;
    std::uint32_t PatienceMs = 10000;
    DataFormat Format;
};

/// Returns only if the request succeeded: a failure, including one that a callback reports, is an exception.
void Ioctl(const IoctlOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    WarnOfLostLength(options.Request);
    const Bytes output = options.Async ? SendAndAwaitCallback(adapter.Device, options.Request,
                                                              std::chrono::milliseconds(options.PatienceMs))
                                       : SendAndWait(*adapter.Device, options.Request);
    if (options.Async && !options.Format.Raw && !options.Format.Json)
        fmt::print("callback: status 0\n");
    PrintData(output, options.Format,
              {{"adapter", FieldText(adapter.Record.NetCfgInstanceId)},
               {"code", options.Request.Code},
               {"requestId", options.Request.Id},
               {"async", options.Async},
               {"status", 0U}});
}

Command AddIoctl(Syntax app)
{
    const auto options = std::make_shared<IoctlOptions>();
    Syntax ioctl = app.AddCommand("ioctl", "Send a control request to an adapter's driver");
    AddAdapter(ioctl, options->Adapter);
    AddRequest(ioctl, options->Request);
    const Option async =
        ioctl.AddFlag("--async", options->Async, "Send an asynchronous request and wait for its callback");
    AddNumber(ioctl, "--patience", options->PatienceMs, "How long to wait for the callback after the time-out (10000)")
        .ValueName("MS")
        .Requires(async);
    AddFormatOptions(ioctl, options->Format);
    return {ioctl, [options] { Ioctl(*options); }};
}

} // namespace

void AddRequest(Syntax command, ControlRequest& request)
{
    AddNumber(command, "CODE", request.Code, "Control code").Required();
    AddData(command, "--in", request.Input).ValueName("DATA");
    AddNumber(command, "--out", request.OutputSize, "Size of the output buffer in bytes (0)", MaxDataSize)
        .ValueName("N");
    AddNumber(command, "--timeout", request.TimeoutMs, "Time-out of the request (1000)").ValueName("MS");
    command
        .AddParsed(
            "--id",
            [&request](const std::string& text) {
                // The field in the driver's request record has 16 bits; a larger number would be truncated silently.
                constexpr std::uint32_t limit = std::numeric_limits<std::uint16_t>::max();
                request.Id = static_cast<std::uint16_t>(ParseNumber(text, limit));
            },
            "Request number, up to 65535 (1)")
        .ValueName("N");
}

std::vector<Command> AddRequestCommands(Syntax app)
{
    return {AddGet(app), AddSet(app), AddIoctl(app), AddBenchCommand(app)};
}
