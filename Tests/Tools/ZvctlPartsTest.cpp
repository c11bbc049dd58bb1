// Parts of zvctl with inputs that no machine file brings about.
#include "AdapterQuery.h"
#include "AdapterView.h"
#include "DataText.h"
#include "Errors.h"
#include "EventView.h"
#include "LineRunner.h"
#include "RegistryValues.h"
#include "Session.h"
#include "TraceText.h"

#include <algorithm>
#include <cstring>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <tuple>

namespace
{

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

/// Answers GetZVDeviceList with a list that changes between the calls.
class ChangingManager final : public CDeviceManagerIntf
{
public:
    explicit ChangingManager(std::vector<std::uint32_t> counts) : Counts(std::move(counts)) {}

    unsigned int GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result) override
    {
        const std::uint32_t count = Counts[std::min(Calls++, Counts.size() - 1)];
        Patterns = request->Parameters->InstanceIdList;
        const auto need = static_cast<std::uint32_t>(count * sizeof(_ZV_SRVC_DEVICE_INFO));
        const bool fits = result->Buffer != nullptr && result->Length >= need;
        result->Length = need;
        if (!fits)
            return ZV_SRVC_ERR_BUFFER_TOO_SMALL;
        for (std::uint32_t index = 0; index < count; ++index)
            result->Buffer[index].StateFlags = index;
        return ZV_SRVC_SUCCESS;
    }
    unsigned int OpenDevice(const _ZV_SRVC_DEVICE_INFO*, _ZV_SRVC_INTERFACE_TYPE,
                            std::shared_ptr<CDeviceIntf>&) override
    {
        return ZV_SRVC_ERR_FAILURE;
    }
    unsigned int RegisterNotification(_ZV_WLAN_NOTIFY_HDLR*) override { return ZV_SRVC_ERR_FAILURE; }
    unsigned int DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR*) override { return ZV_SRVC_ERR_FAILURE; }
    unsigned int NicChangeState(std::shared_ptr<CDeviceIntf>&, std::uint8_t) override { return ZV_SRVC_ERR_FAILURE; }

    std::string Patterns;

private:
    std::vector<std::uint32_t> Counts; ///< Length of the list at each call; the last one stays.
    std::size_t Calls = 0;
};

TEST(AdapterQuery, FollowsAListThatChangesBetweenTheCalls)
{
    for (const auto& [counts, expected] : std::vector<std::pair<std::vector<std::uint32_t>, std::size_t>>{
             {{2}, 2}, {{1, 3}, 3}, {{1, 2, 5}, 5}, {{4, 1}, 1}})
    {
        ChangingManager manager(counts);
        const auto adapters = AdapterQuery("ZV_ALL", "one;two").Run(manager);
        ASSERT_EQ(adapters.size(), expected);
        EXPECT_EQ(adapters.back().StateFlags, expected - 1);
        EXPECT_EQ(manager.Patterns, "one;two");
    }
}

TEST(AdapterQuery, GivesUpOnAListThatNeverStopsGrowing)
{
    std::vector<std::uint32_t> counts;
    for (std::uint32_t count = 1; count < 100; ++count)
        counts.push_back(count);
    ChangingManager manager(counts);
    EXPECT_THROW(AdapterQuery("ZV_ALL", "").Run(manager), OperationFailed);
}

TEST(AdapterView, SurvivesForeignBytes)
{
    _ZV_SRVC_DEVICE_INFO adapter = {};
    std::memset(&adapter, 0xFF, offsetof(_ZV_SRVC_DEVICE_INFO, Reserved)); // neither UTF-8 nor terminated
    std::memcpy(adapter.DriverVersion, "1.0\n\x1B[2J", 9);
    EXPECT_THAT(AdapterJson({adapter}), HasSubstr("\"netCfgInstanceId\": \"\uFFFD"));
    EXPECT_THAT(AdapterTable({adapter}), HasSubstr("1.0??[2J "));
}

TEST(AdapterView, NamesFlagsAndBuses)
{
    EXPECT_THAT(FlagNames(0), ElementsAre("ready"));
    EXPECT_THAT(FlagNames(0x18), ElementsAre("ready", "driver-changed", "driver-uninstalled"));
    EXPECT_THAT(FlagNames(0x5), ElementsAre("problem", "absent"));
    EXPECT_EQ(BusOf("zvwlans"), "SDIO");
    EXPECT_EQ(BusOf("zvwlan"), "?");
    EXPECT_EQ(BusOf(""), "?");
}

_ZV_SRVC_DEVICE_INFO Adapter(const std::string& identity, std::uint32_t flags, const std::string& version)
{
    _ZV_SRVC_DEVICE_INFO adapter = {};
    std::ranges::copy(identity, adapter.NetCfgInstanceId);
    std::ranges::copy("Name " + identity, adapter.DeviceName);
    std::ranges::copy(version, adapter.DriverVersion);
    adapter.StateFlags = flags;
    return adapter;
}

