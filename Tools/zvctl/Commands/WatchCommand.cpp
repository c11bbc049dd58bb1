#include "Command.h"
#include "EndSignals.h"
#include "EventView.h"
#include "Options.h"

#include <fmt/format.h>
#include <optional>

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
    return json ? fmt::format(R"({{"event":"watching","adapters":{}}})", adapters)
                : fmt::format("watching {} adapter{}", adapters, adapters == 1 ? "" : "s");
}

/// Handles signals from the first printed line on.
void Watch(const WatchOptions& options)
{
    EventFeed& feed = EventFeed::OfSession();
    EndSignals::Take(feed.Wake());
    const auto deadline = options.Seconds ? EventFeed::Clock::now() + std::chrono::seconds(*options.Seconds)
                                          : EventFeed::Clock::time_point::max();
    PrintNow(FirstLine(feed.AdapterCount(), options.Json));
    for (std::uint32_t count = 0; count != options.Count; ++count)
    {
        const std::optional<AdapterEvent> event = feed.Take(deadline);
        if (!event)
            break;
        if (options.Json)
            PrintNow(EventJson(*event, feed.TakeChanges()));
        else
            PrintEvent(feed, *event);
    }
}

} // namespace

Command AddWatchCommand(CLI::App& app)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const watch = app.add_subcommand("watch", "Print events and what they changed, until Ctrl-C");
    watch->add_flag("--json", options->Json, "Print one JSON object per line");
    AddParsedOption(
        *watch, "--for", options->Seconds, [](const std::string& text) { return ParseNumber(text); },
        "Stop after this time")
        ->type_name("SECONDS");
    AddParsedOption(
        *watch, "--count", options->Count, [](const std::string& text) { return ParseNumber(text); },
        "Stop after this number of events")
        ->type_name("N");
    return {watch, [options] { Watch(*options); }};
}
