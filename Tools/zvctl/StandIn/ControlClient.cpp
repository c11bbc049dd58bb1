#include "ControlClient.h"

#include "Errors.h"
#include "Session.h"

#include <Control.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fmt/core.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace
{

using nlohmann::json;

int ConnectTo(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw std::runtime_error(path + ": the path is too long for a socket");
    std::memcpy(address.sun_path, path.data(), path.size());
    const int stream = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto* const generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
    if (stream < 0 || connect(stream, generic, sizeof(address)) != 0)
    {
        const std::string cause = std::strerror(errno);
        close(stream);
        throw std::runtime_error(fmt::format("{}: no host listens there: {}", path, cause));
    }
    return stream;
}

/// Never destroyed, like the machine.
int ConnectToOwnMachine()
{
    static Platform::ControlServer& server = *new Platform::ControlServer(Platform::CurrentMachine());
    return server.Connect();
}

/// Parses a line of the server, which is always an object.
json Parsed(const std::string& line)
{
    return json::parse(line, nullptr, false);
}

ControlLine Described(std::string text)
{
    ControlLine line{.Text = std::move(text)};
    const json message = Parsed(line.Text);
    line.IsAnswer = !message.contains("method");
    line.Method = message.value("method", "");
    if (const auto error = message.find("error"); error != message.end())
    {
        line.Error = error->value("message", "");
        line.Reason = error->contains("data") ? error->at("data").value("reason", "") : "";
    }
    return line;
}

/// Returns the seconds between two times of a notification, or nothing if they have another form.
std::optional<double> Difference(const std::string& from, const std::string& to)
{
    const auto seconds = [](const std::string& text) -> std::optional<double> {
        std::tm parts{};
        const char* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
        return rest == nullptr ? std::nullopt
                               : std::optional(static_cast<double>(timegm(&parts)) + std::strtod(rest, nullptr));
    };
    const auto start = seconds(from);
    const auto end = seconds(to);
    return start && end ? std::optional(*end - *start) : std::nullopt;
}

/// Returns what names the subject of a change: an adapter, a key, a function.
std::string Subject(const json& data)
{
    std::string text;
    if (const auto adapter = data.find("adapter"); adapter != data.end())
        text = adapter->value("friendlyName", adapter->value("description", ""));
    for (const char* const name : {"id", "path", "name", "function", "device", "event", "message"})
        if (data.contains(name))
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", name,
                                data[name].is_string() ? data[name].get<std::string>() : data[name].dump());
    return text;
}

} // namespace

ControlClient::ControlClient() : Stream(MachineIsShared() ? ConnectTo(SharedMachinePath()) : ConnectToOwnMachine())
{
    const std::optional<ControlLine> first = Receive();
    if (!first || first->Method != "greeting")
        throw std::runtime_error("the server sends no greeting");
    FirstLine = first->Text;
}

ControlClient::~ControlClient()
{
    close(Stream);
}

void ControlClient::Send(std::string_view line) const
{
    const std::string text = std::string(line) + '\n';
    for (std::size_t sent = 0; sent < text.size();)
    {
        const ssize_t count = send(Stream, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "the connection to the host");
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

bool ControlClient::Read()
{
    std::array<char, 16 * 1024> chunk{};
    ssize_t count = -1;
    do
        count = recv(Stream, chunk.data(), chunk.size(), 0);
    while (count < 0 && errno == EINTR);
    if (count > 0)
        Input.append(chunk.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::optional<ControlLine> ControlClient::Next()
{
    const std::size_t end = Input.find('\n');
    if (end == std::string::npos)
        return std::nullopt;
    ControlLine line = Described(Input.substr(0, end));
    Input.erase(0, end + 1);
    return line;
}

std::optional<ControlLine> ControlClient::Receive()
{
    for (;;)
    {
        if (std::optional<ControlLine> line = Next())
            return line;
        if (!Read())
            return std::nullopt;
    }
}

bool NeedsAnswer(std::string_view line)
{
    if (line.find_first_not_of(" \t\r") == std::string_view::npos)
        return false;
    const json message = json::parse(line, nullptr, false);
    const bool isNotification = message.is_object() && !message.contains("id") && message.contains("method");
    return !isNotification;
}

std::string CallLine(const std::string& method, const std::string& params)
{
    json call = {{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}};
    try
    {
        if (!params.empty())
            call["params"] = json::parse(params);
    }
    catch (const json::exception& error)
    {
        throw UsageError(fmt::format("\"{}\" is not JSON: {}", params, error.what()));
    }
    return call.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string ResultText(const std::string& answer)
{
    return Parsed(answer).value("result", json()).dump(2) + '\n';
}

std::string ChangeText(const std::string& notification)
{
    const json params = Parsed(notification).at("params");
    if (params.contains("from"))
        return fmt::format("changes {} to {} were lost{}", params["from"].dump(), params["to"].dump(),
                           params.value("machineReplaced", false) ? "; the host uses another machine" : "");
    const std::string changed = params.value("changed", "");
    const auto delay = Difference(changed, params.value("sent", ""));
    return fmt::format("{:>6}  {}  {:+.3f} ms  {:<16}  {}", params.value("sequence", std::uint64_t{}), changed,
                       delay.value_or(0) * 1000, params.value("kind", ""), Subject(params.at("data")));
}
