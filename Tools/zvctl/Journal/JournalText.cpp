#include "JournalText.h"

#include "Terminal.h"

#include "AdapterView.h"
#include "DataText.h"
#include "Terminal.h"

#include <algorithm>
#include <array>
#include <fmt/chrono.h>
#include <fmt/core.h>
#include <iterator>
#include <utility>

using Platform::JsonNode;

namespace
{

/// The same as a number and in hexadecimal, for messages and errors that are known by either.
std::string NumberText(std::uint64_t number)
{
    return fmt::format("{} (0x{:x})", number, number);
}

std::string InterfaceMessageText(const JsonNode& data)
{
    constexpr auto names = std::to_array<std::pair<std::uint32_t, const char*>>({
        {0x8000, "arrival"},
        {0x8001, "query before a removal"},
        {0x8002, "removal denied"},
        {0x8003, "removal pending"},
        {0x8004, "removal complete"},
    });
    const std::uint32_t event = data.Member("event").Number();
    const auto* const name = std::ranges::find(names, event, &std::pair<std::uint32_t, const char*>::first);
    return name == names.end() ? fmt::format("event 0x{:x}", event) : fmt::format("0x{:x}, {}", event, name->second);
}

std::string BroadcastText(const JsonNode& data)
{
    constexpr std::uint32_t power = 0x218;
    const std::uint32_t message = data.Member("message").Number();
    const std::uint64_t parameter = data.Member("wParam").LongNumber();
    const char* name = "";
    if (message == power && parameter == 4)
        name = ", suspend";
    else if (message == power && (parameter == 7 || parameter == 18))
        name = ", resume";
    return fmt::format("message 0x{:x}, parameter 0x{:x}{}", message, parameter, name);
}

std::string ValueWords(const JsonNode& value)
{
    constexpr std::size_t most = 60;
    const JsonNode type = value.Member("type");
    const std::string name = type.IsNumber() ? fmt::format("type {}", type.Number()) : type.Text();
    return fmt::format("{} {}", name, CutText(value.Member("value").Json(), most));
}

/// Returns the number of bytes and the first ones.
std::string BytesText(const Bytes& bytes)
{
    constexpr std::size_t most = 16;
    if (bytes.empty())
        return "no bytes";
    const std::string hex = HexText(std::span(bytes).first(std::min(bytes.size(), most)));
    return fmt::format("{} byte{} {}{}", bytes.size(), bytes.size() == 1 ? "" : "s", hex,
                       bytes.size() > most ? "\u2026" : "");
}

std::string RequestText(const JsonNode& data)
{
    const std::uint32_t error = data.Member("error").Number();
    return fmt::format("0x{:x}: in {}; out {} of {}; {}; {:.3f} ms; process {}, thread {}",
                       data.Member("code").Number(), BytesText(data.Member("input").Hexadecimal()),
                       BytesText(data.Member("output").Hexadecimal()), data.Member("outputRoom").Number(),
                       error == 0 ? "success" : fmt::format("error {}", NumberText(error)),
                       static_cast<double>(data.Member("durationUs").LongNumber()) / 1000.0,
                       data.Member("processId").Number(), data.Member("threadId").Number());
}

std::string AttachedText(const JsonNode& data)
{
    const std::string module = data.Member("module").Text();
    return module.empty() ? "driver of the program" : fmt::format("{} {}", module, data.Member("settings").Json());
}

std::string FailText(const JsonNode& data)
{
    return fmt::format("{}: call {} from now, {} in all, error {}", data.Member("function").Text(),
                       data.Member("nth").Number(), data.Member("count").Number(),
                       NumberText(data.Member("error").Number()));
}

/// Of changes that name adapters; see JournalAdapters::Apply.
std::string NoText(const JsonNode& /*data*/)
{
    return "";
}

struct KindRow
{
    const char* Kind;
    const char* Words;
    std::string (*Details)(const JsonNode& data);
};

constexpr auto Kinds = std::to_array<KindRow>({
    {"adapterAdded", "adapter added", NoText},
    {"adapterChanged", "adapter changed",
     [](const JsonNode& data) { return std::string(data.Member("messages").Flag() ? "" : "no messages"); }},
    {"adapterRemoved", "adapter removed", NoText},
    {"driverUninstalled", "driver uninstalled", NoText},
    {"interfaceMessage", "interface message", InterfaceMessageText},
    {"keyCreated", "key created", NoText},
    {"keyDeleted", "key deleted", NoText},
    {"valueSet", "value set",
     [](const JsonNode& data) {
         return fmt::format("{} = {}", data.Member("name").Text(), ValueWords(data.Member("value")));
     }},
    {"valueDeleted", "value deleted", [](const JsonNode& data) { return data.Member("name").Text(); }},
    {"broadcast", "broadcast", BroadcastText},
    {"rightsChanged", "rights changed",
     [](const JsonNode& data) {
         return std::string(data.Member("administrator").Flag() ? "administrator" : "no administrator");
     }},
    {"eventChanged", "event changed",
     [](const JsonNode& data) {
         return fmt::format("{} {}", data.Member("name").Text(), data.Member("signalled").Flag() ? "set" : "reset");
     }},
    {"deviceAttached", "driver attached", AttachedText},
    {"driverConfigured", "driver configured", [](const JsonNode& data) { return data.Member("settings").Json(); }},
    {"callsFail", "calls fail", FailText},
    {"faultsCleared", "faults cleared", NoText},
    {"callsHeld", "calls held",
     [](const JsonNode& data) {
         return fmt::format("{} {}", data.Member("function").Text(), data.Member("held").Flag() ? "held" : "released");
     }},
    {"request", "request", RequestText},
    {"libraryEvent", "library event", NoText},
});

/// Appends a text after a separator, if there is one.
void Append(std::string& texts, const std::string& text, const char* separator = ", ")
{
    if (!text.empty())
        texts.append(texts.empty() ? "" : separator).append(text);
}

/// @param place what the change concerns, as far as the adapter does not say it.
void AddPlace(ChangeWords& words, std::optional<std::size_t> owner, const std::string& place, const char* separator)
{
    if (owner)
        words.Adapters.push_back(*owner);
    const std::string details = std::exchange(words.Details, place);
    Append(words.Details, details, separator);
}

/// Names the adapter to which a device or a registry key belongs.
void AddOwner(ChangeWords& words, const JsonNode& data, const JournalAdapters& adapters)
{
    if (data.HasMember("path"))
    {
        std::string path = data.Member("path").Text();
        const auto owner = adapters.OfRegistryKey(path);
        AddPlace(words, owner, path, "\\");
    }
    else if (const bool isAttached = data.HasMember("module"); isAttached || data.HasMember("device"))
    {
        const std::string name = data.Member(isAttached ? "name" : "device").Text();
        const auto owner = adapters.OfDevice(name);
        AddPlace(words, owner, owner ? "" : name, ": ");
    }
}

} // namespace

