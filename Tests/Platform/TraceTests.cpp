#include "Expect.h"

#include <cstring>
#include <future>
#include <memory>
#include <thread>

namespace
{

using Platform::TraceRecord;
using Platform::TraceSession;

constexpr GUID Control = {1, 2, 3, {4}};
constexpr GUID OtherControl = {1, 2, 3, {5}};
constexpr GUID MessageClass = {6, 7, 8, {9}};
constexpr ULONG AllParts =
    TRACE_MESSAGE_SEQUENCE | TRACE_MESSAGE_GUID | TRACE_MESSAGE_TIMESTAMP | TRACE_MESSAGE_SYSTEMINFO;

/// A provider as a library would be one.
struct Provider
{
    static ULONG Callback(WMIDPREQUESTCODE code, void* context, ULONG*, void* buffer)
    {
        auto& self = *static_cast<Provider*>(context);
        EXPECT_NE(0U, self.Handle) << "the handle is stored before the callback runs";
        const bool on = code == WMI_ENABLE_EVENTS;
        self.Logger = on ? GetTraceLoggerHandle(buffer) : 0;
        self.Seen += on ? "+" + std::to_string(GetTraceEnableLevel(self.Logger)) + "/" +
                              std::to_string(GetTraceEnableFlags(self.Logger))
                        : "-";
        return 0;
    }

    void Register()
    {
        TRACE_GUID_REGISTRATION guids = {&Control, nullptr};
        EXPECT_EQ(0U, RegisterTraceGuidsW(Callback, this, &Control, 1, &guids, nullptr, nullptr, &Handle));
    }
    ULONG Unregister() { return UnregisterTraceGuids(Handle); }

    TRACEHANDLE Handle = 0;
    TRACEHANDLE Logger = 0;
    std::string Seen;
};

ULONG Write(TRACEHANDLE logger, std::uint32_t number)
{
    return TraceMessage(logger, AllParts, &MessageClass, 10, &number, sizeof(number), "NULL", std::size_t{5}, nullptr);
}

using TraceTest = OnMachine;

TEST_F(TraceTest, ProviderLearnsOfSessionsBeforeAndAfterItRegisters)
{
    Provider provider;
    {
        TraceSession early(&Control, 3, 0x10, [](const TraceRecord&) {});
        const TraceSession unrelated(&OtherControl, 9, 9, [](const TraceRecord&) {});
        provider.Register();
        EXPECT_EQ("+3/16", provider.Seen);
        early.Enable(4, 0xFFFFFFFF);
        early.Disable();
        early.Disable();
        early.Enable(255, 0);
    }
    EXPECT_EQ("+3/16+4/4294967295-+255/0-", std::exchange(provider.Seen, ""));
    const TraceSession late(&Control, 1, 2, [](const TraceRecord&) {});
    EXPECT_EQ("+1/2", std::exchange(provider.Seen, ""));
    EXPECT_EQ(1U, Platform::CountOpenObjects().TraceProviders);
    EXPECT_EQ(0U, provider.Unregister());
    EXPECT_EQ("-", provider.Seen) << "an enabled provider is disabled as it leaves";
    EXPECT_EQ(static_cast<ULONG>(ERROR_INVALID_HANDLE), provider.Unregister());
}

TEST_F(TraceTest, ProviderServesTheSessionThatWasSetLast)
{
    Provider provider;
    provider.Register();
    TraceSession first(&Control, 1, 1, [](const TraceRecord&) {});
    {
        const TraceSession second(&Control, 2, 2, [](const TraceRecord&) {});
        first.Enable(3, 3);
        EXPECT_EQ("+1/1+2/2+3/3", provider.Seen);
    }
    EXPECT_EQ("+1/1+2/2+3/3", provider.Seen) << "the end of the other session changes nothing";
    provider.Unregister();
}

TEST_F(TraceTest, MessageReachesTheSinkWhole)
{
    std::vector<TraceRecord> records;
    Provider provider;
    provider.Register();
    auto session = std::make_unique<TraceSession>(&Control, std::uint8_t{3}, 1U, [&](const TraceRecord& record) {
        EXPECT_EQ(0U, Write(provider.Logger, 99)) << "the sink's own message is dropped";
        records.push_back(record);
    });
    const TRACEHANDLE logger = provider.Logger;
    EXPECT_EQ(0U, Write(logger, 7));
    EXPECT_EQ(0U, Write(logger, 8));
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ(0, std::memcmp(&MessageClass, records[0].MessageClass, sizeof(GUID)));
    EXPECT_EQ(10, records[0].Number);
    EXPECT_EQ(records[0].Sequence + 1, records[1].Sequence);
    EXPECT_LE(records[0].TimestampNs, records[1].TimestampNs);
    EXPECT_NE(0U, records[0].ThreadId);
    const std::vector<std::vector<std::uint8_t>> arguments = {{7, 0, 0, 0}, {'N', 'U', 'L', 'L', 0}};
    EXPECT_EQ(arguments, records[0].Arguments);
    session.reset();
    EXPECT_EQ(static_cast<ULONG>(ERROR_INVALID_HANDLE), Write(logger, 9));
    EXPECT_EQ(2U, records.size());
    provider.Unregister();
}

TEST_F(TraceTest, SessionWaitsForItsSink)
{
    std::promise<void> inside;
    std::promise<void> go;
    bool finished = false;
    Provider provider;
    provider.Register();
    auto session = std::make_unique<TraceSession>(&Control, std::uint8_t{3}, 1U, [&](const TraceRecord&) {
        inside.set_value();
        go.get_future().wait();
        finished = true; // no lock: only the session's waiting makes this visible
    });
    std::jthread writer([logger = provider.Logger] { Write(logger, 1); });
    inside.get_future().wait();
    std::jthread opener([&go] { go.set_value(); });
    session.reset();
    EXPECT_TRUE(finished);
    provider.Unregister();
}

TEST_F(TraceTest, SinkGetsOneMessageAtATime)
{
    int count = 0; // no lock either
    Provider provider;
    provider.Register();
    const TraceSession session(&Control, 3, 1, [&](const TraceRecord&) { ++count; });
    {
        const auto work = [logger = provider.Logger] {
            for (std::uint32_t i = 0; i < 200; ++i)
            {
                Write(logger, i);
            }
        };
        const std::jthread first(work);
        const std::jthread second(work);
    }
    EXPECT_EQ(400, count);
    provider.Unregister();
}

TEST_F(TraceTest, RefusesForeignBuffersAndIncompleteRegistrations)
{
    WNODE_HEADER header{};
    EXPECT_EQ(~TRACEHANDLE{0}, GetTraceLoggerHandle(&header));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
    TRACEHANDLE handle = 5;
    EXPECT_EQ(static_cast<ULONG>(ERROR_INVALID_PARAMETER),
              RegisterTraceGuidsW(nullptr, nullptr, &Control, 0, nullptr, nullptr, nullptr, &handle));
    Box->FailCall("RegisterTraceGuidsW", 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(static_cast<ULONG>(ERROR_NOT_ENOUGH_MEMORY),
              RegisterTraceGuidsW(Provider::Callback, nullptr, &Control, 0, nullptr, nullptr, nullptr, &handle));
    EXPECT_EQ(5U, handle);
}

} // namespace
