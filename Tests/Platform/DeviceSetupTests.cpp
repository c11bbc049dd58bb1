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
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, SetupDiClassGuidsFromNameW(u"Net", &NetClass, 1, nullptr));
    Box->DeleteTree("SYSTEM");
    EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"Net", nullptr, 0, &Count));
    EXPECT_EQ(0U, Count);
    EXPECT_EQ(INVALID_HANDLE_VALUE, SetupDiOpenClassRegKey(nullptr, KEY_READ));
}

TEST_F(DeviceSetupTest, AbsentDevicesAreOfSetsThatAskForThem)
{
    const auto absent = Box->AddAdapter({.Present = false});
    const auto present = Box->AddAdapter({});
    EXPECT_EQ((std::vector{present}), Devices(OpenSet()));
    EXPECT_EQ((std::vector{absent, present}), Devices(OpenSet(0)));
}

TEST_F(DeviceSetupTest, RecordsAndHandlesMustBeRight)
{
    Box->AddAdapter({});
    const HDEVINFO set = OpenSet();
    SP_DEVINFO_DATA data = EmptyRecord();
    ASSERT_TRUE(SetupDiEnumDeviceInfo(set, 0, &data));
    const auto get = SetupDiGetDeviceRegistryPropertyW;
    EXPECT_FAILS_WITH(ERROR_INVALID_REG_PROPERTY,
                      get(set, &data, SPDRP_MAXIMUM_PROPERTY, nullptr, nullptr, 0, nullptr));
    Box->RemoveAdapter(data.DevInst);
    EXPECT_FAILS_WITH(ERROR_NO_SUCH_DEVINST, get(set, &data, SPDRP_DRIVER, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(static_cast<HKEY>(set))) << "handles of another kind stay open";
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetupDiDestroyDeviceInfoList(set));
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

} // namespace