ChangeWords Describe(const JournalLine& line, JournalAdapters& adapters)
{
    const JsonNode data = line.Data();
    const auto* const row = std::ranges::find(Kinds, line.Kind, [](const KindRow& each) { return each.Kind; });
    // A journal of a later version may have kinds that this program has no words for.
    ChangeWords words =
        row == Kinds.end() ? ChangeWords{line.Kind, data.Json()} : ChangeWords{row->Words, row->Details(data)};
    if (line.Kind == "libraryEvent")
        words.Kind = "event " + data.Member("name").Text();
    AddOwner(words, data, adapters);
    std::string differences;
    const std::vector<AdapterUpdate> updates = adapters.Apply(line);
    for (const AdapterUpdate& update : updates)
    {
        words.Adapters.push_back(update.Index);
        const std::string& name = adapters.All()[update.Index].Name;
        Append(differences, updates.size() == 1 ? update.Text : fmt::format("{} {}", name, update.Text), "; ");
    }
    Append(differences, words.Details, "; ");
    words.Details = Printable(differences);
    return words;
}

std::string AdapterNames(const ChangeWords& words, const JournalAdapters& adapters)
{
    std::string names;
    for (const std::size_t index : words.Adapters)
        Append(names, Printable(adapters.All()[index].Name));
    return names;
}

std::string LocalText(JournalTime time)
{
    using namespace std::chrono;
    const auto second = floor<seconds>(time);
    return fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03}", fmt::localtime(system_clock::to_time_t(second)),
                       duration_cast<milliseconds>(time - second).count());
}
