#include "TracePrinter.h"

#include "NeverDestroyed.h"
#include "TimeText.h"

#include <Machine.h>

#include <chrono>
#include <cstring>
#include <fmt/core.h>

namespace
{

using std::chrono::steady_clock;
using std::chrono::system_clock;

/// Converts a time of the monotonic clock to the clock of the events.
system_clock::time_point WallTime(std::uint64_t monotonicNs)
{
    const std::chrono::nanoseconds age = steady_clock::now().time_since_epoch() - std::chrono::nanoseconds(monotonicNs);
    return system_clock::now() - std::chrono::duration_cast<system_clock::duration>(age);
}

void Print(const Platform::TraceRecord& record)
{
    const std::string time = UtcText(WallTime(record.TimestampNs));
    // The record has bytes, because Machine.h uses no type of Windows.
    ZVTraceGuid messageClass;
    static_assert(sizeof messageClass == sizeof record.MessageClass);
    std::memcpy(&messageClass, record.MessageClass, sizeof messageClass);
    if (const ZVTraceMessage* row = ZVFindTraceMessage(messageClass, record.Number))
        fmt::print(stderr, "{} {} {:<14} {}\n", time, row->Level, TraceComponent(row->Flag),
                   TraceMessageText(*row, record.Arguments));
    else
        fmt::print(stderr, "{} ? {:<14} message {} of class {:08x}\n", time, "?", record.Number, messageClass.Data1);
}

} // namespace

void StartTracePrinter(const TraceSettings& settings)
{
    static const NeverDestroyed<Platform::TraceSession> session(&ZV_TRACE_PROVIDER, settings.Level, settings.Flags,
                                                                Print);
}
