/// Drivers that break the rules for cancelled and completed requests: every call keeps its bound,
/// other adapters keep their events, and no memory is freed while such a driver still has it.

#include "EventFixture.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Answer = TestDriver::Answer;

constexpr std::uint32_t DeviceInfo = 0x122428;
constexpr std::uint32_t InfoReq = 0x122414;
constexpr std::uint32_t HostCode = 0x99000000;
/// What a busy machine may add to a documented bound.
constexpr auto Slack = 1500ms;

class HostileDriver : public EventTest
{
protected:
    HostileDriver()
    {
        Add("{hostile}");
        Add("{good}");
        List(*Manager, "ZV_USB");
        Record = {};
        std::strcpy(Record.NetCfgInstanceId, "{hostile}");
        EXPECT_EQ(Manager->OpenDevice(&Record, ZV_SRVC_DEVICE_UWP, Device), ZV_SRVC_SUCCESS);
    }

    TestDriver& Hostile() { return *Drivers.front(); }

    template <class Call>
    void Within(std::chrono::milliseconds bound, const char* name, Call call)
    {
        const auto start = Clock::now();
        call();
        EXPECT_LT(Clock::now() - start, bound + Slack) << name;
    }

    /// Uses every operation that reaches the driver, and frees all memory as soon as it may be freed.
    void UseAll()
    {
        Within(400ms, "OpenDevice", [&] {
            std::shared_ptr<CDeviceIntf> other;
            Manager->OpenDevice(&Record, ZV_SRVC_DEVICE_UWP, other);
        });
        Within(150ms, "SetQueryInfo", [&] {
            const auto item = std::make_unique<Bytes>(16, 1);
            Device->SetQueryInfo(1, 1, item->data(), 16);
        });
        Within(120ms, "SendIOCTLReq", [&] {
            const auto out = std::make_unique<Bytes>(16, 0xEE);
            _ZV_SRVC_IOCTL_REQ request{};
            request.IoctlCode = HostCode;
            request.OutBuffer = out->data();
            request.OutLength = 16;
            request.Timeout = 20;
            Device->SendIOCTLReq(&request);
        });
        Within(3120ms, "the callback", [&] {
            AsyncRequest request(1, HostCode, 300);
            request.Record.Timeout = 20;
            EXPECT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
            request.Await();
        });
    }

    /// A removal at the other adapter, whose sweep probes both, is still delivered.
    void ExpectEventsOfOthers()
    {
        Machine->SetProblem(Machine->Adapters().back(), 10);
        EXPECT_EQ(std::ranges::count(Settle(), ZV_EVT_DEVICE_STATUS_CHANGED), 1);
    }

    _ZV_SRVC_DEVICE_INFO Record{};
    std::shared_ptr<CDeviceIntf> Device;
};

enum Completion : std::uint8_t
{
    Never,
    AtOnce,
    Later, ///< On another thread, after the request went pending.
};

struct Hostility
{
    const char* Name;
    Completion Completes = Never;
    std::uint32_t Error = 0;
    bool KeepsCancelled = false;
    bool CompletesOnClose = false;
    bool CancelFails = false;

    friend void PrintTo(const Hostility& hostile, std::ostream* out) { *out << hostile.Name; }
};

constexpr Hostility Hostilities[] = {
    {.Name = "KeepsCancelledRequests", .KeepsCancelled = true},
    {.Name = "CompletesOnClose", .KeepsCancelled = true, .CompletesOnClose = true},
    {.Name = "CancellationFails", .CancelFails = true},
    {.Name = "CompletesWith996", .Completes = Later, .Error = 996},
    {.Name = "CompletesWith997", .Completes = Later, .Error = 997},
    {.Name = "RefusesWith996", .Completes = AtOnce, .Error = 996},
    {.Name = "RefusesWith997", .Completes = AtOnce, .Error = 997},
};

class AnyHostileDriver : public HostileDriver, public testing::WithParamInterface<Hostility>
{
};

