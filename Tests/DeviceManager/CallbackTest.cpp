/// Every public operation from every callback.

#include "CUWPDeviceManager.h"
#include "EventFixture.h"

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
    std::function<void(Host&, Where)> Call;
};

void Expect(unsigned int status, unsigned int wanted = ZV_SRVC_SUCCESS)
{
    EXPECT_EQ(status, wanted);
}

/// A second device on the same adapter.
std::shared_ptr<CDeviceIntf> OpenAnother(Host& host)
{
    std::shared_ptr<CDeviceIntf> device;
    Expect(host.Manager.OpenDevice(&host.Record, ZV_SRVC_DEVICE_UWP, device));
    return device;
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

void SendAsync(Host& host, Where /*where*/)
{
    static std::deque<std::unique_ptr<AsyncRequest>> requests; // Outlive the test's callbacks.
    auto& request = *requests.emplace_back(std::make_unique<AsyncRequest>(9, 0x222000, 4));
    request.Record.NotifyFn = nullptr; // Its completion would come after this callback.
    Expect(host.Device->SendIOCTLReq(&request.Record));
}

const Operation Operations[] = {
    {"CreateManager", [](Host&, Where) { EXPECT_NE(MakeManager(), nullptr); }},
    {"List", [](Host& host, Where) { Expect(List(host.Manager, "ZV_USB").Status); }},
    {"ListWithAnotherFilter", [](Host& host, Where) { Expect(List(host.Manager, "ZV_ALL").Status); }},
    {"OpenDevice", [](Host& host, Where) { EXPECT_NE(OpenAnother(host), nullptr); }},
    {"RegisterAndDeRegister",
     [](Host& host, Where) {
         for (const std::uint32_t type : {0U, ZV_INFO_REQ_MAGIC})
         {
             _ZV_WLAN_NOTIFY_HDLR record{nullptr, nullptr, 0, type};
             Expect(host.Manager.RegisterNotification(&record));
             Expect(host.Manager.DeRegisterNotification(&record));
         }
     }},
    {"NicChangeState",
     [](Host& host, Where) {
         Expect(host.Manager.NicChangeState(host.Device, 0));
         Expect(host.Manager.NicChangeState(host.Device, 1));
     }},
    {"Plugging",
     [](Host& host, Where) {
         host.Machine.Unplug(host.Machine.Adapters().front());
         host.Machine.Plug(host.Machine.Adapters().front());
     }},
    {"GetDeviceInfo",
     [](Host& host, Where) {
         _ZV_SRVC_DEVICE_INFO record{};
         Expect(host.Device->GetDeviceInfo(&record));
     }},
    {"GetAbility",
     [](Host& host, Where) {
         std::uint32_t ability = 0;
         Expect(host.Device->GetAbility(&ability), ZV_SRVC_ERR_ABILITY_QUERY); // the adapter has no such value
     }},
    {"SetQueryInfo",
     [](Host& host, Where) {
         std::uint8_t item[4] = {};
         Expect(host.Device->SetQueryInfo(0, 0x10, item, sizeof item));
     }},
    {"SendIOCTLReq",
     [](Host& host, Where) {
         _ZV_SRVC_IOCTL_REQ request{};
         request.IoctlCode = 0x222000;
         request.Timeout = 1000;
         Expect(host.Device->SendIOCTLReq(&request));
     }},
    {"SendIOCTLReqAsync", SendAsync},
    {"AccessRegistry",
     [](Host& host, Where) {
         std::uint32_t type = 0;
         std::uint8_t data[50] = {};
         std::uint32_t size = sizeof data;
         Expect(host.Device->AccessRegistry(ZV_REG_OP_READ, "", "DriverVersion", &type, data, &size));
     }},
    {"DropDevice", [](Host& host, Where) { host.Device.reset(); }},
    {"Close", CloseDevice},
};

class Callback : public EventTest, public testing::WithParamInterface<std::tuple<Where, std::size_t>>
{
protected:
    std::shared_ptr<CDeviceIntf> Open()
    {
        const _ZV_SRVC_DEVICE_INFO record = Listed();
        std::shared_ptr<CDeviceIntf> device;
        EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
        return device;
    }

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

    Platform::AdapterId Adapter = Add("{dev}");
    std::shared_ptr<CDeviceIntf> Other = Open();
    AsyncRequest Request{1, 0x222004, 4};
};

/// One cell of the table of operations by callback in docs/ARCHITECTURE.md. A call that waits for the
/// callback's own thread never returns; the test's time limit detects that.
TEST_P(Callback, MayCallTheOperation)
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
    if (Operations[index].Name == std::string_view("SendIOCTLReqAsync"))
        Drivers.front()->Chunk({1}); // Otherwise its end waits for a response.
    Settle();
    Other.reset();
    device.reset();
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
        static std::atomic<bool> isReleased;
        manager = std::make_shared<CUWPDeviceManager>();
        isReleased = false;
        _ZV_WLAN_NOTIFY_HDLR client{[](void*, std::uint32_t, const _ZV_WLAN_NOTIFY_DATA*) {
                                        manager.reset();
                                        isReleased = true;
                                        NotifyChange();
                                    },
                                    nullptr, 0, type};
        manager->RegisterNotification(&client);
        manager->PwrEvtHdlr(0x218, 4, 0);
        AwaitChange(isReleased, false);
    }
}

} // namespace
