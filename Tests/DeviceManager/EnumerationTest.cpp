/// The walk over the network class: which devices it takes and what it makes of them.

#include "Hosting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace
{

using Platform::AdapterDescription;

/// Lists a machine with one adapter that is changed by `change`.
Listing ListOne(const std::function<void(AdapterDescription&)>& change, std::string_view filter = "ZV_ALL")
{
    Platform::ScopedMachine machine;
    AdapterDescription adapter = GivenAdapter("{one}", "zvwlanu");
    change(adapter);
    machine->AddAdapter(adapter);
    return List(*MakeManager(), filter);
}

TEST(Enumeration, SkipsADeviceForEachReasonAndNoOther)
{
    const struct
    {
        const char* What;
        std::function<void(AdapterDescription&)> Change;
        bool Listed;
    } cases[] = {
        {"as it is", [](AdapterDescription&) {}, true},
        {"unplugged", [](AdapterDescription& a) { a.Present = false; }, false},
        {"node unreadable", [](AdapterDescription& a) { a.Readable = false; }, false},
        {"hidden", [](AdapterDescription& a) { a.Hidden = true; }, false},
        {"no hardware ID", [](AdapterDescription& a) { a.HardwareId.reset(); }, false},
        {"no driver property", [](AdapterDescription& a) { a.AssignDriverKey = false; }, false},
        {"empty driver property", [](AdapterDescription& a) { a.DriverKey = u""; }, false},
        {"no driver key", [](AdapterDescription& a) { a.HasDriverKey = false; }, false},
        {"no Linkage", [](AdapterDescription& a) { a.HasLinkage = false; }, false},
        {"no NDI", [](AdapterDescription& a) { a.HasNdi = false; }, false},
        {"another service", [](AdapterDescription& a) { a.Service = "othernic"; }, false},
        {"upper-case service", [](AdapterDescription& a) { a.Service = "ZVWLANU"; }, true},
        {"part of a service", [](AdapterDescription& a) { a.Service = "wlanu"; }, true},
        {"no service", [](AdapterDescription& a) { a.Service.reset(); }, true},
        {"disabled", [](AdapterDescription& a) { a.Problem = 22; }, true},
        {"no identity", [](AdapterDescription& a) { a.NetCfgInstanceId.reset(); }, true},
    };
    for (const auto& [what, change, listed] : cases)
    {
        Platform::ScopedMachine machine;
        AdapterDescription adapter = GivenAdapter("{one}", "zvwlanu");
        change(adapter);
        machine->AddAdapter(adapter);
        machine->AddAdapter(GivenAdapter("{two}", "zvwlans")); // A skipped device does not end the enumeration.
        EXPECT_EQ(List(*MakeManager(), "ZV_ALL").Records.size(), listed ? 2U : 1U) << what;
        EXPECT_EQ(Platform::CountOpenObjects().RegistryKeys + Platform::CountOpenObjects().DeviceSets, 0U) << what;
    }
}

TEST(Enumeration, TheNameIsTheFirstPropertyThatHasText)
{
    using Text = std::optional<std::u16string>;
    const struct
    {
        Text Friendly, Description, Class, ClassGuid;
        const char* Name;
    } cases[] = {
        {u"Friendly", u"Description", u"Net", u"{guid}", "Friendly"},
        {u"", u"Description", u"Net", u"{guid}", "Description"},
        {{}, u"Description", u"Net", u"{guid}", "Description"},
        {std::u16string(100, u'x'), u"Description", {}, {}, "Description"}, // Does not fit 100 units with its NUL.
        {{}, {}, u"Net", u"{guid}", "Net"},
        {{}, u"", {}, u"{guid}", "{guid}"},
        {{}, {}, {}, {}, "<Unknown Device>"},
        {u"\u007F\u0080\u07FF\u0800\uFFFF", {}, {}, {}, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {u"\U0001F600", {}, {}, {}, "\xED\xA0\xBD\xED\xB8\x80"}, // The halves of a pair are not joined.
    };
    for (const auto& row : cases)
    {
        const Listing listing = ListOne([&](AdapterDescription& a) {
            a.FriendlyName = row.Friendly;
            a.Description = row.Description;
            a.ClassName = row.Class;
            a.ClassGuid = row.ClassGuid;
        });
        ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS) << row.Name;
        EXPECT_STREQ(listing.Records[0].DeviceName, row.Name);
    }
}

TEST(Enumeration, FillsEveryFieldByteForByte)
{
    const Listing listing = ListOne([](AdapterDescription& a) {
        a.FriendlyName = u"Zorvane USB";
        a.Service = "ZvWlanU";
        a.Problem = 22;
        a.AssignDriverKey = false;
        a.DriverKey = u"{4D36E972-E325-11CE-BFC1-08002BE10318}\\0042";
    });
    ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS);
    std::string expected(724, '\0');
    const auto put = [&](std::size_t offset, std::string_view text) { expected.replace(offset, text.size(), text); };
    put(0, "Zorvane USB");
    put(200, "0042");
    put(205, "USB\\VID_1234\\{one}");
    put(505, "1.2.3.4");
    put(555, "{one}");
    put(605, "Zorvane.ndi");
    put(655, "zvwlanu");
    put(720, "\x01");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(listing.Records.data()), 724), expected);
}