TEST(EventView, TellsAdaptersThatJoinChangeAndLeave)
{
    const auto changes = CompareLists({Adapter("1", 0, "1"), Adapter("2", 0, "1"), Adapter("3", 0, "1")},
                                      {Adapter("4", 1, "\x1B"), Adapter("2", 0x15, "2"), Adapter("1", 0, "1")});
    const AdapterEvent event = {0x123, {}};
    EXPECT_THAT(EventText(event, changes),
                EndsWith(" event 0x123        Name 4: new, problem, driver ?; "
                         "Name 2: ready -> problem,absent,driver-uninstalled, driver 1 -> 2; "
                         "Name 3: not listed any more"));
    const auto list = nlohmann::json::parse(EventJson(event, changes)).at("changes");
    EXPECT_TRUE(list.at(0).at("before").is_null());
    EXPECT_EQ(list.at(1).at("after").at("stateFlags"), 0x15);
    EXPECT_EQ(list.at(2).at("netCfgInstanceId"), "3");
    EXPECT_TRUE(list.at(2).at("after").is_null());
    EXPECT_THAT(EventJson({1, {}}, {{Adapter("\xFF", 0, ""), std::nullopt}}), HasSubstr("\uFFFD"));
}

TEST(LineRunner, CompletesCommandsAdaptersEventsAndOptions)
{
    InstallMachine("");
    LineRunner runner;
    for (const auto& [before, word, expected] : std::vector<std::tuple<const char*, const char*, const char*>>{
             {"", "un", "uninstall unplug"},
             {" ", "reg", "reg"},
             {"reg ", "", "delete read write"},
             {"reg read ", "wl9", "WL900E"},
             {"info --json ", "{c7", "{C7E45D19-08B2-4A6F-8F31-D29A6B7E5C03}"},
             {"plug ", "GIGA", "Gigabit"},
             {"plug ", "Wi", ""}, // a word of several names
             {"plug 0 ", "", ""},
             {"wait ", "s", "status-changed suspend"},
             {"watch ", "--", "--count --for --help --json"},
             {"info 'open ", "wl", ""},
         })
    {
        std::vector<std::string> texts = runner.Complete(before, word);
        std::ranges::sort(texts);
        EXPECT_EQ(fmt::format("{}", fmt::join(texts, " ")), expected) << before << word;
    }
}

TEST(RegistryValues, SurviveWhatDoesNotFitTheirType)
{
    EXPECT_EQ(ValueText({1, {'n', 'o', '\n', 'e'}}), "no?e\n");
    EXPECT_EQ(ValueText({1, {'a', 0, 'b'}}), "a\n");
    EXPECT_EQ(ValueText({4, {1, 2}}), HexDump(Bytes{1, 2}));
    EXPECT_EQ(JsonText(ValueJson({11, {0xFF}})), "{\n  \"type\": \"11\",\n  \"value\": \"ff\"\n}\n");
    EXPECT_THAT(JsonText(ValueJson({2, {0xFF}})), HasSubstr("\"value\": \"\uFFFD\""));
}

TEST(TraceText, FillsArgumentsAndForgivesBrokenOnes)
{
    const std::vector<std::uint8_t> number = {0xFE, 0, 0, 0};
    const std::vector<std::uint8_t> text = {'a', '\n', 'b', 0, 'x'};
    const ZVTraceMessage row = {ZVTraceUnit::Service, 10, 3, TRACE_FLAG_SERVICE, "%s|%u|%x|100%"};
    EXPECT_EQ(TraceMessageText(row, {text, number, number, text}), "a?b|254|fe|100%");
    EXPECT_EQ(TraceMessageText(row, {{'n', 'o'}, {1, 2, 3}, {}}), "no|<?>|<?>|100%");
    EXPECT_EQ(TraceMessageText(row, {}), "<?>|<?>|<?>|100%");
}

TEST(TraceText, ReadsSettings)
{
    const auto read = [](const char* text) {
        const TraceSettings settings = ParseTraceSettings(text);
        return std::pair<unsigned, std::uint32_t>(settings.Level, settings.Flags);
    };
    EXPECT_EQ(read("4"), std::pair(4U, 0x1FU));
    EXPECT_EQ(read("3:5"), std::pair(3U, 5U));
    EXPECT_EQ(read("0x2:0XFFFFFFFF"), std::pair(2U, 0xFFFFFFFFU));
    for (const char* wrong : {"", ":", "4:", ":1", "-1", "4 ", "0x", "4:0x100000000", "4:1:1"})
        EXPECT_THROW(ParseTraceSettings(wrong), std::invalid_argument) << wrong;
}

} // namespace
