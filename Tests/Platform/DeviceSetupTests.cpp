#include "Expect.h"

#include <tuple>

namespace
{

using Platform::AdapterDescription;

class DeviceSetupTest : public OnMachine
{
protected:
    DeviceSetupTest() { EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"nEt", &NetClass, 1, &Count)); }

    HDEVINFO OpenSet(DWORD flags = DIGCF_PRESENT) { return SetupDiGetClassDevsW(&NetClass, nullptr, nullptr, flags); }

    static SP_DEVINFO_DATA EmptyRecord() { return {sizeof(SP_DEVINFO_DATA), {}, 0, 0}; }

    static std::vector<DEVINST> Devices(HDEVINFO set)
    {
        std::vector<DEVINST> devices;
        SP_DEVINFO_DATA data = EmptyRecord();
        for (DWORD i = 0; SetupDiEnumDeviceInfo(set, i, &data); ++i)
            devices.push_back(data.DevInst);
        EXPECT_EQ(DWORD{ERROR_NO_MORE_ITEMS}, GetLastError());
        EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
        return devices;
    }

    GUID NetClass{};
    DWORD Count = 0;
};

TEST_F(DeviceSetupTest, ClassNamesFollowTheRegistry)
{
    EXPECT_EQ(1U, std::exchange(Count, 7));
    EXPECT_FAILS_WITH(ERROR_INSUFFICIENT_BUFFER, SetupDiClassGuidsFromNameW(u"Net", nullptr, 0, &Count));
    EXPECT_EQ(1U, Count);
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"Bluetooth", &NetClass, 1, &Count));
    EXPECT_EQ(0U, std::exchange(Count, 7));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, SetupDiClassGuidsFromNameW(u"Net", &NetClass, 1, nullptr));
    Box->DeleteTree("SYSTEM");
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"Net", nullptr, 0, &Count));
    EXPECT_EQ(0U, Count);
    EXPECT_EQ(INVALID_HANDLE_VALUE, SetupDiOpenClassRegKey(nullptr, KEY_READ));
}

TEST_F(DeviceSetupTest, SetIsASnapshotOfTheClass)
{
    const auto first = Box->AddAdapter({});
    const auto absent = Box->AddAdapter({.Present = false});
    const HDEVINFO before = OpenSet();
    EXPECT_EQ(1U, Platform::CountOpenObjects().DeviceSets);
    const auto late = Box->AddAdapter({});
    Box->RemoveAdapter(first);
    EXPECT_EQ((std::vector{first}), Devices(before));
    EXPECT_EQ((std::vector{late}), Devices(OpenSet()));
    EXPECT_EQ((std::vector{absent, late}), Devices(OpenSet(0)));
    EXPECT_EQ((std::vector{late}),
              Devices(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES)));
    NetClass.Data1 = 1; // now another class
    EXPECT_TRUE(Devices(OpenSet()).empty());
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER,
                      SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT) != INVALID_HANDLE_VALUE);
}

