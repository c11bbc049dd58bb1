/// Every public operation from every callback.

#include "AdapterFixture.h"
#include "CUWPDeviceManager.h"

#include <future>

namespace
{

enum class Where
{
    UserClient,      ///< A client of the first list.
    ZvClient,        ///< A client of the second.
    Completion,      ///< The end of an asynchronous request of the same device.
    OtherCompletion, ///< The end of one of another device.
};

/// What an operation may use. `Device` is open.
struct Host
{
    Platform::Machine& Machine;
    CDeviceManagerIntf& Manager;
    std::shared_ptr<CDeviceIntf>& Device;
    _ZV_SRVC_DEVICE_INFO Record;
};

struct Operation
{
    const char* Name;
    void (*Call)(Host&, Where);
};

void Expect(unsigned int status, unsigned int wanted = ZV_SRVC_SUCCESS)
{
    EXPECT_EQ(status, wanted);
}

void UseManager(Host& host, Where /*where*/)
{
    EXPECT_NE(MakeManager(), nullptr);
    Expect(List(host.Manager, "ZV_ALL").Status);
    std::shared_ptr<CDeviceIntf> second;
    Expect(host.Manager.OpenDevice(&host.Record, ZV_SRVC_DEVICE_UWP, second));
    for (const std::uint32_t type : {0U, ZV_INFO_REQ_MAGIC})
    {
        _ZV_WLAN_NOTIFY_HDLR record{nullptr, nullptr, 0, type};
        Expect(host.Manager.RegisterNotification(&record));
        Expect(host.Manager.DeRegisterNotification(&record));
    }
}

void ChangeAdapter(Host& host, Where /*where*/)
{
    Expect(host.Manager.NicChangeState(host.Device, 0));
    Expect(host.Manager.NicChangeState(host.Device, 1));
    host.Machine.Unplug(host.Machine.Adapters().front());
    host.Machine.Plug(host.Machine.Adapters().front());
}

void UseDevice(Host& host, Where /*where*/)
{
    Expect(host.Device->GetDeviceInfo(&host.Record));
    std::uint32_t number = 0;
    Expect(host.Device->GetAbility(&number), ZV_SRVC_ERR_ABILITY_QUERY); // The adapter has no such value.
    std::uint8_t data[50] = {};
    Expect(host.Device->SetQueryInfo(0, 0x10, data, 4));
    std::uint32_t size = sizeof data;
    Expect(host.Device->AccessRegistry(ZV_REG_OP_READ, "", "DriverVersion", &number, data, &size));
    _ZV_SRVC_IOCTL_REQ request{};
    request.IoctlCode = 0x222000;
    request.Timeout = 1000;
    Expect(host.Device->SendIOCTLReq(&request));
}

void SendAsync(Host& host, Where /*where*/)
{
    static std::deque<std::unique_ptr<AsyncRequest>> requests; // Outlive the test's callbacks.
    auto& request = *requests.emplace_back(std::make_unique<AsyncRequest>(9, 0x222000, 4));
    request.Record.NotifyFn = nullptr; // Its completion would come after this callback.
    Expect(host.Device->SendIOCTLReq(&request.Record));
}

void DropDevice(Host& host, Where /*where*/)
{
    host.Device.reset();
}

/// Only its own thread cannot end a device's thread: that is refused, and nothing has changed but
/// that the device is no longer bound.
void CloseDevice(Host& host, Where where)
{
    if (where == Where::Completion)
        EXPECT_THROW(host.Device->Close(), std::system_error);
    else
        Expect(host.Device->Close());
}

const Operation Operations[] = {
    {"UseManager", UseManager}, {"ChangeAdapter", ChangeAdapter}, {"UseDevice", UseDevice},
    {"SendAsync", SendAsync},   {"DropDevice", DropDevice},       {"CloseDevice", CloseDevice},
};

class Callback : public AdapterTest, public testing::WithParamInterface<std::tuple<Where, std::size_t>>
{
protected:
    /// Runs work on the thread of a callback, in the callback.
    void RunIn(Where where, const std::shared_ptr<CDeviceIntf>& device, std::function<void()> work)
    {
        if (where == Where::UserClient || where == Where::ZvClient)
        {
            auto* const client = MakeClient(*Manager, where == Where::ZvClient ? ZV_INFO_REQ_MAGIC : 0);
            client->InCallback = [work = std::move(work)](std::uint32_t event) {
                if (event == ZV_EVT_SYSTEM_RESUME)
                    work();
            };
            Machine->Broadcast(WmPowerBroadcast, 7);
            return;
        }
        Request.InCallback = std::move(work);
        (where == Where::Completion ? device : Other)->SendIOCTLReq(&Request.Record);
        Drivers.front()->Chunk({1});
    }

    std::shared_ptr<CDeviceIntf> Other = Open();
    AsyncRequest Request{1, 0x222004, 4};
};

/// Some cells of the table of operations by callback in docs/THREADS.md. A call that waits for the
/// callback's own thread never returns; the test's time limit detects that.
TEST_P(Callback, MayCallTheOperations)
{
    const auto [where, index] = GetParam();
    std::shared_ptr<CDeviceIntf> device = Open();
    Host host{*Machine, *Manager, device, Listed()};
    std::promise<void> done;
    RunIn(where, device, [&, place = where, operation = &Operations[index]] {
        operation->Call(host, place);
        done.set_value();
    });
    ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    if (where == Where::Completion || where == Where::OtherCompletion)
        Request.Await();
    if (Operations[index].Name == std::string_view("SendAsync"))
        Drivers.front()->Chunk({1}); // Otherwise its end waits for a response.
    Settle();
}

std::string NameOf(const testing::TestParamInfo<std::tuple<Where, std::size_t>>& cell)
{
    const char* const places[] = {"UserClient", "ZvClient", "Completion", "OtherCompletion"};
    const auto [where, index] = cell.param;
    return std::string(Operations[index].Name) + "In" + places[static_cast<std::size_t>(where)];
}

const auto AllPlaces = testing::Values(Where::UserClient, Where::ZvClient, Where::Completion, Where::OtherCompletion);
const auto AllOperations = testing::Range(std::size_t{0}, std::size(Operations));

INSTANTIATE_TEST_SUITE_P(All, Callback, testing::Combine(AllPlaces, AllOperations), NameOf);

TEST(Callback, MayReleaseTheLastReferenceToItsManager)
{
    for (const std::uint32_t type : {0U, ZV_INFO_REQ_MAGIC})
    {
        static std::shared_ptr<CUWPDeviceManager> manager;
        static std::atomic<bool> isPosted;
        static std::atomic<bool> isReleased;
        manager = std::make_shared<CUWPDeviceManager>();
        isPosted = false;
        isReleased = false;
        _ZV_WLAN_NOTIFY_HDLR client{[](void*, std::uint32_t, const _ZV_WLAN_NOTIFY_DATA*) {
                                        AwaitChange(isPosted, false); // The post uses the manager.
                                        manager.reset();
                                        isReleased = true;
                                        NotifyChange();
                                    },
                                    nullptr, 0, type};
        manager->RegisterNotification(&client);
        manager->PwrEvtHdlr(0x218, 4, 0);
        isPosted = true;
        NotifyChange();
        AwaitChange(isReleased, false);
    }
}

} // namespace
