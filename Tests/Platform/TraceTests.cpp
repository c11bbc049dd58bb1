#include "Expect.h"

#include <memory>
#include <string>

namespace
{

using Platform::TraceRecord;
using Platform::TraceSession;

constexpr GUID Control = {1, 2, 3, {4}};
constexpr GUID OtherControl = {1, 2, 3, {5}};
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

} // namespace
