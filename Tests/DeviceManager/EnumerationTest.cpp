/// The walk over the network class: which devices it takes and what it makes of them.

#include "Hosting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace
{

using Platform::AdapterDescription;
using Platform::RegistryValue;

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
        EXPECT_EQ(ListOne(change).Status, listed ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_NO_DEVICE) << what;
}

TEST(Enumeration, ASkippedDeviceDoesNotEndTheEnumeration)
{
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
    AdapterDescription broken = GivenAdapter("{b}", "zvwlanu");
    broken.HasLinkage = false;
    machine->AddAdapter(broken);
    machine->AddAdapter(GivenAdapter("{c}", "zvwlans"));
    EXPECT_EQ(List(*MakeManager(), "ZV_ALL").Identities(), (std::vector<std::string>{"{a}", "{c}"}));
    EXPECT_EQ(Platform::CountOpenObjects().RegistryKeys, 0U);
    EXPECT_EQ(Platform::CountOpenObjects().DeviceSets, 0U);
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
        {u"Gr\u00FCn", {}, {}, {}, "Gr\xC3\xBCn"},
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

TEST(Enumeration, ALongNameIsTruncatedToItsField)
{
    const Listing listing = ListOne([](AdapterDescription& a) { a.FriendlyName = std::u16string(99, u'\u20AC'); });
    ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS);
    EXPECT_EQ(std::string(listing.Records[0].DeviceName).size(), 198U) << "66 whole signs of 3 bytes";
    EXPECT_EQ(listing.Records[0].DeviceName[198], '\0');
    EXPECT_EQ(listing.Records[0].DeviceName[199], '\0');
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

TEST(Enumeration, EveryFieldIsTerminatedWhateverTheRegistryContains)
{
    const auto raw = [](std::size_t size) {
        return RegistryValue{1, std::vector<std::uint8_t>(size, 'v')}; // Text stored without its NUL.
    };
    for (const std::size_t size : {0U, 1U, 48U, 49U, 50U, 51U, 99U, 100U, 300U})
    {
        const Listing listing = ListOne([&](AdapterDescription& a) { a.Values["DriverVersion"] = raw(size); });
        ASSERT_EQ(listing.Status, ZV_SRVC_SUCCESS);
        const _ZV_SRVC_DEVICE_INFO& record = listing.Records[0];
        EXPECT_EQ(strnlen(record.DriverVersion, 50), size <= 49 ? size : size == 50 ? 49 : 0) << size;
        EXPECT_STREQ(record.NetCfgInstanceId, "{one}");
    }
    const Listing service = ListOne([](AdapterDescription& a) { a.Service = std::string(80, 'Q'); },
                                    std::string(49, 'q') + std::string(40, 'q'));
    EXPECT_EQ(service.Status, ZV_SRVC_ERR_NO_DEVICE) << "a filter text has at most 49 characters";
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
        ASSERT_EQ(List(*manager, "ZV_USB").Status, ZV_SRVC_SUCCESS);
        machine->FailCall(call, 1, error);
        EXPECT_EQ(List(*manager, "ZV_ALL").Status, status) << call;
        machine->ClearFaults();
        const auto calls = machine->Calls("SetupDiGetClassDevsW");
        EXPECT_EQ(List(*manager, "ZV_ALL").Status, ZV_SRVC_SUCCESS) << call;
        EXPECT_EQ(machine->Calls("SetupDiGetClassDevsW") - calls, status == ZV_SRVC_SUCCESS ? 0U : 1U)
            << call << ": an empty list is enumerated again";
        EXPECT_EQ(Platform::CountOpenObjects().Total() - Platform::CountOpenObjects().TraceProviders, 0U) << call;
    }
}

} // namespace