TEST_P(AnyHostileDriver, EveryCallReturnsInTimeAndOtherAdaptersKeepTheirEvents)
{
    const Hostility& hostile = GetParam();
    std::vector<std::jthread> threads;
    threads.reserve(64);
    const Answer answers[] = {Hostile().Hold(), TestDriver::EndWith(hostile.Error),
                              [&](const TestDriver::RequestPtr& request) {
                                  threads.emplace_back([&, request] { request->Complete(hostile.Error); });
                              }};
    for (const std::uint32_t code : {DeviceInfo, InfoReq, HostCode, TestDriver::WaitRsp})
        Hostile().On(code, answers[hostile.Completes]);
    Hostile().HoldCancelled(hostile.KeepsCancelled);
    if (hostile.CompletesOnClose)
        Hostile().HoldCancelledUntilClose();
    if (hostile.CancelFails)
        for (const char* call : {"CancelIoEx", "CancelIo"})
            Machine->FailCall(call, 1, 31, 100'000);
    UseAll();
    ExpectEventsOfOthers();
    Within(100ms, "Close", [&] { Device->Close(); });
}

INSTANTIATE_TEST_SUITE_P(All, AnyHostileDriver, testing::ValuesIn(Hostilities),
                         [](const auto& test) { return test.param.Name; });

TEST_F(HostileDriver, AReadThatCompletesAtOnceWithAWarningCountsAsComplete)
{
    Hostile().On(TestDriver::WaitRsp, TestDriver::EndWith(234, Bytes(200, 7)));
    AsyncRequest request(1, HostCode, 300);
    const auto start = Clock::now();
    ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(request.Await(), ZV_SRVC_SUCCESS);
    EXPECT_LT(Clock::now() - start, 3000ms) << "not the silence that ends an unanswered response";
    EXPECT_EQ(request.Out, Bytes(300, 0xEE));
}

TEST_F(HostileDriver, OutputOfAFailedRequestReachesTheHostUnlessTheRequestIsParked)
{
    const struct
    {
        const char* Name;
        std::uint32_t Error;
        bool IsParked;
        std::uint8_t First;
    } cases[] = {
        {"refused with a warning and output", 234, false, 9},
        {"completed in time for the cancellation", 0, false, 9},
        {"parked", 0, true, 0xEE},
    };
    for (const auto& [name, error, isParked, first] : cases)
    {
        Bytes out(16, 0xEE);
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = HostCode;
        request.OutBuffer = out.data();
        request.OutLength = 16;
        request.Timeout = 1;
        Hostile().On(HostCode, error != 0 ? TestDriver::EndWith(error, Bytes(8, 9)) : Hostile().Hold());
        Hostile().HoldCancelled(true);
        std::jthread driver([this, completes = error == 0 && !isParked] {
            if (completes)
                Hostile().Cancelled()->Complete(0, Bytes(8, 9));
        });
        EXPECT_EQ(Device->SendIOCTLReq(&request), ZV_SRVC_ERR_FAILURE) << name;
        driver.join();
        if (isParked)
            Hostile().Cancelled()->Complete(0, Bytes(8, 9)); // Too late for the host's memory.
        EXPECT_EQ(out[0], first) << name;
        EXPECT_EQ(out[8], 0xEE) << name << ": what the driver did not write";
    }
    Device->Close();
    EXPECT_EQ(Platform::CountOpenObjects().RequestsInFlight, 0U) << "a parked request that completed is released";
}

TEST_F(HostileDriver, AResponseEndsWithItsDataWhenNoTerminateEventCanBeCreated)
{
    AsyncRequest request(1, HostCode, 300);
    // After the five reads and before the request's own event.
    Machine->FailCall("CreateEventW", 6, 5);
    ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
    Hostile().Chunk(Bytes(200, 1));
    Hostile().Chunk(Bytes(50, 2));
    EXPECT_EQ(request.Await(), ZV_SRVC_SUCCESS);
    EXPECT_EQ(request.Out[0], 1);
    EXPECT_EQ(request.Out[249], 2);
}

TEST_F(HostileDriver, TheExitOfTheProcessEndsASweepAfterTheProbeInProgress)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitDuringSweep = [this] {
        for (const char* identity : {"{h1}", "{h2}", "{h3}", "{h4}", "{h5}", "{h6}"})
            Add(identity);
        Relist();
        for (const auto& driver : Drivers)
            driver->On(DeviceInfo, driver->Hold());
        Machine->Broadcast(WmDeviceChange, RemoveComplete);
        const auto probe = Drivers.front()->Held(DeviceInfo);
        std::exit(7);
    };
    // Eight adapters that do not answer have 64 probes of 300 ms.
    Within(5s, "exit", [&] { EXPECT_EXIT(exitDuringSweep(), testing::ExitedWithCode(7), ""); });
}

} // namespace
