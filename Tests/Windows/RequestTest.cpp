/// Requests to a kernel-mode driver, which reads the wire for itself.

#include "AsyncRequest.h"
#include "HostCalls.h"
#include "KernelDevice.h"
#include "OSPlatform.h"
#include "RegistryAdapter.h"

#include <algorithm>
#include <string_view>
#include <thread>

namespace
{

constexpr std::uint32_t Code = 0x99000000;
constexpr std::uint32_t ItemCode = 0x122414;
constexpr std::uint32_t StatusUnsuccessful = 0xC0000001;

class Requests : public testing::Test
{
protected:
    Requests()
    {
        List(*Manager, "ZV_USB");
        _ZV_SRVC_DEVICE_INFO record{};
        std::string_view("{kernel}").copy(record.NetCfgInstanceId, sizeof record.NetCfgInstanceId - 1);
        EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, Device), ZV_SRVC_SUCCESS);
    }

    ~Requests() override
    {
        Device.reset();
        EXPECT_EQ(Driver.Counts().Malformed, 0U);
        EXPECT_EQ(Driver.Counts().Opens, 0U);
        EXPECT_EQ(Driver.Counts().Waiting, 0U);
    }

    unsigned int SendSync(std::uint32_t timeout, Bytes& out, const Bytes& in = {})
    {
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = Code;
        request.RequestId = 5;
        request.InBuffer = in.data();
        request.InLength = static_cast<std::uint32_t>(in.size());
        request.OutBuffer = out.data();
        request.OutLength = static_cast<std::uint32_t>(out.size());
        request.Timeout = timeout;
        return Device->SendIOCTLReq(&request);
    }

    ScopedAdapter Adapter{77, "{kernel}", "zvwlanu"};
    KernelDevice Driver{"{kernel}"};
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
    std::shared_ptr<CDeviceIntf> Device;
};

