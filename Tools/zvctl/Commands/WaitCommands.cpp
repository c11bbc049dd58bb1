// Events for scripts, which are kept from the session's start until a line asks for them.
#include "Command.h"
#include "EndSignals.h"
#include "EventView.h"
#include "Options.h"

#include <algorithm>
#include <fmt/ranges.h>
#include <iterator>
#include <stdexcept>

namespace
{

struct WaitOptions
{
    std::string Event;
    std::uint32_t Seconds = 10;
};

/// Passes over other events; what they changed shows in the line of the one that was wanted.
void Wait(const WaitOptions& options)
{
    EventFeed& feed = EventFeed::OfSession();
    EndSignals::Take(feed.Wake());
    const auto deadline = EventFeed::Clock::now() + std::chrono::seconds(options.Seconds);
    while (const std::optional<AdapterEvent> event = feed.Take(deadline))
        if (EventName(event->Code) == options.Event)
            return PrintEvent(feed, *event);
    throw std::runtime_error(
        EndSignals::Asked() ? "interrupted" : fmt::format("no event {} within {} s", options.Event, options.Seconds));
}

void PrintQueued()
{
    EventFeed& feed = EventFeed::OfSession();
    while (const std::optional<AdapterEvent> event = feed.Take(EventFeed::Clock::now()))
        PrintEvent(feed, *event);
}

Command AddWait(CLI::App& app)
{
    const auto options = std::make_shared<WaitOptions>();
    CLI::App* const wait = app.add_subcommand("wait", "Wait for an event and discard others");
    std::vector<std::string> names;
    std::ranges::transform(EventNames, std::back_inserter(names), [](const auto& entry) { return entry.second; });
    wait->add_option("EVENT", options->Event, fmt::format("{}", fmt::join(names, ", ")))
        ->required()
        ->check(CLI::Validator(CLI::IsMember(names)).description(""))
        ->type_name("");
    AddNumber(*wait, "SECONDS", options->Seconds, "Time-out (10)");
    return {wait, [options] { Wait(*options); }};
}

} // namespace

std::vector<Command> AddWaitCommands(CLI::App& app)
{
    CLI::App* const events = app.add_subcommand("events", "Print the events not yet consumed");
    return {AddWait(app), {events, PrintQueued}};
}
