#include "TracePrinter.h"

#include "NeverDestroyed.h"

#include <Machine.h>

#include <chrono>
#include <cstring>
#include <fmt/core.h>

namespace
{

std::uint64_t NowNs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

void Print(const Platform::TraceRecord& record, std::uint64_t startNs)
{
    // Signed, because the time stamp is 0 in a message whose flags request none.
    const double seconds = static_cast<double>(static_cast<std::int64_t>(record.TimestampNs - startNs)) / 1e9;
    // The record has bytes, because Machine.h uses no type of Windows.
    ZVTraceGuid messageClass;
    static_assert(sizeof messageClass == sizeof record.MessageClass);
    std::memcpy(&messageClass, record.MessageClass, sizeof messageClass);
    if (const ZVTraceMessage* row = ZVFindTraceMessage(messageClass, record.Number))
        fmt::print(stderr, "[{:10.6f}] {} {:<14} {}\n", seconds, row->Level, TraceComponent(row->Flag),
                   TraceMessageText(*row, record.Arguments));
    else
        fmt::print(stderr, "[{:10.6f}] ? {:<14} message {} of class {:08x}\n", seconds, "?", record.Number,
                   messageClass.Data1);
}

} // namespace

void StartTracePrinter(const TraceSettings& settings)
{
    static const NeverDestroyed<Platform::TraceSession> session(
        &ZV_TRACE_PROVIDER, settings.Level, settings.Flags,
        [startNs = NowNs()](const Platform::TraceRecord& record) { Print(record, startNs); });
}