TEST_F(Requests, ItemsAreKeptByTheDriver)
{
    for (const std::size_t size : {1U, 300U, 60'000U})
    {
        Bytes data(size, 7);
        EXPECT_EQ(Device->SetQueryInfo(1, 0x1234, data.data(), static_cast<std::uint32_t>(size)), ZV_SRVC_SUCCESS);
        std::ranges::fill(data, std::uint8_t{0});
        EXPECT_EQ(Device->SetQueryInfo(0, 0x1234, data.data(), static_cast<std::uint32_t>(size)), ZV_SRVC_SUCCESS);
        EXPECT_EQ(data, Bytes(size, 7)) << size;
    }
}

TEST_F(Requests, SynchronousRequestsCompleteInEveryWay)
{
    Driver.SetRule(Code, ZVK_END, Bytes{1, 2, 3});
    Bytes out(8, 0xEE);
    EXPECT_EQ(SendSync(5000, out, Bytes(300, 9)), ZV_SRVC_SUCCESS);
    EXPECT_EQ(out, (Bytes{1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));

    Driver.SetRule(Code, ZVK_END, {}, StatusUnsuccessful);
    EXPECT_EQ(SendSync(5000, out), ZV_SRVC_ERR_FAILURE) << "refused at once";

    Driver.SetRule(Code, ZVK_KEEP);
    EXPECT_EQ(SendSync(20, out), ZV_SRVC_ERR_FAILURE) << "cancelled when its time was over";
    EXPECT_EQ(Driver.Counts().Waiting, 0U);

    std::jthread driver([this] { Driver.EndKept(Code, 0, Bytes{4}); });
    EXPECT_EQ(SendSync(0xFFFFFFFF, out), ZV_SRVC_SUCCESS) << "late";
    EXPECT_EQ(out.front(), 4);
}

TEST_F(Requests, ARefusedItemFailsAndKeepsTheData)
{
    Driver.SetRule(ItemCode, ZVK_END, {}, StatusUnsuccessful);
    Bytes data(4, 1);
    EXPECT_EQ(Device->SetQueryInfo(0, 1, data.data(), 4), ZV_SRVC_ERR_DRIVER_REQUEST);
    EXPECT_EQ(data, Bytes(4, 1));
}

TEST_F(Requests, AsynchronousResponsesComeInChunksWhateverTheirLength)
{
    for (const std::size_t size : {0U, 1U, 199U, 200U, 1000U, 5001U})
    {
        Bytes response(size);
        for (std::size_t i = 0; i < size; ++i)
            response[i] = static_cast<std::uint8_t>(i % 251);
        Driver.SetRule(Code, ZVK_RESPOND, response);
        AsyncRequest request(3, Code, size + 10);
        ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
        EXPECT_EQ(request.Await(), 0U);
        response.resize(size + 10, 0xEE);
        EXPECT_EQ(request.Out, response) << size;
    }
}

TEST_F(Requests, AsynchronousRequestsRunInOrderWithCallbacks)
{
    Driver.SetRule(Code, ZVK_RESPOND, Bytes(300, 6));
    Driver.SetRule(Code + 4, ZVK_END, {}, StatusUnsuccessful);
    Driver.SetRule(Code + 8, ZVK_NO_RESPONSE);
    AsyncRequest answered(1, Code, 300);
    AsyncRequest refused(2, Code + 4, 10);
    AsyncRequest silent(3, Code + 8, 10);
    silent.Record.Timeout = 30;
    AsyncRequest last(4, Code, 300);
    for (AsyncRequest* request : {&answered, &refused, &silent, &last})
        ASSERT_EQ(Device->SendIOCTLReq(&request->Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(answered.Await(), 0U);
    EXPECT_EQ(refused.Await(), 1U);
    EXPECT_EQ(refused.Out, Bytes(10, 0xEE));
    silent.Await();
    EXPECT_EQ(last.Await(), 0U);
    EXPECT_EQ(last.Out, Bytes(300, 6));
}

TEST_F(Requests, ValuesOfTheDriverKeyAreReadWrittenAndDeleted)
{
    std::uint32_t type = REG_SZ;
    std::uint32_t size = 6;
    Bytes text = {'h', 'e', 'l', 'l', 'o', 0};
    EXPECT_EQ(Device->AccessRegistry(ZV_REG_OP_WRITE, "", "Greeting", &type, text.data(), &size), ZV_SRVC_SUCCESS);
    Bytes read(20, 0xEE);
    size = 20;
    type = 0;
    EXPECT_EQ(Device->AccessRegistry(ZV_REG_OP_READ, "", "Greeting", &type, read.data(), &size), ZV_SRVC_SUCCESS);
    EXPECT_EQ(type, std::uint32_t{REG_SZ});
    EXPECT_EQ(size, 6U);
    EXPECT_TRUE(std::equal(text.begin(), text.end(), read.begin()));
    EXPECT_EQ(Device->AccessRegistry(ZV_REG_OP_DELETE_VALUE, "", "Greeting", nullptr, nullptr, nullptr),
              ZV_SRVC_SUCCESS);
    EXPECT_NE(Device->AccessRegistry(ZV_REG_OP_READ, "", "Greeting", &type, read.data(), &size), ZV_SRVC_SUCCESS);
}

TEST_F(Requests, TheListReflectsTheRegistryEntries)
{
    const Listing listing = List(*Manager, "ZV_USB");
    const auto found = std::ranges::find_if(
        listing.Records, [](const auto& listed) { return std::string_view(listed.NetCfgInstanceId) == "{kernel}"; });
    ASSERT_NE(found, listing.Records.end());
    const _ZV_SRVC_DEVICE_INFO& record = *found;
    EXPECT_STREQ(record.DeviceName, "Adapter 0077");
    EXPECT_STREQ(record.DriverKeyIndex, "0077");
    EXPECT_STREQ(record.Service, "zvwlanu");
    EXPECT_STREQ(record.DriverVersion, "1.2.3.4");
    EXPECT_EQ(List(*Manager, "ZV_PCIE").Status, ZV_SRVC_ERR_NO_DEVICE);
}

} // namespace
