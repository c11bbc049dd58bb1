/// Opening and closing, and what each operation answers in each state.

#include "DeviceFixture.h"
#include "Faults.h"

#include <thread>
#include <tuple>

namespace
{

std::shared_ptr<CDeviceIntf> MakeDevice()
{
    std::shared_ptr<CDeviceIntf> device;
    CreateZVModule(device, ZV_SRVC_DEVICE_UWP);
    return device;
}

_ZV_SRVC_IOCTL_REQ PlainRequest(std::uint32_t timeoutMs = 1000)
{
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = 0x99000000;
    request.Timeout = timeoutMs;
    return request;
}

/// What a host can observe of a device's state without changing it.
struct Answers
{
    unsigned int Info, Item, Request, Registry, Ability;
    friend bool operator==(const Answers&, const Answers&) = default;

    static Answers Of(CDeviceIntf& device)
    {
        _ZV_SRVC_DEVICE_INFO record{};
        _ZV_SRVC_IOCTL_REQ request = PlainRequest();
        std::uint8_t byte = 0;
        std::uint32_t ability = 0;
        return {device.GetDeviceInfo(&record), device.SetQueryInfo(0, 1, &byte, 1), device.SendIOCTLReq(&request),
                device.AccessRegistry(2, "", "", nullptr, nullptr, nullptr), device.GetAbility(&ability)};
    }
};

constexpr Answers Unbound{14, 14, 14, 14, 14};
constexpr Answers Usable{0, 0, 0, 0, 5};
constexpr Answers Silent{0, 2, 1, 0, 5};
constexpr Answers Unready{0, 14, 14, 14, 14};

class DeviceState : public DeviceTest
{
protected:
    std::shared_ptr<_ZV_SRVC_DEVICE_INFO> Record(const char* identity, std::uint32_t flags = 0)
    {
        auto record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
        std::string(identity).copy(record->NetCfgInstanceId, 49);
        record->StateFlags = flags;
        return record;
    }
    std::shared_ptr<_ZV_SRVC_DEVICE_INFO> Good = Record("{dev}");
    std::shared_ptr<_ZV_SRVC_DEVICE_INFO> NoDriver = Record("{none}");
    std::shared_ptr<_ZV_SRVC_DEVICE_INFO> None;
    _ZV_SRVC_IOCTL_REQ Plain = PlainRequest();
};

TEST_F(DeviceState, TransitionsAreThoseOfTheTable)
{
    auto faulted = Record("{dev}", ZV_DEV_HAS_PROBLEM);
    auto absent = Record("{dev}", ZV_DEV_ABSENT);
    auto changed = Record("{dev}", ZV_DEV_DRIVER_CHANGED | ZV_DEV_DRIVER_UNINSTALLED);
    // Every sequence into a state, then each event there. Null means Close.
    using Step = std::shared_ptr<_ZV_SRVC_DEVICE_INFO>*;
    const struct
    {
        const char* Name;
        std::vector<Step> Road;
        unsigned int Result; // Of the last step.
        Answers After;
    } cases[] = {
        {"idle", {}, 0, Unbound},
        {"idle, nothing to open", {&None}, 14, Unbound},
        {"idle, faulted", {&faulted}, 14, Unbound},
        {"idle, absent", {&absent}, 14, Unbound},
        {"idle, open", {&Good}, 0, Usable},
        {"idle, changed driver", {&changed}, 0, Usable},
        {"idle, no driver", {&NoDriver}, 15, Silent},
        {"idle, close", {nullptr}, 0, Unbound},
        {"idle, refused and then open", {&absent, &Good}, 0, Usable},
        {"bound, open", {&Good, &NoDriver}, 11, Usable},
        {"bound without driver, open", {&NoDriver, &Good}, 11, Silent},
        {"bound, close", {&Good, nullptr}, 0, Unbound},
        {"closed, open", {&Good, nullptr, &Good}, 0, Usable},
        {"closed, no driver", {nullptr, &NoDriver}, 15, Silent},
        {"closed, refused", {nullptr, &absent}, 14, Unbound},
        {"closed, close", {nullptr, nullptr}, 0, Unbound},
        {"rebound, open", {nullptr, &Good, &Good}, 11, Usable},
        {"rebound, close", {nullptr, &Good, nullptr}, 0, Unbound},
    };
    for (const auto& [name, road, result, after] : cases)
    {
        const auto device = MakeDevice();
        unsigned int status = 0;
        for (const Step step : road)
            status = step == nullptr ? device->Close() : device->Open(*step);
        EXPECT_EQ(status, result) << name;
        EXPECT_EQ(Answers::Of(*device), after) << name;
    }
}

TEST_F(DeviceState, EachCallChecksTheFlagsOfTheRecord)
{
    const auto device = MakeDevice();
    ASSERT_EQ(device->Open(Good), ZV_SRVC_SUCCESS);
    for (std::uint32_t flags = 0; flags < 32; ++flags)
    {
        Good->StateFlags = flags;
        EXPECT_EQ(Answers::Of(*device), (flags & 5) == 0 ? Usable : Unready) << flags;
        _ZV_SRVC_DEVICE_INFO copy{};
        EXPECT_EQ(device->GetDeviceInfo(&copy), ZV_SRVC_SUCCESS);
        EXPECT_EQ(copy.StateFlags, flags);
    }
}

TEST_F(DeviceState, AnEmptyIdentityOpensThePathWithoutASuffix)
{
    AttachDriver("");
    auto record = Record("");
    EXPECT_EQ(MakeDevice()->Open(record), ZV_SRVC_SUCCESS);
}

TEST_F(DeviceState, ADeviceSharesTheManagersRecordAndOutlivesARebuildOfTheList)
{
    OpenIt();
    const std::uint64_t opens = Machine->Calls("CreateFileA");
    EXPECT_EQ(List(*Manager, "zvwlanu").Status, ZV_SRVC_SUCCESS);
    EXPECT_EQ(Answers::Of(*Device), Usable);
    EXPECT_EQ(Machine->Calls("CreateFileA"), opens + 2) << "one handle for each request, none kept";
}

TEST_F(DeviceState, AFailedSendReturnsTheStatusOfItsOperation)
{
    OpenIt();
    const struct
    {
        const char* Name;
        TestDriver::Answer Script;
        bool Sent;
    } cases[] = {
        {"ended", TestDriver::EndWith(0), true},
        {"refused", TestDriver::EndWith(1), false},
        {"never ended", Driver->Hold(), false},
    };
    for (const auto& [name, script, sent] : cases)
    {
        for (const std::uint32_t code : {0x122428U, 0x122414U, 0x99000000U})
            Driver->On(code, script);
        const auto other = MakeDevice();
        EXPECT_EQ(other->Open(Good), sent ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_CONTROL_DEVICE) << name;
        EXPECT_EQ(other->Open(Good), ZV_SRVC_ERR_ALREADY_OPEN) << name;
        std::uint8_t data[3] = {1, 2, 3};
        EXPECT_EQ(Device->SetQueryInfo(1, 1, data, 3), sent ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_DRIVER_REQUEST) << name;
        EXPECT_EQ(data[0], 1) << "untouched on failure";
        for (const std::uint32_t timeout : {0U, 20U})
        {
            Plain.Timeout = timeout;
            EXPECT_EQ(Device->SendIOCTLReq(&Plain), sent ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_FAILURE) << name;
        }
    }
    for (const char* call : {"CreateFileA", "CreateEventW", "DeviceIoControl"})
    {
        Driver->On(0x99000000, TestDriver::EndWith(0));
        Machine->FailCall(call, 1, 8);
        EXPECT_EQ(Device->SendIOCTLReq(&Plain), ZV_SRVC_ERR_FAILURE) << call;
    }
}

TEST_F(DeviceState, AFailedRegistryCallFailsTheWrite)
{
    OpenIt();
    const std::tuple<const char*, const char*, unsigned int> cases[] = {
        {"RegSetValueExA", "", ZV_SRVC_ERR_FAILURE},
        {"RegCreateKeyA", "Fresh", ZV_SRVC_ERR_FAILURE},
        {"RegFlushKey", "Fresh", ZV_SRVC_SUCCESS}, // The result of the flush is ignored.
    };
    for (const auto& [call, subKey, status] : cases)
    {
        std::uint32_t type = 4;
        std::uint32_t size = 4;
        std::uint8_t data[4] = {};
        Machine->FailCall(call, 1, 5);
        EXPECT_EQ(Device->AccessRegistry(ZV_REG_OP_WRITE, subKey, "Missing", &type, data, &size), status) << call;
    }
}

TEST_F(DeviceState, ARequestThatFailsAfterPendingCountsAsSent)
{
    OpenIt();
    Driver->On(0x122414, Driver->Hold());
    std::jthread driver([this] { Driver->Held(0x122414)->Complete(31); });
    Bytes data(4000, 1);
    // Completed at once or a moment later: in both cases the send reports success.
    EXPECT_EQ(Device->SetQueryInfo(1, 1, data.data(), 4000), ZV_SRVC_SUCCESS);
    EXPECT_EQ(data, Bytes(4000, 1));
}

TEST_F(DeviceState, BadRecordsAreRefusedAndNothingIsSent)
{
    OpenIt();
    EXPECT_EQ(StatusesOfWrongCalls(*Device), WrongCallStatuses);
    std::uint8_t byte = 0;
    for (const std::uint32_t length : {0xFFFFFFFFU, 0xFFFFFFFFU - 40, 0xFFFFFFFFU - 51})
        EXPECT_EQ(Device->SetQueryInfo(0, 1, &byte, length), ZV_SRVC_ERR_DRIVER_REQUEST);
    _ZV_SRVC_IOCTL_REQ huge{};
    huge.InBuffer = &byte;
    huge.InLength = 0xFFFFFFFF - 11;
    EXPECT_EQ(Device->SendIOCTLReq(&huge), ZV_SRVC_ERR_FAILURE);
    EXPECT_TRUE(Driver->Requests().empty());
}

TEST_F(DeviceState, AnOpenWithoutMemoryLeavesTheDeviceUnboundAndUsable)
{
    int thrown = 0;
    for (int nth = 1;; ++nth)
    {
        const auto device = MakeDevice();
        FailAllocation(nth);
        try
        {
            device->Open(Good);
            if (FailAllocation(0) > 0)
                break;
            device->Close();
            continue;
        }
        catch (const std::bad_alloc&)
        {
            ++thrown;
        }
        FailAllocation(0);
        EXPECT_EQ(Answers::Of(*device), Unbound) << nth;
        EXPECT_EQ(device->Open(Good), ZV_SRVC_SUCCESS) << nth;
        EXPECT_EQ(Answers::Of(*device), Usable) << nth;
    }
    EXPECT_GE(thrown, 2) << "the path and the request";
}

} // namespace
