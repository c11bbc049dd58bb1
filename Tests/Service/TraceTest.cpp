/// The trace provider as a controller sees it.

#include "TracePoint.h"

#include "Hosting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <thread>

namespace
{

using Arguments = std::vector<std::vector<std::uint8_t>>;

/// A running session that records the points it receives, each of which must be in the table.
class Trace : public testing::Test
{
protected:
    std::vector<ZVTracePoint> TakePoints()
    {
        const std::lock_guard lock(Mutex);
        return std::exchange(Points, {});
    }

    bool Took(ZVTracePoint point) const { return std::ranges::find(Taken, point) != Taken.end(); }

    void Take(const Platform::TraceRecord& record)
    {
        ZVTraceGuid messageClass;
        std::memcpy(&messageClass, record.MessageClass, sizeof messageClass);
        const ZVTraceMessage* row = ZVFindTraceMessage(messageClass, record.Number);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(record.MessageFlags, 43U);
        const std::lock_guard lock(Mutex);
        Points.push_back(static_cast<ZVTracePoint>(row - ZV_TRACE_MESSAGES));
        // Other threads may still send points that an earlier setting has enabled.
        if (std::this_thread::get_id() == Owner)
            LastArguments = record.Arguments;
    }

    const std::thread::id Owner = std::this_thread::get_id();
    std::mutex Mutex;
    std::vector<ZVTracePoint> Points; ///< Guarded by Mutex.
    Arguments LastArguments;          ///< Of the test's own thread.
    std::vector<ZVTracePoint> Taken;
    Platform::TraceSession Session{&ZV_TRACE_PROVIDER, 4, 0x1F, [this](const auto& record) { Take(record); }};
};

TEST_F(Trace, FiltersByLevelAndComponent)
{
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
    const struct
    {
        std::uint8_t Level;
        std::uint32_t Flags;
        bool Accepted, HardwareId, Factory;
    } cases[] = {
        {4, 0x1F, true, true, true},         {3, 0x1F, true, false, true},  {2, 0x1F, false, false, false},
        {4, 0x04, true, true, false},        {4, 0x01, false, false, true}, {4, 0, false, false, false},
        {255, 0xFFFFFFFF, true, true, true},
    };
    MakeManager();
    for (const auto& [level, flags, accepted, hardwareId, factory] : cases)
    {
        SCOPED_TRACE(testing::Message() << int{level} << ' ' << flags);
        Session.Enable(level, flags);
        TakePoints();
        List(*MakeManager(), "ZV_USB");
        Taken = TakePoints();
        EXPECT_EQ(Took(ZVTracePoint::WalkAccepted), accepted);
        EXPECT_EQ(Took(ZVTracePoint::WalkHardwareId), hardwareId);
        EXPECT_EQ(Took(ZVTracePoint::FactoryManager), factory);
    }
    Session.Disable();
    EXPECT_FALSE(TraceWanted(1, 0x1F));
}

TEST_F(Trace, AnEarlierSessionReceivesBringUpFromTheRegistrationOn)
{
    EXPECT_FALSE(TraceWanted(1, 0x1F)) << "silent before the registration";
    MakeManager();
    Taken = TakePoints();
    // The service's thread is started before the registration, but may trace its first point later.
    std::erase(Taken, ZVTracePoint::NotifyThreadEntered);
    ASSERT_FALSE(Taken.empty());
    EXPECT_EQ(Taken.front(), ZVTracePoint::ServiceUp);
    EXPECT_TRUE(Took(ZVTracePoint::ServiceInit));
    EXPECT_TRUE(Took(ZVTracePoint::HandlerRegistered));
}

TEST_F(Trace, ArgumentsAreTerminatedTextsAndFourByteNumbers)
{
    MakeManager();
    Session.Enable(3, TRACE_FLAG_DEVICE_MANAGER);
    const char* missing = nullptr;
    const std::uint32_t number = 0x01020304;
    ZV_TRACE(ListRequest, missing, std::string("ab"));
    EXPECT_EQ(LastArguments, (Arguments{{'N', 'U', 'L', 'L', 0}, {'a', 'b', 0}}));
    ZV_TRACE(ListResult, number, number);
    EXPECT_EQ(LastArguments, (Arguments(2, {4, 3, 2, 1})));
}

} // namespace
