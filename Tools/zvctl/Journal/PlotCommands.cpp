#include "PlotCommands.h"

#include <algorithm>
#include <array>
#include <fmt/core.h>
#include <span>
#include <string_view>
#include <utility>

namespace
{

/// What is drawn in one colour.
struct Style
{
    const char* Kind;
    const char* Look; ///< In the words of gnuplot.
};

constexpr auto StateStyles = std::to_array<Style>({
    {"present", "lc rgb '#a9d18e'"},
    {"problem", "lc rgb '#f4b183'"},
    {"absent", "lc rgb '#d9d9d9'"},
});
constexpr auto RequestStyles = std::to_array<Style>({
    {"request", "lc rgb '#1f5fa8'"},
    {"failed request", "lc rgb '#c00000'"},
});
// The marks have shapes of their own, so that the picture does not depend on colours.
constexpr auto MarkStyles = std::to_array<Style>({
    {"adapter", "pt 7 lc rgb '#404040'"},
    {"message", "pt 9 lc rgb '#1f5fa8'"},
    {"registry", "pt 5 lc rgb '#6a9a3b'"},
    {"driver", "pt 13 lc rgb '#8c6bb1'"},
    {"computer", "pt 11 lc rgb '#d9822b'"},
    {"fault", "pt 2 lc rgb '#c00000'"},
    {"library", "pt 6 lc rgb '#c00000'"},
});

/// Returns a text of gnuplot, in which only the quote has a meaning.
std::string Quoted(std::string_view text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted.append(c == '\'' ? 2 : 1, c >= 0 && c < ' ' ? '?' : c);
    return quoted + '\'';
}

/// Joins bars that no eye can separate, so that the picture of a long journal stays small.
std::vector<PlotBar> Joined(const std::vector<PlotBar>& bars, std::string_view kind, double gap)
{
    std::vector<PlotBar> joined;
    for (const PlotBar& bar : bars)
        if (!bar.Kind.starts_with(kind))
            continue;
        else if (!joined.empty() && bar.Begin - joined.back().End < gap)
            joined.back().End = std::max(joined.back().End, bar.End);
        else
            joined.push_back(bar);
    return joined;
}

/// Collects the commands. Lane 0 is at the top.
class Script
{
public:
    explicit Script(const Picture& picture) : Drawn(picture), Length(picture.End > 0 ? picture.End : 1) {}

    void AddBars(std::span<const Style> styles, std::vector<PlotBar> PlotLane::* bars, double height)
    {
        for (const Style& style : styles)
        {
            std::string rows;
            for (std::size_t i = 0; i < Drawn.Lanes.size(); ++i)
                for (const PlotBar& bar : Joined(Drawn.Lanes[i].*bars, style.Kind, Length / 4000))
                    rows += fmt::format("{0:.6f} {2:.2f} {0:.6f} {1:.6f} {3:.2f} {4:.2f}\n", bar.Begin, bar.End, Y(i),
                                        Y(i) - height, Y(i) + height);
            AddCurve(style, rows, "using 1:2:3:4:5:6 with boxxyerror");
        }
    }

    void AddMarks()
    {
        for (const Style& style : MarkStyles)
        {
            std::string rows;
            for (std::size_t i = 0; i < Drawn.Lanes.size(); ++i)
                if (const auto found = Drawn.Lanes[i].Marks.find(style.Kind); found != Drawn.Lanes[i].Marks.end())
                    for (const double second : found->second)
                        rows += fmt::format("{:.6f} {:.2f}\n", second, Y(i) + MarkOffset);
            AddCurve(style, rows, "using 1:2 with points ps 0.8");
        }
    }

    std::string Text(const std::string& file) const
    {
        constexpr std::size_t laneHeight = 60;
        std::string ticks;
        for (std::size_t i = 0; i < Drawn.Lanes.size(); ++i)
            ticks += fmt::format("{}{} {:.0f}", ticks.empty() ? "" : ", ", Quoted(Drawn.Lanes[i].Name), Y(i));
        return fmt::format(
            "set terminal svg noenhanced size 1000,{} dynamic background 'white' font 'sans-serif,12'\n"
            "set output {}\nset title {}\nset xlabel {}\nset xrange [0:{:.6f}]\nset yrange [{:.1f}:0.7]\n"
            "set ytics ({})\nset grid xtics\nset style fill solid\nset key below\n{}plot {}\n",
            160 + laneHeight * Drawn.Lanes.size(), Quoted(file), Quoted(Drawn.Title), Quoted(Drawn.AxisTitle), Length,
            Y(Drawn.Lanes.size()) + 0.3, ticks, Blocks,
            // Without a curve there would be no axes.
            Curves.empty() ? "NaN notitle" : Curves);
    }

private:
    static constexpr double MarkOffset = 0.38; // above the bars

    static double Y(std::size_t lane) { return -static_cast<double>(lane); }

    void AddCurve(const Style& style, const std::string& rows, const char* form)
    {
        if (rows.empty())
            return;
        const std::string block = fmt::format("$block{}", Count++);
        Blocks += fmt::format("{} << END\n{}END\n", block, rows);
        Curves += fmt::format("{}{} {} {} title '{}'", Curves.empty() ? "" : ", ", block, form, style.Look, style.Kind);
    }

    const Picture& Drawn;
    const double Length;
    std::size_t Count = 0;
    std::string Blocks;
    std::string Curves;
};

} // namespace

std::string PlotCommands(const Picture& picture, const std::string& file)
{
    constexpr double stateHeight = 0.3;
    constexpr double requestHeight = 0.14;
    Script script(picture);
    script.AddBars(StateStyles, &PlotLane::States, stateHeight);
    script.AddBars(RequestStyles, &PlotLane::Requests, requestHeight);
    script.AddMarks();
    return script.Text(file);
}
