// Demonstrates everything that a host can do with an adapter.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "ControlRequest.h"
#include "Diagnosis.h"
#include "Errors.h"
#include "Library.h"
#include "Options.h"
#include "RegistryValues.h"
#include "StandInCommands.h"
#include "TourEvents.h"

#include <algorithm>
#include <fmt/core.h>
#include <stdexcept>

namespace
{

using Adapters = std::vector<_ZV_SRVC_DEVICE_INFO>;

// The item and the codes of the sample drivers.
constexpr std::uint32_t Item = 0x10;
constexpr std::uint32_t ItemSize = 6;
constexpr std::uint32_t SyncCode = 0x222000;
constexpr std::uint32_t AsyncCode = 0x222004;
constexpr std::uint32_t AsyncSize = 450;
// A response ends with a chunk that is shorter than ZV_RSP_CHUNK_SIZE, hence the additional one.
constexpr std::uint32_t AsyncChunks = AsyncSize / ZV_RSP_CHUNK_SIZE + 1;
constexpr std::chrono::seconds Patience{4};

/// Counts down, so that it differs from a response that counts up.
Bytes AsyncInput()
{
    Bytes input(AsyncSize);
    std::ranges::generate(input, [next = std::uint8_t{0}]() mutable { return --next; });
    return input;
}

/// Returns the first and the last bytes.
std::string Ends(const Bytes& data)
{
    const std::span all(data);
    return fmt::format("{} .. {}", HexText(all.first(4), " "), HexText(all.last(4), " "));
}

/// Runs the steps with one adapter. A failed step does not end the tour unless later ones depend on it.
class Tour
{
public:
    explicit Tour(bool json) : Steps(json) {}

    void Run(const std::string& wanted);

private:
    template <class Action>
    bool Step(std::string_view name, const Action& action)
    {
        return Steps.Step(name, action);
    }

    std::string List();
    std::string Choose(const std::string& wanted);
    std::string Open();
    void VisitItem();
    void VisitRequests();
    void VisitRegistry();

    TourSteps Steps;
    Adapters Listed;
    _ZV_SRVC_DEVICE_INFO Chosen = {};
    std::shared_ptr<CDeviceIntf> Device;
};

std::string Tour::List()
{
    Listed = ListAdapters();
    return fmt::format("{} adapter{}", Listed.size(), Listed.size() == 1 ? "" : "s");
}

std::string Tour::Choose(const std::string& wanted)
{
    const auto chosen =
        wanted.empty()
            ? std::ranges::find_if(
                  Listed, [](const auto& adapter) { return (adapter.StateFlags & ZV_DEV_UNAVAILABLE_MASK) == 0; })
            : Listed.begin() + (&ChooseAdapter(Listed, wanted) - Listed.data());
    if (chosen == Listed.end())
        throw std::runtime_error("no adapter is ready");
    Chosen = *chosen;
    return fmt::format("{} {}", Printable(FieldText(Chosen.NetCfgInstanceId)), Printable(FieldText(Chosen.DeviceName)));
}

/// A driver that does not answer fails this step, because the tour sends requests to it.
std::string Tour::Open()
{
    const auto start = std::chrono::steady_clock::now();
    const unsigned int status = SessionManager()->OpenDevice(&Chosen, ZV_SRVC_DEVICE_UWP, Device);
    if (status != ZV_SRVC_SUCCESS)
        throw OpenFailure(Chosen, status, std::chrono::steady_clock::now() - start, "");
    return fmt::format("{} ({})", ZVStatusName(status), status);
}

/// Restores the item.
void Tour::VisitItem()
{
    Bytes before;
    const bool known = Step("get", [&] {
        before = QueryItem(*Device, Item, ItemSize);
        return fmt::format("item 0x{:x} is {}", Item, HexText(before, " "));
    });
    const Bytes other = {0x5A, 0x56, 0x03, 0x02, 0x01, 0x00};
    Step("set", [&] {
        SetItem(*Device, Item, other);
        return fmt::format("item 0x{:x} to {}", Item, HexText(other, " "));
    });
    Step("get", [&] {
        const Bytes after = QueryItem(*Device, Item, ItemSize);
        if (after != other)
            throw std::runtime_error(
                fmt::format("item 0x{:x} is {}, not the value that was set", Item, HexText(after, " ")));
        return fmt::format("item 0x{:x} is {}, as set", Item, HexText(after, " "));
    });
    if (known)
        Step("set", [&] {
            SetItem(*Device, Item, before);
            return fmt::format("item 0x{:x} back to {}", Item, HexText(before, " "));
        });
}

void Tour::VisitRequests()
{
    Step("ioctl", [&] {
        const Bytes input = {0xC0, 0xFF, 0xEE, 0x00};
        const Bytes output = SendAndWait(*Device, {.Code = SyncCode, .Input = input, .OutputSize = 4});
        return fmt::format("request 0x{:x}: sent {}, received {}", SyncCode, HexText(input, " "), HexText(output, " "));
    });
    Step("ioctl async", [&] {
        const Bytes output = SendAndAwaitCallback(
            Device, {.Code = AsyncCode, .Id = 2, .Input = AsyncInput(), .OutputSize = AsyncSize}, Patience);
        return fmt::format("request 0x{:x}: sent {} bytes, callback with status 0, received {} bytes in {} chunks: {}",
                           AsyncCode, AsyncSize, output.size(), AsyncChunks, Ends(output));
    });
}

void Tour::VisitRegistry()
{
    const ValuePlace place = {"", "ZvctlTour"};
    const auto written = ParseValue("sz", "was here");
    Step("reg write", [&] {
        WriteValue(*Device, place, written);
        return fmt::format("{} = \"was here\" (sz)", place.Name);
    });
    Step("reg read", [&] {
        const RegistryValue value = ReadValue(*Device, place);
        if (value != written)
            throw std::runtime_error(fmt::format("{} differs from the written value", place.Name));
        return fmt::format("{} = \"was here\" ({})", place.Name, ValueTypeName(value.Type));
    });
    Step("reg delete", [&] {
        DeleteValue(*Device, place);
        return place.Name;
    });
}

void Tour::Run(const std::string& wanted)
{
    if (Step("list", [&] { return List(); }) && Step("choose", [&] { return Choose(wanted); }))
        Step("open", [&] { return Open(); });
    // The later steps are independent of each other, so each runs even if an earlier one failed.
    if (Device != nullptr)
    {
        VisitItem();
        VisitRequests();
        VisitRegistry();
        VisitEvents(Steps, Device);
    }
    if (Steps.Failed() != 0)
        throw std::runtime_error(fmt::format("{} of the steps failed", Steps.Failed()));
}

} // namespace

Command AddTourCommand(Syntax app)
{
    struct Options
    {
        std::string Adapter;
        bool Json = false;
    };
    const auto options = std::make_shared<Options>();
    Syntax tour = app.AddCommand("tour", "Demonstrate everything with one adapter (default: the first ready one)");
    tour.AddText("ADAPTER", options->Adapter, "Index in the list, or an unambiguous part of ID or name");
    AddJson(tour, options->Json, "Print one JSON object per line");
    return {tour, [options] { Tour(options->Json).Run(options->Adapter); }};
}
