#include "VirtualScript.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

constexpr std::pair<std::string_view, VirtualScript::Verb> Verbs[] = {
    {"remove ", VirtualScript::Verb::Remove},
    {"arrive ", VirtualScript::Verb::Arrive},
    {"suspend", VirtualScript::Verb::Suspend},
    {"resume", VirtualScript::Verb::Resume},
};

/// Parses a text that consists of one number up to `most`.
std::optional<unsigned> Number(std::string_view text, std::size_t most)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > most)
        return std::nullopt;
    return number;
}

/// Parses "MILLISECONDS:VERB" or "MILLISECONDS:VERB ADAPTER".
std::optional<VirtualScript::Step> ParseStep(std::string_view text, std::size_t adapterCount)
{
    constexpr std::size_t oneHour = 3'600'000;
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto pause = Number(text.substr(0, colon), oneHour);
    const std::string_view command = text.substr(colon + 1);
    const auto* const verb =
        std::ranges::find_if(Verbs, [&](const auto& row) { return command.starts_with(row.first); });
    if (!pause || verb == std::end(Verbs))
        return std::nullopt;
    const std::string_view rest = command.substr(verb->first.size());
    const bool namesAdapter = verb->first.ends_with(' ');
    const auto adapter = namesAdapter ? Number(rest, adapterCount - 1) : 0;
    if (!adapter || (!namesAdapter && !rest.empty()))
        return std::nullopt;
    return VirtualScript::Step{std::chrono::milliseconds(*pause), verb->second, *adapter};
}

} // namespace

VirtualScript::VirtualScript(std::size_t adapters, std::function<void(const Step&)> carryOut)
    : AdapterCount(adapters), CarryOut(std::move(carryOut)), Thread([this] { Run(); })
{
}

VirtualScript::~VirtualScript()
{
    {
        const Platform::ScopedLock guard(Lock);
        Stopping = true;
        Changed.NotifyAll();
    }
    Thread.join();
}

void VirtualScript::Append(std::string_view text)
{
    const std::vector<Step> steps = Parse(text);
    const Platform::ScopedLock guard(Lock);
    Steps.insert(Steps.end(), steps.begin(), steps.end());
    Changed.NotifyAll();
}

std::vector<VirtualScript::Step> VirtualScript::Parse(std::string_view text) const
{
    std::vector<Step> steps;
    for (std::size_t begin = 0; begin <= text.size();)
    {
        const std::string_view part = text.substr(begin, text.find(';', begin) - begin);
        const std::optional<Step> step = ParseStep(part, AdapterCount);
        if (!step)
            throw std::invalid_argument(
                "\"" + std::string(part) +
                "\" is no step: MILLISECONDS:remove N, :arrive N, :suspend or :resume, N from 0 to " +
                std::to_string(AdapterCount - 1));
        steps.push_back(*step);
        begin += part.size() + 1;
    }
    return steps;
}

void VirtualScript::Run()
{
    Platform::ScopedLock guard(Lock);
    for (Step step{}; TakeStep(step);)
    {
        guard.Unlock();
        CarryOut(step);
        guard.Lock();
    }
}

/// Waits for the next step and then for its delay. Returns false when the script stops.
bool VirtualScript::TakeStep(Step& step)
{
    while (!Stopping && Steps.empty())
        Changed.Wait(Lock);
    if (Stopping)
        return false;
    step = Steps.front();
    Steps.pop_front();
    const auto due = std::chrono::steady_clock::now() + step.Pause;
    while (!Stopping && std::chrono::steady_clock::now() < due)
        Changed.WaitUntil(Lock, due);
    return !Stopping;
}
