// Commands that print events: as they arrive, or from the queue of a session.
#include "Command.h"
#include "EndSignals.h"
#include "Errors.h"
#include "EventView.h"
#include "Options.h"

#include <algorithm>
#include <fmt/core.h>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace
{

struct WatchOptions
{
    bool Json = false;
    std::optional<std::uint32_t> Seconds;
    std::optional<std::uint32_t> Count;
};

std::string FirstLine(std::size_t adapters, bool json)
{
    return json ? Json(Json::Object{{"event", "watching"}, {"adapters", adapters}}).Line()
                : fmt::format("watching {} adapter{}", adapters, adapters == 1 ? "" : "s");
}

void Watch(const WatchOptions& options)
{
    EventFeed& feed = EventFeed::OfSession();
    // Before the first line, so that a caller that has read it can end the command by a signal.
    EndSignals::Take(feed.Wake());
    const auto deadline = options.Seconds ? EventFeed::Clock::now() + std::chrono::seconds(*options.Seconds)
                                          : EventFeed::Clock::time_point::max();
    PrintNow(FirstLine(feed.AdapterCount(), options.Json));
    // An unset count is unequal to every number, so the loop then ends by time or by a signal only.
    for (std::uint32_t count = 0; count != options.Count; ++count)
    {
        // Empty after the deadline or a signal; both are a regular end of this command.
        const std::optional<AdapterEvent> event = feed.Take(deadline);
        if (!event)
            break;
        PrintEvent(feed, *event, options.Json);
    }
}

struct WaitOptions
{
    std::string Event;
    std::uint32_t Seconds = 10;
    bool Json = false;
};

/// Discards other events. The line of the expected one lists what they changed.
void Wait(const WaitOptions& options)
{
    EventFeed& feed = EventFeed::OfSession();
    EndSignals::Take(feed.Wake());
    const auto deadline = EventFeed::Clock::now() + std::chrono::seconds(options.Seconds);
    while (const std::optional<AdapterEvent> event = feed.Take(deadline))
        if (EventName(event->Code) == options.Event)
            return PrintEvent(feed, *event, options.Json);
    if (EndSignals::Asked())
        throw std::runtime_error("interrupted");
    throw Failure(fmt::format("no event {} within {} s", options.Event, options.Seconds), ExitCode::TimedOut);
}

void PrintQueued(bool json)
{
    EventFeed& feed = EventFeed::OfSession();
    // A deadline that has passed takes what is queued and does not wait.
    while (const std::optional<AdapterEvent> event = feed.Take(EventFeed::Clock::now()))
        PrintEvent(feed, *event, json);
}

Command AddWait(Syntax app)
{
    const auto options = std::make_shared<WaitOptions>();
    Syntax wait = app.AddCommand("wait", "Wait for an event and discard others");
    std::vector<std::string> names;
    std::ranges::transform(EventNames, std::back_inserter(names), [](const auto& entry) { return entry.second; });
    wait.AddChoice("EVENT", options->Event, names, Join(names, ", ")).Required();
    AddNumber(wait, "SECONDS", options->Seconds, "Time-out (10)");
    AddJson(wait, options->Json);
    return {wait, [options] { Wait(*options); }};
}

} // namespace

Command AddWatchCommand(Syntax app)
{
    const auto options = std::make_shared<WatchOptions>();
    Syntax watch = app.AddCommand("watch", "Print events and what they changed, until Ctrl-C");
    AddJson(watch, options->Json, "Print one JSON object per line");
    AddNumber(watch, "--for", options->Seconds, "Stop after this time").ValueName("SECONDS");
    AddNumber(watch, "--count", options->Count, "Stop after this number of events").ValueName("N");
    return {watch, [options] { Watch(*options); }};
}

std::vector<Command> AddWaitCommands(Syntax app)
{
    const auto json = std::make_shared<bool>();
    const Syntax events = app.AddCommand("events", "Print the events not yet consumed");
    AddJson(events, *json, "Print one JSON object per line");
    return {AddWait(app), {events, [json] { PrintQueued(*json); }}};
}
