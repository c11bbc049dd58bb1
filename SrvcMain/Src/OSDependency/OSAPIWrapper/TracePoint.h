/// @file
/// Trace points and their control record. In a low layer, so that every module can trace without
/// including the service.
#pragma once

#include "OSPlatform.h"

#include "ZVTraceMessages.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

/// What the session has enabled. The trace controller's thread writes it while any thread reads it, so
/// three of the fields are atomic. A point that races with a disable may be lost.
struct CTraceControl
{
    CTraceControl* Next = nullptr;        ///< Always null: there is one provider.
    std::uint64_t RegHandle = 0;          ///< Bring-up and teardown only.
    std::atomic<std::uint64_t> Logger{0}; ///< 0 when the provider is disabled.
    std::uint8_t FlagsLen = 1;            ///< Constant.
    std::atomic<std::uint8_t> Level{0};   ///< 0 when the provider is disabled.
    std::uint16_t Options = 0;            ///< Constant.
    std::atomic<std::uint32_t> Flags{0};  ///< 0 when the provider is disabled.
};

inline constinit CTraceControl TraceControl;

/// Holds the address of TraceControl while the provider is registered, otherwise its own address.
inline constinit std::atomic<const void*> TraceControlPtr{&TraceControlPtr};

/// Returns true when the session has enabled points of this level and component.
inline bool TraceWanted(std::uint8_t level, std::uint32_t flag) noexcept
{
    return TraceControlPtr.load(std::memory_order_acquire) != &TraceControlPtr &&
           TraceControl.Level.load(std::memory_order_relaxed) >= level &&
           (TraceControl.Flags.load(std::memory_order_relaxed) & flag) != 0;
}

namespace TraceDetail
{

/// One argument as TraceMessage takes it: an address and a length.
using CArgument = std::tuple<const void*, std::size_t>;

inline CArgument AsArgument(const std::uint32_t& number) noexcept
{
    return {&number, sizeof number};
}

inline CArgument AsArgument(const char* text) noexcept
{
    const char* shown = text != nullptr ? text : "NULL";
    return {shown, std::strlen(shown) + 1};
}

inline CArgument AsArgument(const std::string& text) noexcept
{
    return {text.c_str(), text.size() + 1};
}

/// Sends the point's class, number and arguments. Numbers must be lvalues of exactly 32 bits, because the
/// provider reads them by address.
template <class... Arguments>
void Write(ZVTracePoint point, const Arguments&... arguments)
{
    constexpr ULONG messageFlags =
        TRACE_MESSAGE_SEQUENCE | TRACE_MESSAGE_GUID | TRACE_MESSAGE_TIMESTAMP | TRACE_MESSAGE_SYSTEMINFO;
    static_assert(messageFlags == 43);
    const ZVTraceMessage& row = ZV_TRACE_MESSAGES[static_cast<std::size_t>(point)];
    GUID messageClass{};
    static_assert(sizeof messageClass == sizeof(ZVTraceGuid));
    std::memcpy(&messageClass, &ZV_TRACE_CLASSES[static_cast<std::size_t>(row.Unit)], sizeof messageClass);
    std::apply(
        [&](auto... words) {
            TraceMessage(TraceControl.Logger.load(std::memory_order_relaxed), messageFlags, &messageClass, row.Number,
                         words..., static_cast<const void*>(nullptr));
        },
        std::tuple_cat(AsArgument(arguments)...));
}

} // namespace TraceDetail

/// The first argument of a list that has at least two.
#define ZV_TRACE_FIRST(first, ...) first

/// ZV_TRACE(point, arguments...): a trace point. Level and component are those of the point's row. The arguments are
/// evaluated only if the session has enabled the point. The point is part of the list, because not every
/// preprocessor can drop the comma after a lone one.
#define ZV_TRACE(...)                                                                                                  \
    do                                                                                                                 \
    {                                                                                                                  \
        constexpr const ZVTraceMessage& zvTraceRow =                                                                   \
            ZV_TRACE_MESSAGES[static_cast<std::size_t>(ZVTracePoint::ZV_TRACE_FIRST(__VA_ARGS__, 0))];                 \
        if (TraceWanted(zvTraceRow.Level, zvTraceRow.Flag)) [[unlikely]]                                               \
            TraceDetail::Write(ZVTracePoint::__VA_ARGS__);                                                             \
    } while (false)
