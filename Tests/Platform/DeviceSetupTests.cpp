#include "Expect.h"

#include <tuple>

namespace
{

using Platform::AdapterDescription;

class DeviceSetupTest : public OnMachine
{
protected:
    DeviceSetupTest() { EXPECT_TRUE(SetupDiClassGuidsFromNameW(u"nEt", &NetClass, 1, &Count)); }

    GUID NetClass{};
    DWORD Count = 0;
};

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
        EXPECT_EQ(seen, expected);
    }
    ULONG out = 0;
    EXPECT_EQ(CM_Get_DevNode_Status(&out, &out, id, 1), CR_INVALID_FLAG);
    EXPECT_EQ(CM_Get_DevNode_Status(nullptr, &out, id, 0), CR_INVALID_POINTER);
    EXPECT_EQ(CM_Get_DevNode_Status(&out, &out, id + 1, 0), CR_NO_SUCH_DEVINST);
}

} // namespace
