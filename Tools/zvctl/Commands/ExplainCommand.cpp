#include "Command.h"
#include "Explanations.h"
#include "Json.h"
#include "Options.h"
#include "Terminal.h"

#include <fmt/core.h>
#include <limits>

namespace
{

struct ExplainOptions
{
    std::vector<std::string> Words;
    bool Json = false;
};

std::string Heading(const Explanation& row)
{
    return row.Kind == ExplainedKind::Flag || row.Kind == ExplainedKind::Event
               ? fmt::format("{} ({} 0x{:x})", row.Name, KindName(row.Kind), row.Number)
               : fmt::format("{} ({} {})", row.Name, KindName(row.Kind), row.Number);
}

/// A number can have a meaning of each kind; a blank line separates them.
std::string Text(const std::vector<Explanation>& rows)
{
    std::string text;
    for (const Explanation& row : rows)
        text += fmt::format("{}{}\n  meaning  {}\n  cause    {}\n  remedy   {}\n", text.empty() ? "" : "\n",
                            Heading(row), row.Meaning, row.Cause, row.Remedy);
    return text;
}

Json RowJson(const Explanation& row)
{
    return Json::Object{{"kind", KindName(row.Kind)}, {"number", row.Number}, {"name", row.Name},
                        {"meaning", row.Meaning},     {"cause", row.Cause},   {"remedy", row.Remedy}};
}

void Explain(const ExplainOptions& options)
{
    const std::span<const Explanation> all = Explanations();
    const std::vector<Explanation> rows =
        options.Words.empty() ? std::vector(all.begin(), all.end()) : FindExplanations(options.Words);
    if (options.Json)
    {
        Json::Array array;
        for (const Explanation& row : rows)
            array.push_back(RowJson(row));
        return fmt::print("{}", Json(std::move(array)).Text());
    }
    if (!options.Words.empty())
        return fmt::print("{}", Text(rows));
    const std::size_t width = TerminalWidth().value_or(std::numeric_limits<std::size_t>::max());
    for (const Explanation& row : rows)
    {
        const auto line = fmt::format("{:<8} {:<7} {:<35} {}", KindName(row.Kind), row.Number, row.Name, row.Meaning);
        fmt::print("{}\n", CutText(line, width));
    }
}

} // namespace

Command AddExplainCommand(Syntax app)
{
    const auto options = std::make_shared<ExplainOptions>();
    Syntax explain = app.AddCommand("explain", "Explain a status, flag, event or problem number");
    explain.AddTexts("NAME", options->Words,
                     "Name or number; before it, the kind: status, flag, event or problem. Without it, list all");
    AddJson(explain, options->Json, "Print a JSON array");
    return {explain, [options] { Explain(*options); }};
}
