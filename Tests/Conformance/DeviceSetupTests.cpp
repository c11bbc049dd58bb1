#include "Checks.h"
#include "TestMachine.h"

#include <tuple>
#include <vector>

namespace
{

/// A text with a letter outside ASCII where the literal has '?'.
WideText Wide(std::string_view text)
{
    WideText wide(text.begin(), text.end());
    for (WCHAR& letter : wide)
        letter = letter == '?' ? WCHAR{0xF6} : letter;
    return wide;
}

class DeviceSetupTest : public testing::Test
{
protected:
    ~DeviceSetupTest() override { EXPECT_EQ(CountOpen(), 0U); }
    DeviceSetupTest() { EXPECT_TRUE(SetupDiClassGuidsFromNameW(CWideText{"nEt"}.Text, &NetClass, 1, &Count)); }

    HDEVINFO OpenSet() const { return SetupDiGetClassDevsW(&NetClass, nullptr, nullptr, DIGCF_PRESENT); }

    static SP_DEVINFO_DATA EmptyRecord() { return {sizeof(SP_DEVINFO_DATA), {}, 0, 0}; }

    static WideText Property(HDEVINFO set, SP_DEVINFO_DATA& device, DWORD property)
    {
        WCHAR text[64] = {};
        SetupDiGetDeviceRegistryPropertyW(set, &device, property, nullptr, reinterpret_cast<BYTE*>(text), sizeof(text),
                                          nullptr);
        return text;
    }

    /// The tests' own devices in a set; a machine may have others.
    static std::vector<SP_DEVINFO_DATA> OwnDevices(HDEVINFO set)
    {
        std::vector<SP_DEVINFO_DATA> devices;
        SP_DEVINFO_DATA data = EmptyRecord();
        DWORD i = 0;
        for (; SetupDiEnumDeviceInfo(set, i, &data); ++i)
            if (Property(set, data, SPDRP_HARDWAREID).starts_with(Wide("ZVC\\")))
                devices.push_back(data);
        EXPECT_FAILS_WITH(ERROR_NO_MORE_ITEMS, SetupDiEnumDeviceInfo(set, i, &data));
        return devices;
    }

    static std::vector<WideText> IdsOf(HDEVINFO set)
    {
        std::vector<WideText> ids;
        for (SP_DEVINFO_DATA& device : OwnDevices(set))
            ids.push_back(Property(set, device, SPDRP_HARDWAREID));
        EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
        return ids;
    }

    TestMachine Machine;
    GUID NetClass{};
    DWORD Count = 0;
};

TEST_F(DeviceSetupTest, ClassNamesGiveTheirGuids)
{
    EXPECT_EQ(std::exchange(Count, 7), 1U);
    EXPECT_EQ(NetClass.Data1, 0x4D36E972U);
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(CWideText{"ZVNothing"}.Text, &NetClass, 1, &Count));
    EXPECT_EQ(Count, 0U);
}

TEST_F(DeviceSetupTest, SetIsASnapshotOfTheClass)
{
    const WideText first = Wide("ZVC\\1");
    const WideText late = Wide("ZVC\\2");
    const TestMachine::Id plugged = Machine.Add({.HardwareId = first});
    const HDEVINFO before = OpenSet();
    Machine.Add({.HardwareId = late});
    EXPECT_EQ(IdsOf(before), (std::vector{first}));
    EXPECT_EQ(IdsOf(OpenSet()), (std::vector{first, late}));
    Machine.Remove(plugged);
    EXPECT_EQ(IdsOf(OpenSet()), (std::vector{late}));
    EXPECT_EQ(IdsOf(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES)),
              (std::vector{late}));
    NetClass.Data1 = 1; // now another class
    EXPECT_TRUE(IdsOf(OpenSet()).empty());
}

TEST_F(DeviceSetupTest, ReadsPropertiesAsFarAsTheBufferHoldsThem)
{
    Machine.Add({.HardwareId = Wide("ZVC\\1"), .FriendlyName = Wide("W?"), .Description = Wide("")});
    Machine.Add({.HardwareId = Wide("ZVC\\2")});
    // Property and buffer size; last error (0 for success), size, type and memory.
    const std::tuple<DWORD, DWORD, std::tuple<DWORD, DWORD, DWORD, WideText>> cases[] = {
        {SPDRP_HARDWAREID, 14, {0, 14, REG_MULTI_SZ, Wide({"ZVC\\1\0\0", 7})}},
        {SPDRP_HARDWAREID, 13, {ERROR_INSUFFICIENT_BUFFER, 14, REG_MULTI_SZ, Wide("#######")}},
        {SPDRP_FRIENDLYNAME, 14, {0, 6, REG_SZ, Wide({"W?\0####", 7})}},
        {SPDRP_DEVICEDESC, 2, {0, 2, REG_SZ, Wide({"\0######", 7})}},
    };
    const auto get = SetupDiGetDeviceRegistryPropertyW;
    const HDEVINFO set = OpenSet();
    std::vector<SP_DEVINFO_DATA> devices = OwnDevices(set);
    ASSERT_EQ(devices.size(), 2U);
    for (const auto& [property, room, expected] : cases)
    {
        WideText text = Wide("#######");
        DWORD type = 99;
        DWORD required = 99;
        SetLastError(0);
        const BOOL read = get(set, &devices[0], property, &type, reinterpret_cast<BYTE*>(text.data()), room, &required);
        EXPECT_EQ(std::tuple(GetLastError(), required, type, text), expected) << property;
        EXPECT_EQ(std::get<0>(expected) == 0, read != FALSE);
    }
    EXPECT_FAILS_WITH(ERROR_INVALID_DATA, get(set, &devices[1], SPDRP_FRIENDLYNAME, nullptr, nullptr, 0, nullptr));
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
    SP_DEVINFO_DATA data = EmptyRecord();
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiEnumDeviceInfo(INVALID_HANDLE_VALUE, 0, &data));
}

TEST_F(DeviceSetupTest, DriverKeyOpensBelowAReadOnlyClassRoot)
{
    Machine.Add({.Service = "zvwlanu", .HardwareId = Wide("ZVC\\1")});
    const HDEVINFO set = OpenSet();
    std::vector<SP_DEVINFO_DATA> devices = OwnDevices(set);
    ASSERT_EQ(devices.size(), 1U);
    SP_DEVINFO_DATA& data = devices.front();
    const Opened root = SetupDiOpenClassRegKey(nullptr, KEY_READ);
    HKEY found = nullptr;
    ASSERT_EQ(RegOpenKeyW(root, Property(set, data, SPDRP_DRIVER).c_str(), &found), ERROR_SUCCESS);
    const Opened key = found;
    ASSERT_EQ(RegOpenKeyA(key, "Ndi", &found), ERROR_SUCCESS);
    const Opened ndi = found;
    BYTE service[8] = {};
    DWORD size = sizeof(service);
    EXPECT_EQ(RegQueryValueExA(ndi, "Service", nullptr, nullptr, service, &size), ERROR_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<const char*>(service), "zvwlanu");
    EXPECT_EQ(RegSetValueExA(root, "v", 0, REG_BINARY, service, 1), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegSetValueExA(key, "v", 0, REG_BINARY, service, 1), ERROR_SUCCESS);
    const Opened same = SetupDiOpenDevRegKey(set, &data, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_ALL_ACCESS);
    EXPECT_EQ(RegQueryValueExA(same, "v", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
}

} // namespace
