/// Enabling and disabling through the manager.

#include "AdapterFixture.h"

namespace
{

class NicChangeState : public AdapterTest
{
protected:
    unsigned int SetEnabled(std::uint8_t enable) { return Manager->NicChangeState(Device, enable); }

    /// The flags of the bound record, as the device reports them.
    std::uint32_t Flags()
    {
        _ZV_SRVC_DEVICE_INFO record{};
        EXPECT_EQ(Device->GetDeviceInfo(&record), ZV_SRVC_SUCCESS);
        return record.StateFlags;
    }

    std::shared_ptr<CDeviceIntf> Device = Open();
};

TEST_F(NicChangeState, DisablesAndEnablesWithAnyNumberButZero)
{
    for (const std::uint8_t enable : {std::uint8_t{1}, std::uint8_t{255}})
    {
        EXPECT_EQ(SetEnabled(0), ZV_SRVC_SUCCESS);
        EXPECT_EQ(Settle(), StatusChanged);
        EXPECT_EQ(Flags(), Problem | Absent);
        EXPECT_EQ(Machine->Adapter(Adapter).Problem, 22U);
        EXPECT_EQ(SetEnabled(0), ZV_SRVC_SUCCESS); // it is present, and the installer is asked again
        EXPECT_EQ(SetEnabled(enable), ZV_SRVC_SUCCESS);
        EXPECT_EQ(Settle(), Arrived);
        EXPECT_EQ(Machine->Adapter(Adapter).Problem, 0U);
        EXPECT_EQ(Flags(), Problem);                    // a merge clears one bit
        EXPECT_EQ(Send(RemoveComplete), StatusChanged); // and the next sweep the other
        EXPECT_EQ(Flags(), 0U);
    }
}

TEST_F(NicChangeState, ErrorsAreReturnedUnchanged)
{
    const auto edit = [this](auto change) { return [this, change] { Change(change); }; };
    const auto fail = [this](const char* call, unsigned nth, std::uint32_t error) {
        return [this, call, nth, error] { Machine->FailCall(call, nth, error); };
    };
    const struct
    {
        const char* Name;
        std::uint8_t Enable;
        std::function<void()> Before;
        std::uint32_t Status;
    } rows[] = {
        {"no class", 0, fail("SetupDiClassGuidsFromNameW", 1, 5), ZV_SRVC_ERR_FAILURE},
        {"no set", 1, fail("SetupDiGetClassDevsW", 1, 5), ZV_SRVC_ERR_FAILURE},
        {"unplugged", 1, edit([](Description& a) { a.Present = false; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"unreadable", 1, edit([](Description& a) { a.Readable = false; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"hidden", 1, edit([](Description& a) { a.Hidden = true; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"no driver key", 1, edit([](Description& a) { a.HasDriverKey = false; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"other case", 1, edit([](Description& a) { a.NetCfgInstanceId = "{DEV}"; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"longer", 1, edit([](Description& a) { a.NetCfgInstanceId = "{dev}2"; }), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"no identity", 1, fail("RegQueryValueExA", 1, 2), ZV_SRVC_ERR_INVALID_PARAMETER},
        {"no rights", 0, [this] { Machine->SetCallerRights(false); }, ZV_SRVC_ERR_INVALID_PARAMETER},
        {"refused", 0, edit([](Description& a) { a.StateChangeError = 0xE0000231; }), 0xE0000231},
        {"no parameters", 0, fail("SetupDiSetClassInstallParamsW", 1, 8), 8},
        {"no change", 0, fail("SetupDiCallClassInstaller", 1, 1450), 1450},
        {"first stage of an enable", 1, fail("SetupDiCallClassInstaller", 1, 1450), ZV_SRVC_SUCCESS},
        {"second stage of an enable", 1, fail("SetupDiCallClassInstaller", 2, 1450), 1450},
        {"device not open", 1, [this] { Device->Close(); }, ZV_SRVC_ERR_INVALID_PARAMETER},
        {"no device", 1, [this] { Device.reset(); }, ZV_SRVC_ERR_INVALID_PARAMETER},
    };
    const Description working = Machine->Adapter(Adapter);
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        Machine->ClearFaults();
        Machine->SetCallerRights(true);
        Change([&](Description& adapter) { adapter = working; });
        row.Before();
        EXPECT_EQ(SetEnabled(row.Enable), row.Status);
        EXPECT_EQ(Machine->Adapter(Adapter).Problem, 0U);
        EXPECT_EQ(Platform::CountOpenObjects().DeviceSets + Platform::CountOpenObjects().RegistryKeys, 0U);
    }
}

} // namespace