TEST_F(DeviceSetupTest, ReadsPropertiesThroughRightRecordsAndHandles)
{
    Box->AddAdapter({.HardwareId = u"PCI\\1", .FriendlyName = u"W\u00F6", .Description = u""});
    // Property and room for it; last error (0 for success), size, type and memory.
    const std::tuple<DWORD, DWORD, std::tuple<DWORD, DWORD, DWORD, std::u16string>> cases[] = {
        {SPDRP_HARDWAREID, 14, {0, 14, REG_MULTI_SZ, std::u16string(u"PCI\\1\0\0", 7)}},
        {SPDRP_HARDWAREID, 13, {ERROR_INSUFFICIENT_BUFFER, 14, REG_MULTI_SZ, u"#######"}},
        {SPDRP_FRIENDLYNAME, 14, {0, 6, REG_SZ, std::u16string(u"W\u00F6\0####", 7)}},
        {SPDRP_DEVICEDESC, 2, {0, 2, REG_SZ, std::u16string(u"\0######", 7)}},
        {SPDRP_CLASS, 14, {ERROR_INVALID_DATA, 99, 99, u"#######"}},
        {SPDRP_MAXIMUM_PROPERTY, 14, {ERROR_INVALID_REG_PROPERTY, 99, 99, u"#######"}},
    };
    const auto get = SetupDiGetDeviceRegistryPropertyW;
    const HDEVINFO set = OpenSet();
    SP_DEVINFO_DATA data = EmptyRecord();
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, get(set, &data, SPDRP_DRIVER, nullptr, nullptr, 0, nullptr));
    ASSERT_TRUE(SetupDiEnumDeviceInfo(set, 0, &data));
    for (const auto& [property, room, expected] : cases)
    {
        std::u16string text(7, u'#');
        DWORD type = 99;
        DWORD required = 99;
        SetLastError(0);
        const BOOL read = get(set, &data, property, &type, reinterpret_cast<BYTE*>(text.data()), room, &required);
        EXPECT_EQ(expected, std::tuple(GetLastError(), required, type, text)) << property;
        EXPECT_EQ(std::get<0>(expected) == 0, read != FALSE);
    }
    Box->RemoveAdapter(data.DevInst);
    EXPECT_FAILS_WITH(ERROR_NO_SUCH_DEVINST, get(set, &data, SPDRP_DRIVER, nullptr, nullptr, 0, nullptr));
    data.cbSize = 0;
    EXPECT_FAILS_WITH(ERROR_INVALID_USER_BUFFER, SetupDiEnumDeviceInfo(set, 0, &data));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(static_cast<HKEY>(set))) << "handles of another kind stay open";
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiDestroyDeviceInfoList(set));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiEnumDeviceInfo(INVALID_HANDLE_VALUE, 0, &data));
}

TEST_F(DeviceSetupTest, StatusFollowsTheNode)
{
    const auto id = Box->AddAdapter({});
    using Status = std::tuple<CONFIGRET, ULONG, ULONG>;
    const std::pair<AdapterDescription, Status> cases[] = {
        {{}, {CR_SUCCESS, DN_DRIVER_LOADED | DN_STARTED, 0}},
        {{.Hidden = true, .Problem = 22}, {CR_SUCCESS, DN_HAS_PROBLEM | DN_NO_SHOW_IN_DM, 22}},
        {{.Present = false}, {CR_NO_SUCH_DEVINST, 99, 99}},
        {{.Readable = false}, {CR_NO_SUCH_DEVINST, 99, 99}},
    };
    for (const auto& [node, expected] : cases)
    {
        Box->ChangeAdapter(id, [&changed = node](AdapterDescription& current) { current = changed; });
        Status seen{CR_SUCCESS, 99, 99};
        std::get<0>(seen) = CM_Get_DevNode_Status(&std::get<1>(seen), &std::get<2>(seen), id, 0);
        EXPECT_EQ(expected, seen);
    }
    ULONG out = 0;
    EXPECT_EQ(CR_INVALID_FLAG, CM_Get_DevNode_Status(&out, &out, id, 1));
    EXPECT_EQ(CR_INVALID_POINTER, CM_Get_DevNode_Status(nullptr, &out, id, 0));
    EXPECT_EQ(CR_NO_SUCH_DEVINST, CM_Get_DevNode_Status(&out, &out, id + 1, 0));
}

TEST_F(DeviceSetupTest, DriverKeyOpensBelowAReadOnlyClassRoot)
{
    Box->AddAdapter({.Service = "zvwlanu", .DriverKey = u"{C}\\7"});
    const Opened root = SetupDiOpenClassRegKey(nullptr, KEY_READ);
    HKEY found = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyW(root, u"{c}\\7", &found));
    const Opened key = found;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyA(key, "Ndi", &found));
    const Opened ndi = found;
    EXPECT_EQ(3U, Platform::CountOpenObjects().RegistryKeys);
    BYTE service[8] = {};
    DWORD size = sizeof(service);
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(ndi, "Service", nullptr, nullptr, service, &size));
    EXPECT_STREQ("zvwlanu", reinterpret_cast<const char*>(service));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExA(root, "v", 0, REG_BINARY, service, 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyValueA(root, "", "v"));
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "v", 0, REG_BINARY, service, 1));
}

} // namespace
