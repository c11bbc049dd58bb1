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
constexpr ULONG InvalidHandle = ERROR_INVALID_HANDLE;

/// A provider as a library would be one, registered for its scope.
struct Provider
{
    Provider()
    {
        TRACE_GUID_REGISTRATION guids = {&Control, nullptr};
        EXPECT_EQ(RegisterTraceGuidsW(Callback, this, &Control, 1, &guids, nullptr, nullptr, &Handle), 0U);
    }
    ~Provider() { UnregisterTraceGuids(Handle); }

    static ULONG Callback(WMIDPREQUESTCODE code, void* context, ULONG*, void* buffer)
    {
        auto& self = *static_cast<Provider*>(context);
        EXPECT_NE(self.Handle, 0U) << "the handle is stored before the callback runs";
        const auto text = [](auto number) { return std::to_string(number); };
        const TRACEHANDLE logger = code == WMI_ENABLE_EVENTS ? GetTraceLoggerHandle(buffer) : 0;
        self.Seen +=
            logger == 0 ? "-" : "+" + text(GetTraceEnableLevel(logger)) + "/" + text(GetTraceEnableFlags(logger));
        self.Logger = logger;
        return 0;
    }

    TRACEHANDLE Handle = 0;
    TRACEHANDLE Logger = 0;
    std::string Seen;
};

ULONG Write(TRACEHANDLE logger, std::uint32_t number)
{
    return TraceMessage(logger, AllParts, &MessageClass, 10, &number, sizeof(number), "NULL", std::size_t{5}, nullptr);
}

void Ignore(const TraceRecord&) {}

using TraceTest = OnMachine;

TEST_F(TraceTest, ProviderLearnsOfSessionsBeforeAndAfterItRegisters)
{
    auto early = std::make_unique<TraceSession>(&Control, std::uint8_t{3}, 0x10U, Ignore);
    const TraceSession unrelated(&OtherControl, 9, 9, Ignore);
    Provider provider;
    EXPECT_EQ(provider.Seen, "+3/16");
    early->Enable(4, 0xFFFFFFFF);
    early->Disable();
    early->Disable();
    early->Enable(255, 0);
    early.reset();
    EXPECT_EQ(std::exchange(provider.Seen, ""), "+3/16+4/4294967295-+255/0-");
    TraceSession first(&Control, 1, 1, Ignore);
    {
        const TraceSession second(&Control, 2, 2, Ignore);
        first.Enable(3, 3);
    }
    EXPECT_EQ(std::exchange(provider.Seen, ""), "+1/1+2/2+3/3") << "the last one set, whichever ends";
    EXPECT_EQ(Platform::CountOpenObjects().TraceProviders, 1U);
    EXPECT_EQ(UnregisterTraceGuids(provider.Handle), 0U);
    EXPECT_EQ(provider.Seen, "-") << "an enabled provider is disabled as it leaves";
    EXPECT_EQ(UnregisterTraceGuids(provider.Handle), InvalidHandle);
}

TEST_F(TraceTest, MessageReachesTheSinkComplete)
{
    std::vector<TraceRecord> records;
    const Provider provider;
    auto session = std::make_unique<TraceSession>(&Control, std::uint8_t{3}, 1U, [&](const TraceRecord& record) {
        EXPECT_EQ(Write(provider.Logger, 99), 0U) << "the sink's own message is dropped";
        records.push_back(record);
    });
    const TRACEHANDLE logger = provider.Logger;
    EXPECT_EQ(Write(logger, 7), 0U);
    EXPECT_EQ(Write(logger, 8), 0U);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(std::memcmp(&MessageClass, records[0].MessageClass, sizeof(GUID)), 0);
    EXPECT_EQ(records[0].Number, 10);
    EXPECT_EQ(records[0].Sequence + 1, records[1].Sequence);
    EXPECT_LE(records[0].TimestampNs, records[1].TimestampNs);
    EXPECT_NE(records[0].ThreadId, 0U);
    const std::vector<std::vector<std::uint8_t>> arguments = {{7, 0, 0, 0}, {'N', 'U', 'L', 'L', 0}};
    EXPECT_EQ(arguments, records[0].Arguments);
    session.reset();
    EXPECT_EQ(Write(logger, 9), InvalidHandle);
    EXPECT_EQ(records.size(), 2U);
}

TEST_F(TraceTest, SinkReceivesOneMessageAtATimeAndNoneAfterTheEnd)
{
    std::promise<void> inside;
    std::promise<void> go;
    int count = 0; // no lock: the turns and the session's own end make it visible
    const Provider provider;
    auto session = std::make_unique<TraceSession>(&Control, std::uint8_t{3}, 1U, [&](const TraceRecord&) {
        if (++count <= 400)
            return;
        inside.set_value();
        go.get_future().wait();
        count = 1000;
    });
    const auto write = [logger = provider.Logger](std::uint32_t number) {
        for (std::uint32_t i = 0; i < number; ++i)
            Write(logger, i);
    };
    {
        const std::jthread first(write, 200);
        const std::jthread second(write, 200);
    }
    EXPECT_EQ(count, 400);
    const std::jthread last(write, 1);
    inside.get_future().wait();
    const std::jthread opener([&go] { go.set_value(); });
    session.reset();
    EXPECT_EQ(count, 1000) << "the end waits for the sink";
}

} // namespace
