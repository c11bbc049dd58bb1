#include "Expect.h"

namespace
{

using Platform::AdapterDescription;

constexpr GUID OtherClass = {1, 2, 3, {}};

class DeviceSetupTest : public OnMachine
{
protected:
    void SetUp() override
    {
        DWORD count = 0;
        ASSERT_TRUE(SetupDiClassGuidsFromNameW(u"nEt", &NetClass, 1, &count));
        ASSERT_EQ(1U, count);
    }

    HDEVINFO OpenSet(DWORD flags = DIGCF_PRESENT) { return SetupDiGetClassDevsW(&NetClass, nullptr, nullptr, flags); }

    static std::vector<DEVINST> Devices(HDEVINFO set)
    {
        std::vector<DEVINST> devices;
        SP_DEVINFO_DATA data{};
        data.cbSize = sizeof(data);
        for (DWORD i = 0; SetupDiEnumDeviceInfo(set, i, &data); ++i)
        {
            devices.push_back(data.DevInst);
        }
        EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), GetLastError());
        EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
        return devices;
    }

    GUID NetClass{};
};

TEST_F(DeviceSetupTest, ClassNamesFollowTheRegistry)
{
    DWORD count = 7;
    EXPECT_FAILS_WITH(ERROR_INSUFFICIENT_BUFFER, SetupDiClassGuidsFromNameW(u"Net", nullptr, 0, &count));
    EXPECT_EQ(1U, count);
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"Bluetooth", &NetClass, 1, &count));
    EXPECT_EQ(0U, count);
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, SetupDiClassGuidsFromNameW(u"Net", &NetClass, 1, nullptr));
    Box->DeleteTree("SYSTEM");
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"Net", nullptr, 0, &count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(INVALID_HANDLE_VALUE, SetupDiOpenClassRegKey(nullptr, KEY_READ));
}

TEST_F(DeviceSetupTest, SetIsASnapshotOfTheClass)
{
    const auto first = Box->AddAdapter({});
    const auto absent = Box->AddAdapter({.Present = false});
    const HDEVINFO before = OpenSet();
    const auto late = Box->AddAdapter({});
    Box->RemoveAdapter(first);
    EXPECT_EQ((std::vector{first}), Devices(before));
    EXPECT_EQ((std::vector{late}), Devices(OpenSet()));
    EXPECT_EQ((std::vector{absent, late}), Devices(OpenSet(0)));
    EXPECT_EQ((std::vector<DEVINST>{}), Devices(SetupDiGetClassDevsW(&OtherClass, nullptr, nullptr, DIGCF_PRESENT)));
    EXPECT_EQ((std::vector{late}),
              Devices(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES)));
    EXPECT_EQ(INVALID_HANDLE_VALUE, SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST_F(DeviceSetupTest, RefusesWrongRecordsAndHandles)
{
    Box->AddAdapter({});
    const HDEVINFO set = OpenSet();
    SP_DEVINFO_DATA data{};
    EXPECT_FAILS_WITH(ERROR_INVALID_USER_BUFFER, SetupDiEnumDeviceInfo(set, 0, &data));
    data.cbSize = sizeof(data);
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER,
                      SetupDiGetDeviceRegistryPropertyW(set, &data, SPDRP_DRIVER, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(static_cast<HKEY>(set))) << "handles of another kind stay open";
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiDestroyDeviceInfoList(set));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiEnumDeviceInfo(INVALID_HANDLE_VALUE, 0, &data));
}

struct PropertyCase
{
    DWORD Property;
    DWORD Room;
    DWORD Error; ///< 0 for success.
    DWORD Required;
    DWORD Type;
    std::u16string Text;
};

