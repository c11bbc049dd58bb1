// Commands that use the control protocol of a machine.
#include "ControlClient.h"
#include "EndSignals.h"
#include "Errors.h"
#include "EventView.h"
#include "Options.h"
#include "StandInCommands.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/core.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace
{

struct CallOptions
{
    std::string Method;
    std::string Params;
};

ExitCode CodeOfReason(const std::string& reason)
{
    if (reason == "noAdapter" || reason == "severalAdapters" || reason == "noKey" || reason == "noValue")
        return ExitCode::NotFound;
    if (reason == "timedOut")
        return ExitCode::TimedOut;
    return reason == "noDriver" ? ExitCode::NotReady : ExitCode::OperationFailed;
}

void CallMethod(const CallOptions& options)
{
    const std::string line = CallLine(options.Method, options.Params);
    ControlClient client;
    client.Send(line);
    while (const std::optional<ControlLine> answer = client.Receive())
    {
        if (!answer->IsAnswer)
            continue;
        if (!answer->Error.empty())
            throw Failure(fmt::format("{}: {}", options.Method, answer->Error), CodeOfReason(answer->Reason));
        return fmt::print("{}", ResultText(answer->Text));
    }
    throw std::runtime_error("the host has closed the connection");
}

struct ChangeOptions
{
    bool Json = false;
    std::optional<std::uint32_t> Count;
};

void PrintChanges(const ChangeOptions& options)
{
    ControlClient client;
    client.Send(CallLine("subscribe", ""));
    for (std::uint32_t count = 0; count != options.Count;)
    {
        const std::optional<ControlLine> line = client.Receive();
        if (!line)
            throw std::runtime_error("the host has closed the connection");
        if (line->IsAnswer)
            continue;
        PrintNow(options.Json ? line->Text : ChangeText(line->Text));
        ++count;
    }
}

/// Copies lines between a file and a session, one call at a time.
class ProtocolLines
{
public:
    ProtocolLines(int input, bool stopAtFailure) : Source(input), StopsAtFailure(stopAtFailure) {}

    /// @return whether a line failed.
    bool Run()
    {
        PrintNow(Client.Greeting());
        while (!IsOver)
        {
            pollfd sources[] = {{Client.Descriptor(), POLLIN, 0}, {Source, POLLIN, 0}};
            if (poll(sources, CanSend() ? 2 : 1, -1) < 0 && errno != EINTR)
                throw std::system_error(errno, std::generic_category(), "poll");
            if (sources[0].revents != 0)
                PrintAnswers();
            else if (CanSend() && sources[1].revents != 0)
                ReadSource();
            SendNext();
        }
        return HasFailed;
    }

private:
    bool CanSend() const { return !IsWaiting && !HasEnded; }

    void PrintAnswers()
    {
        IsOver = !Client.Read();
        while (const std::optional<ControlLine> line = Client.Next())
        {
            PrintNow(line->Text);
            if (!line->IsAnswer)
                continue;
            IsWaiting = false;
            HasFailed = HasFailed || !line->Error.empty();
            IsOver = IsOver || (HasFailed && StopsAtFailure);
        }
    }

    void ReadSource()
    {
        char chunk[4096];
        const ssize_t count = read(Source, chunk, sizeof(chunk));
        if (count > 0)
            return static_cast<void>(Lines.append(chunk, static_cast<std::size_t>(count)));
        HasEnded = true;
        if (!Lines.empty())
            Lines += '\n';
    }

    /// Sends lines up to one that has an answer. After the last one it ends the session.
    void SendNext()
    {
        while (!IsWaiting && !IsOver)
        {
            const std::size_t end = Lines.find('\n');
            if (end == std::string::npos)
                break;
            const std::string line = Lines.substr(0, end);
            Lines.erase(0, end + 1);
            IsWaiting = NeedsAnswer(line);
            Client.Send(line);
        }
        if (HasEnded && !IsWaiting && Lines.empty())
            shutdown(Client.Descriptor(), SHUT_WR); // the server answers what it has received, then closes
    }

    ControlClient Client;
    const int Source;
    const bool StopsAtFailure;
    std::string Lines;
    bool IsWaiting = false;
    bool HasEnded = false;
    bool HasFailed = false;
    bool IsOver = false;
};

} // namespace

void RunControlLines(const std::string& file, bool stopAtFailure)
{
    const int input = file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (input < 0)
        throw UsageError(fmt::format("{}: cannot be read: {}", file, std::strerror(errno)));
    const bool isInteractive = file == "-" && !stopAtFailure && isatty(STDIN_FILENO) != 0;
    if (ProtocolLines(input, stopAtFailure).Run() && !isInteractive)
        throw Failure::WithReport("a line failed");
}

Command AddCallCommand(Syntax app)
{
    const auto options = std::make_shared<CallOptions>();
    Syntax call = app.AddCommand("call", "Call a method of the control protocol and print its result");
    call.AddText("METHOD", options->Method, "Such as describe; docs/CONTROL.md lists them").Required();
    call.AddText("JSON", options->Params, "Its parameters, such as '{\"adapter\": \"WL600\"}'");
    return {call, [options] { CallMethod(*options); }};
}

Command AddChangesCommand(Syntax app)
{
    const auto options = std::make_shared<ChangeOptions>();
    Syntax changes = app.AddCommand("changes", "Print each change of the machine as it happens, until Ctrl-C");
    AddJson(changes, options->Json, "Print the notifications of the control protocol");
    AddNumber(changes, "--count", options->Count, "Stop after this number of changes").ValueName("N");
    return {changes, [options] { PrintChanges(*options); }};
}
