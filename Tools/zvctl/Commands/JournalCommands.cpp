// Commands that read journals.
#include "AdapterView.h"
#include "Command.h"
#include "Errors.h"
#include "JournalPlot.h"
#include "JournalText.h"
#include "Options.h"

#include <fmt/core.h>
#include <optional>

namespace
{

struct JournalOptions
{
    std::string File;
    std::string Plot;
    bool Json = false;
};

void PrintHeader(const JournalHeader& header, const JournalAdapters& adapters, bool json)
{
    if (json)
    {
        Json::Array list;
        for (const KnownAdapter& adapter : adapters.All())
            list.emplace_back(Json::Object{{"adapter", adapter.Name}, {"state", adapter.State}});
        const Json first = Json::Object{{"host", header.Host},
                                        {"started", header.Document->Root().Member("started").Text()},
                                        {"adapters", std::move(list)}};
        return fmt::print("{}\n", first.Line());
    }
    fmt::print("journal of {}, started {}\n", Printable(header.Host), LocalText(header.Started));
    for (const KnownAdapter& adapter : adapters.All())
        fmt::print("{:>7}{}: {}\n", "", Printable(adapter.Name), adapter.State);
}

void PrintLine(const JournalLine& line, const ChangeWords& words, const std::string& names, bool json)
{
    if (json)
    {
        const Json object = Json::Object{{"sequence", line.Sequence},
                                         {"missing", line.Missing},
                                         {"time", line.Document->Root().Member("changed").Text()},
                                         {"kind", line.Kind},
                                         {"adapter", names},
                                         {"details", words.Details}};
        return fmt::print("{}\n", object.Line());
    }
    if (line.Missing > 0)
        fmt::print("{:>7}{} change{} missing\n", "", line.Missing, line.Missing == 1 ? " is" : "s are");
    const bool hasBoth = !names.empty() && !words.Details.empty();
    fmt::print("{:>5}  {}  {:<18} {}{}{}\n", line.Sequence, LocalText(line.Time), words.Kind, names,
               hasBoth ? ": " : "", words.Details);
}

/// A journal that was cut off is shown as far as it is complete.
void Warn(const std::string& warning, bool json)
{
    if (json)
        fmt::print("{}\n", Json(Json::Object{{"warning", warning}}).Line());
    else
        fmt::print(stderr, "zvctl: journal show: {}\n", warning);
}

void Show(const JournalOptions& options)
{
    JournalFile file(options.File);
    std::optional<JournalAdapters> adapters;
    file.Checked([&] { adapters.emplace(file.Header().Document->Root()); });
    std::optional<JournalPlot> plot;
    if (!options.Plot.empty())
        plot.emplace(file.Header(), *adapters);
    else
        PrintHeader(file.Header(), *adapters, options.Json);
    const auto warning = file.Read([&](const JournalLine& line) {
        const ChangeWords words = Describe(line, *adapters);
        if (plot)
            plot->Add(line, words.Adapters, *adapters);
        else
            PrintLine(line, words, AdapterNames(words, *adapters), options.Json);
    });
    if (plot)
        plot->Draw(options.Plot);
    if (warning)
        Warn(*warning, options.Json);
}

} // namespace

std::vector<Command> AddJournalCommands(Syntax app)
{
    Syntax journal = app.AddCommand("journal", "Show what a journal recorded");
    journal.RequireCommand();
    const auto options = std::make_shared<JournalOptions>();
    Syntax show = journal.AddCommand("show", "Print the changes, requests and events of a journal, one per line");
    show.AddText("FILE", options->File, "Journal of a host, of 'zvctl serve' or of 'zvctl watch'").Required();
    show.AddText("--plot", options->Plot, "Draw them on a time axis instead; gnuplot writes an SVG file")
        .ValueName("FILE");
    AddJson(show, options->Json, "Print one JSON object per line");
    return {{show, [options] { Show(*options); }}};
}