TEST_F(DeviceSetupTest, ReadsProperties)
{
    Box->AddAdapter({.HardwareId = u"PCI\\1", .FriendlyName = u"W\u00F6", .Description = u""});
    const PropertyCase cases[] = {
        {SPDRP_HARDWAREID, 14, 0, 14, REG_MULTI_SZ, std::u16string(u"PCI\\1\0\0", 7)},
        {SPDRP_HARDWAREID, 13, ERROR_INSUFFICIENT_BUFFER, 14, REG_MULTI_SZ, u"#######"},
        {SPDRP_FRIENDLYNAME, 14, 0, 6, REG_SZ, std::u16string(u"W\u00F6\0####", 7)},
        {SPDRP_DEVICEDESC, 2, 0, 2, REG_SZ, std::u16string(u"\0######", 7)},
        {SPDRP_CLASS, 14, ERROR_INVALID_DATA, 99, 99, u"#######"},
        {SPDRP_MAXIMUM_PROPERTY, 14, ERROR_INVALID_REG_PROPERTY, 99, 99, u"#######"},
    };
    const HDEVINFO set = OpenSet();
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    ASSERT_TRUE(SetupDiEnumDeviceInfo(set, 0, &data));
    for (const PropertyCase& c : cases)
    {
        SCOPED_TRACE(c.Property);
        std::u16string text(7, u'#');
        DWORD type = 99;
        DWORD required = 99;
        SetLastError(0);
        EXPECT_EQ(c.Error == 0,
                  SetupDiGetDeviceRegistryPropertyW(set, &data, c.Property, &type, reinterpret_cast<BYTE*>(text.data()),
                                                    c.Room, &required) != FALSE);
        EXPECT_EQ(c.Error, GetLastError());
        EXPECT_EQ(c.Required, required);
        EXPECT_EQ(c.Type, type);
        EXPECT_EQ(c.Text, text);
    }
    Box->RemoveAdapter(data.DevInst);
    EXPECT_FAILS_WITH(ERROR_NO_SUCH_DEVINST,
                      SetupDiGetDeviceRegistryPropertyW(set, &data, SPDRP_DRIVER, nullptr, nullptr, 0, nullptr));
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
}

TEST_F(DeviceSetupTest, StatusFollowsTheNode)
{
    const auto id = Box->AddAdapter({});
    const struct
    {
        AdapterDescription Node;
        CONFIGRET Result;
        ULONG Status;
        ULONG Problem;
    } cases[] = {
        {{}, CR_SUCCESS, DN_DRIVER_LOADED | DN_STARTED, 0},
        {{.Hidden = true, .Problem = 22}, CR_SUCCESS, DN_HAS_PROBLEM | DN_NO_SHOW_IN_DM, 22},
        {{.Present = false}, CR_NO_SUCH_DEVINST, 99, 99},
        {{.Readable = false}, CR_NO_SUCH_DEVINST, 99, 99},
    };
    for (const auto& c : cases)
    {
        Box->ChangeAdapter(id, [&](AdapterDescription& node) { node = c.Node; });
        ULONG status = 99;
        ULONG problem = 99;
        EXPECT_EQ(c.Result, CM_Get_DevNode_Status(&status, &problem, id, 0));
        EXPECT_EQ(c.Status, status);
        EXPECT_EQ(c.Problem, problem);
    }
    ULONG out = 0;
    EXPECT_EQ(CR_INVALID_FLAG, CM_Get_DevNode_Status(&out, &out, id, 1));
    EXPECT_EQ(CR_INVALID_POINTER, CM_Get_DevNode_Status(nullptr, &out, id, 0));
    EXPECT_EQ(CR_NO_SUCH_DEVINST, CM_Get_DevNode_Status(&out, &out, id + 1, 0));
}

TEST_F(DeviceSetupTest, DriverKeyOpensBelowAReadOnlyClassRoot)
{
    const auto id = Box->AddAdapter({.Service = "zvwlanu"});
    const std::u16string path = *Box->Adapter(id).DriverKey;
    const HKEY root = SetupDiOpenClassRegKey(nullptr, KEY_READ);
    HKEY key = nullptr;
    HKEY ndi = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyW(root, path.c_str(), &key));
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyA(key, "Ndi", &ndi));
    BYTE service[8] = {};
    DWORD size = sizeof(service);
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(ndi, "Service", nullptr, nullptr, service, &size));
    EXPECT_STREQ("zvwlanu", reinterpret_cast<const char*>(service));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExA(root, "v", 0, REG_BINARY, service, 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyValueA(root, "", "v"));
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "v", 0, REG_BINARY, service, 1));
    for (const HKEY opened : {root, key, ndi})
    {
        EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(opened));
    }
}

} // namespace