TEST(Enumeration, ADriverKeyIndexThatDoesNotFitIsLeftEmpty)
{
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"{class}\\0042", "0042"}, {u"{class}\\10042", ""}, {u"{a}\\{b}\\7", "7"}, {u"bare", "bare"}, {u"barer", ""}};
    for (const auto& [driverKey, index] : cases)
    {
        const Listing listing = ListOne([key = driverKey](AdapterDescription& a) { a.DriverKey = key; });
        ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS);
        EXPECT_STREQ(listing.Records[0].DriverKeyIndex, index);
    }
}

/// Text stored without its NUL, for a field of 50 bytes.
TEST(Enumeration, AFieldIsTruncatedBetweenCodePointsAndTerminated)
{
    const std::string pair = "\xED\xA0\xBD\xED\xB8\x80";
    const auto fill = [](std::size_t size) { return std::string(size, 'v'); };
    const struct
    {
        std::string Stored;
        std::string Kept;
    } cases[] = {
        {"", ""},
        {fill(49), fill(49)},
        {fill(50), fill(49)},
        {fill(51), ""}, // Does not fit.
        {fill(20) + '\0' + fill(20), fill(20)},
        {fill(48) + "\xC3\xBC", fill(48)},
        {fill(47) + "\xE2\x82\xAC", fill(47)},
        {fill(44) + pair, fill(44)},
        {fill(43) + pair + 'v', fill(43) + pair},
        {std::string(50, '\x80'), std::string(49, '\x80')},
    };
    for (const auto& [stored, kept] : cases)
    {
        const Listing listing =
            ListOne([&](AdapterDescription& a) { a.Values["DriverVersion"] = {1, {stored.begin(), stored.end()}}; });
        ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS);
        const _ZV_SRVC_DEVICE_INFO& record = listing.Records[0];
        EXPECT_EQ(std::string(record.DriverVersion, 50), kept + std::string(50 - kept.size(), '\0')) << stored;
        EXPECT_STREQ(record.NetCfgInstanceId, "{one}");
    }
}

TEST(Enumeration, AFilterTextHasAtMost49Characters)
{
    const auto change = [](AdapterDescription& a) { a.Service = std::string(80, 'Q'); };
    EXPECT_EQ(ListOne(change, std::string(49, 'q')).Status, ZV_SRVC_ERR_NO_DEVICE);
}

TEST(Enumeration, AFailedSetUpCallEndsTheEnumerationAndAFailedReadSkipsTheDevice)
{
    const struct
    {
        const char* Call;
        unsigned int Status;
        std::uint32_t Error = 5;
    } cases[] = {
        {"SetupDiClassGuidsFromNameW", ZV_SRVC_ERR_FAILURE},
        {"SetupDiGetClassDevsW", ZV_SRVC_ERR_FAILURE},
        {"SetupDiOpenClassRegKey", ZV_SRVC_ERR_FAILURE},
        {"SetupDiEnumDeviceInfo", ZV_SRVC_ERR_NO_DEVICE},
        {"CM_Get_DevNode_Status", ZV_SRVC_ERR_NO_DEVICE},
        {"SetupDiGetDeviceRegistryPropertyW", ZV_SRVC_ERR_NO_DEVICE},
        {"RegOpenKeyW", ZV_SRVC_ERR_NO_DEVICE},
        {"RegOpenKeyA", ZV_SRVC_ERR_NO_DEVICE},
        {"RegQueryValueExA", ZV_SRVC_SUCCESS},
        {"RegQueryValueExA", ZV_SRVC_ERR_NO_DEVICE, 1018}, // The driver is being uninstalled.
    };
    for (const auto& [call, status, error] : cases)
    {
        Platform::ScopedMachine machine;
        machine->AddAdapter(GivenAdapter("{one}", "zvwlanu"));
        const auto manager = MakeManager();
        machine->FailCall(call, 1, error);
        EXPECT_EQ(List(*manager, "ZV_ALL").Status, status) << call;
        machine->ClearFaults();
        EXPECT_EQ(List(*manager, "ZV_ALL").Status, ZV_SRVC_SUCCESS) << call << ": an empty list is enumerated again";
        EXPECT_EQ(Platform::CountOpenObjects().Total() - Platform::CountOpenObjects().TraceProviders, 0U) << call;
    }
}

} // namespace
