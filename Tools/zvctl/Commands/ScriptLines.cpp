// Lines that scripts need besides the commands.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "EndSignals.h"
#include "Errors.h"
#include "EventFeed.h"
#include "Explanations.h"
#include "Options.h"

#include <algorithm>
#include <fmt/core.h>
#include <stdexcept>

namespace
{

void Sleep(std::chrono::milliseconds time)
{
    // Waits for signals and events, so that Ctrl-C ends it.
    WakeSignal& wake = EventFeed::OfSession().Wake();
    EndSignals::Take(wake);
    const auto deadline = WakeSignal::Clock::now() + time;
    while (WakeSignal::Clock::now() < deadline)
    {
        wake.Clear();
        if (EndSignals::Asked())
            throw std::runtime_error("interrupted");
        wake.WaitUntil(deadline);
    }
}

struct AssertOptions
{
    std::string Adapter;
    std::vector<std::string> Words; ///< [not] FLAG

    bool Negated() const { return Words.size() > 1; }
    const std::string& Flag() const { return Words.back(); }
};

/// @throws std::invalid_argument
void CheckWords(const AssertOptions& options)
{
    const std::vector<std::string> names = ExplainedNames(ExplainedKind::Flag);
    if (options.Negated() && options.Words.front() != "not")
        throw std::invalid_argument(fmt::format(R"("{}" is not "not")", options.Words.front()));
    if (std::ranges::find(names, options.Flag()) == names.end())
        throw std::invalid_argument(fmt::format("\"{}\" is none of {}", options.Flag(), Join(names, ", ")));
}

void Assert(const AssertOptions& options)
{
    const std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListSomeAdapters();
    const _ZV_SRVC_DEVICE_INFO& adapter = ChooseAdapter(adapters, options.Adapter);
    const std::vector<std::string_view> flags = FlagNames(adapter.StateFlags);
    const bool isSet = std::ranges::find(flags, options.Flag()) != flags.end();
    if (isSet == options.Negated())
        throw Failure(fmt::format("the flags of \"{}\" are {}; expected {}", Printable(FieldText(adapter.DeviceName)),
                                  FlagText(adapter.StateFlags), Join(options.Words, " ")));
}

Command AddAssert(Syntax app)
{
    const auto options = std::make_shared<AssertOptions>();
    Syntax command = app.AddCommand("assert", "Fail unless an adapter has a flag or, with not, lacks it");
    AddAdapter(command, options->Adapter);
    command.AddPath("FLAG", options->Words, "[not] FLAG", Join(ExplainedNames(ExplainedKind::Flag), ", "));
    command.AddFinalRead("FLAG", options->Adapter, [given = options.get()](const std::string&) { CheckWords(*given); });
    return {command, [options] { Assert(*options); }};
}

Command AddSleep(Syntax app)
{
    const auto time = std::make_shared<std::chrono::milliseconds>();
    Syntax command = app.AddCommand("sleep", "Wait for a time; fractions are possible");
    command
        .AddParsed(
            "SECONDS", [given = time.get()](const std::string& text) { *given = ParseSeconds(text); }, "Such as 0.5")
        .Required();
    return {command, [time] { Sleep(*time); }};
}

} // namespace

std::vector<Command> AddScriptLines(Syntax app)
{
    // LineRunner runs echo and expect-fail, because it does not parse their arguments.
    static std::vector<std::string> unused;
    Syntax echo = app.AddCommand("echo", "Print the words that follow");
    echo.AddTexts("TEXT", unused, "Any words");
    Syntax expectFail = app.AddCommand("expect-fail", "Succeed only if the command that follows fails");
    expectFail.AddTexts("COMMAND", unused, "A line; a syntax error in it remains an error").Required();
    return {AddAssert(app), {echo, [] {}}, {expectFail, [] {}}, AddSleep(app)};
}
