#include "Replay.h"

#include "ChangeJson.h"
#include "MachineImpl.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <utility>

namespace Platform
{

namespace
{

using nlohmann::json;

constexpr const char* ReplayDriver = "ZVReplayDriver.dll";

/// Has a device answer from the journal, and from its own driver if no recorded request matches.
void ReplaceDriver(Changes::DeviceAttached& device, const std::string& journal)
{
    json settings{{"journal", std::filesystem::absolute(journal).string()}, {"device", device.Name}};
    if (!device.Module.empty())
    {
        settings["module"] = device.Module;
        settings["settings"] = json::parse(device.Settings.empty() ? "{}" : device.Settings);
    }
    device.Module = ReplayDriver;
    device.Settings = settings.dump();
}

} // namespace

class Replay::Impl
{
public:
    explicit Impl(const std::string& path)
    {
        std::ifstream file(path);
        if (!file || (file.peek(), file.bad()))
            throw MachineFileError(path + ": cannot be read: " + std::strerror(errno));
        std::size_t number = 0;
        for (std::string line; std::getline(file, line);)
        {
            ++number;
            // The end of the last line is written last.
            if (file.eof() && number > 1)
                break;
            try
            {
                ReadLine(line, number == 1, path);
            }
            catch (const JsonError& error)
            {
                throw MachineFileError(path + ":" + std::to_string(number) + ": " + error.what());
            }
        }
        if (number == 0)
            throw MachineFileError(path + ": is empty");
    }

    const std::shared_ptr<Machine> Target = std::make_shared<Machine>();
    std::chrono::system_clock::time_point Started;
    std::deque<LoggedChange> Changes;

private:
    void ReadLine(const std::string& line, bool isFirst, const std::string& path)
    {
        const JsonDocument document(line);
        const JsonNode root = document.Root();
        if (isFirst)
        {
            root.Require(root.HasMember("format") && root.Member("format").Text() == "zvuwpsrvclib journal",
                         "expected the first line of a journal");
            root.Member("version").Require(root.Member("version").Number() == 1, "expected version 1");
            Started = ReadTime(root.Member("started"));
            MachineState state = ReadState(root.Member("machine"));
            for (Changes::DeviceAttached& device : state.Devices)
                ReplaceDriver(device, path);
            if (const auto follow = Target->Internal().Restore(state))
                follow();
            return;
        }
        // Events of the library follow from the changes. Requests are answered by the drivers.
        if (root.Member("kind").Text() == "libraryEvent")
            return;
        LoggedChange change = ReadLoggedChange(root);
        if (auto* const device = std::get_if<Changes::DeviceAttached>(&change.What))
            ReplaceDriver(*device, path);
        if (!std::holds_alternative<Changes::RequestCompleted>(change.What))
            Changes.push_back(std::move(change));
    }
};

Replay::Replay(const std::string& path) : Self(std::make_unique<Impl>(path)) {}

Replay::~Replay() = default;

std::shared_ptr<Machine> Replay::Start() const
{
    return Self->Target;
}

bool Replay::HasAudience() const
{
    return Self->Target->Internal().Log.HasListeners();
}

std::size_t Replay::Left() const
{
    return Self->Changes.size();
}

std::chrono::microseconds Replay::NextTime() const
{
    return std::chrono::duration_cast<std::chrono::microseconds>(Self->Changes.front().Time - Self->Started);
}

std::string Replay::NextText() const
{
    return ToJson(Self->Changes.front()).dump(-1, ' ', false, json::error_handler_t::replace);
}

void Replay::Step()
{
    const LoggedChange change = std::move(Self->Changes.front());
    Self->Changes.pop_front();
    if (const auto follow = Self->Target->Internal().Apply(change.What))
        follow();
}

} // namespace Platform
