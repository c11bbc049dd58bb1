#include "JournalPlot.h"

#include "Errors.h"
#include "Gnuplot.h"
#include "TimeText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fmt/core.h>
#include <fstream>
#include <utility>

namespace
{

/// Returns the kind of mark.
const char* MarkOf(const std::string& kind)
{
    constexpr auto kinds = std::to_array<std::pair<const char*, const char*>>({
        {"interfaceMessage", "message"},
        {"keyCreated", "registry"},
        {"keyDeleted", "registry"},
        {"valueSet", "registry"},
        {"valueDeleted", "registry"},
        {"deviceAttached", "driver"},
        {"driverConfigured", "driver"},
        {"broadcast", "computer"},
        {"rightsChanged", "computer"},
        {"eventChanged", "computer"},
        {"callsFail", "fault"},
        {"faultsCleared", "fault"},
        {"callsHeld", "fault"},
        {"libraryEvent", "library"},
    });
    const auto* const row = std::ranges::find_if(kinds, [&](const auto& entry) { return entry.first == kind; });
    return row == kinds.end() ? "adapter" : row->second;
}

void AddRequest(PlotLane& lane, const Platform::JsonNode& data, double end)
{
    const double duration = static_cast<double>(data.Member("durationUs").LongNumber()) / 1e6;
    const bool failed = data.Member("error").Number() != 0;
    lane.Requests.push_back({std::max(end - duration, 0.0), end, failed ? "failed request" : "request"});
}

} // namespace

JournalPlot::JournalPlot(const JournalHeader& header, const JournalAdapters& adapters) : Started(header.Started)
{
    Drawn.Title = header.Host;
    Drawn.AxisTitle = fmt::format("seconds since {}", UtcText(Started));
    FollowStates(adapters, 0);
}

/// Extends the bar of each adapter, and begins another when its state has changed.
void JournalPlot::FollowStates(const JournalAdapters& adapters, double now)
{
    Drawn.Lanes.resize(adapters.All().size());
    for (std::size_t i = 0; i < Drawn.Lanes.size(); ++i)
    {
        const KnownAdapter& adapter = adapters.All()[i];
        Drawn.Lanes[i].Name = adapter.Name;
        std::vector<PlotBar>& states = Drawn.Lanes[i].States;
        if (!states.empty())
            states.back().End = now;
        if (states.empty() || states.back().Kind != adapter.State)
            states.push_back({now, now, adapter.State});
    }
}

void JournalPlot::Add(const JournalLine& line, const std::vector<std::size_t>& concerned,
                      const JournalAdapters& adapters)
{
    // A clock that was set back must not draw to the left of the axis.
    const double now = std::max(std::chrono::duration<double>(line.Time - Started).count(), Drawn.End);
    Drawn.End = now;
    FollowStates(adapters, now);
    const auto add = [&](PlotLane& lane) {
        if (line.Kind == "request")
            AddRequest(lane, line.Data(), now);
        else
            lane.Marks[MarkOf(line.Kind)].push_back(now);
    };
    for (const std::size_t index : concerned)
        add(Drawn.Lanes[index]);
    if (concerned.empty())
        add(Computer);
}

void JournalPlot::Draw(const std::string& file)
{
    if (!Computer.Marks.empty() || !Computer.Requests.empty())
    {
        Computer.Name = "computer";
        Drawn.Lanes.push_back(std::move(Computer));
    }
    // Gnuplot's own message would not name the tool.
    if (!std::ofstream(file))
        throw Failure(fmt::format("{}: cannot be written: {}", file, std::strerror(errno)));
    RunGnuplot(PlotCommands(Drawn, file));
}
