/// The trace provider as a controller sees it.

#include "TracePoint.h"

#include "Hosting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <optional>

namespace
{

/// A running session and the points that it got.
class Session
{
public:
    Session(std::uint8_t level, std::uint32_t flags)
        : Running(std::in_place, &ZV_TRACE_PROVIDER, level, flags, [this](const Platform::TraceRecord& r) { Take(r); })
    {
    }

    /// The texts of all points so far; each must be in the table and carry the common flags.
    std::vector<const ZVTraceMessage*> Rows()
    {
        const std::lock_guard lock(Mutex);
        return std::exchange(Taken, {});
    }

    std::vector<std::vector<std::uint8_t>> LastArguments()
    {
        const std::lock_guard lock(Mutex);
        return Arguments;
    }

private:
    void Take(const Platform::TraceRecord& record)
    {
        ZVTraceGuid messageClass;
        std::memcpy(&messageClass, record.MessageClass, sizeof messageClass);
        const ZVTraceMessage* row = ZVFindTraceMessage(messageClass, record.Number);
        EXPECT_NE(row, nullptr);
        EXPECT_EQ(record.MessageFlags, 43U);
        const std::lock_guard lock(Mutex);
        Taken.push_back(row);
        Arguments = record.Arguments;
    }

    std::mutex Mutex;
    std::vector<const ZVTraceMessage*> Taken;         ///< Guarded by Mutex.
    std::vector<std::vector<std::uint8_t>> Arguments; ///< Guarded by Mutex.

public:
    /// Last member: starts when the storage for points exists, and stops before it is destroyed.
    std::optional<Platform::TraceSession> Running;
};

bool Has(const std::vector<const ZVTraceMessage*>& rows, ZVTracePoint point)
{
    return std::ranges::find(rows, &ZV_TRACE_MESSAGES[static_cast<std::size_t>(point)]) != rows.end();
}

TEST(Trace, FiltersByLevelAndComponent)
{
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
    const auto manager = MakeManager();
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
    Session session(1, 0);
    for (const auto& [level, flags, accepted, hardwareId, factory] : cases)
    {
        session.Running->Enable(level, flags);
        const auto other = MakeManager();
        List(*other, "ZV_USB");
        const auto rows = session.Rows();
        EXPECT_EQ(Has(rows, ZVTracePoint::WalkAccepted), accepted) << int{level} << " " << flags;
        EXPECT_EQ(Has(rows, ZVTracePoint::WalkHardwareId), hardwareId) << int{level} << " " << flags;
        EXPECT_EQ(Has(rows, ZVTracePoint::FactoryManager), factory) << int{level} << " " << flags;
    }
    session.Running->Disable();
    EXPECT_FALSE(TraceWanted(1, 0x1F));
}

TEST(Trace, AnEarlierSessionReceivesBringUpFromTheRegistrationOn)
{
    Session session(4, TRACE_FLAG_SERVICE | TRACE_FLAG_NOTIFICATION);
    EXPECT_FALSE(TraceWanted(1, 0x1F)) << "silent before the registration";
    MakeManager();
    auto rows = session.Rows();
    // The service's thread is started before the registration, but may come to its first words later.
    std::erase(rows, &ZV_TRACE_MESSAGES[static_cast<std::size_t>(ZVTracePoint::NotifyThreadEntered)]);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows.front(), &ZV_TRACE_MESSAGES[static_cast<std::size_t>(ZVTracePoint::ServiceUp)])
        << "nothing of the start of the service's thread, which comes before";
    EXPECT_TRUE(Has(rows, ZVTracePoint::ServiceInit));
    EXPECT_TRUE(Has(rows, ZVTracePoint::HandlerRegistered));
}

TEST(Trace, ArgumentsAreTerminatedTextsAndFourByteNumbers)
{
    MakeManager();
    Session session(3, TRACE_FLAG_DEVICE_MANAGER);
    const char* missing = nullptr;
    const std::uint32_t number = 0x01020304;
    ZV_TRACE(ListRequest, missing, std::string("ab"));
    EXPECT_EQ(session.LastArguments(),
              (std::vector<std::vector<std::uint8_t>>{{'N', 'U', 'L', 'L', 0}, {'a', 'b', 0}}));
    ZV_TRACE(ListResult, number, number);
    EXPECT_EQ(session.LastArguments(), (std::vector<std::vector<std::uint8_t>>(2, {4, 3, 2, 1})));
}

} // namespace
