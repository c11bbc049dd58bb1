/// @file
/// The messages in the queues. A blob is one byte array, zero where its layout has no field; several
/// queues may share it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

using ZVBlob = std::shared_ptr<unsigned char>;

/// Type word of a forwarded window message.
inline constexpr std::uint32_t ZV_EVT_WINDOW_MESSAGE = 0xA0000001;

/// A window message for the device managers, 36 bytes. Packed, because the 4 bytes after its 64-bit
/// numbers would otherwise be padded to 8.
#pragma pack(push, 4)
struct CWindowMessageBlob
{
    std::uint32_t Type;
    std::uint32_t Length;
    std::uint32_t Message;
    std::uint32_t Reserved1;
    std::uint64_t WParam;
    std::int64_t LParam;
    std::uint32_t Reserved2;
};
#pragma pack(pop)

static_assert(sizeof(CWindowMessageBlob) == 36);
static_assert(offsetof(CWindowMessageBlob, Length) == 4);
static_assert(offsetof(CWindowMessageBlob, Message) == 8);
static_assert(offsetof(CWindowMessageBlob, WParam) == 16);
static_assert(offsetof(CWindowMessageBlob, LParam) == 24);

/// An event for the clients, 12 bytes.
struct _ZV_WLAN_EVENT_MSG
{
    std::uint32_t Type;
    std::uint32_t Length;
    std::uint32_t Payload;
};

static_assert(sizeof(_ZV_WLAN_EVENT_MSG) == 12);
static_assert(offsetof(_ZV_WLAN_EVENT_MSG, Payload) == 8);

/// Creates a blob of `size` zero bytes, in one allocation together with its reference count.
inline ZVBlob MakeBlob(std::size_t size)
{
    auto bytes = std::make_shared<unsigned char[]>(size);
    unsigned char* const first = bytes.get();
    return {std::move(bytes), first};
}

template <class Record>
ZVBlob MakeBlobOf(const Record& record)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    ZVBlob blob = MakeBlob(sizeof record);
    std::memcpy(blob.get(), &record, sizeof record);
    return blob;
}

inline ZVBlob MakeWindowMessageBlob(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam)
{
    return MakeBlobOf(CWindowMessageBlob{.Type = ZV_EVT_WINDOW_MESSAGE,
                                         .Length = sizeof(CWindowMessageBlob) - offsetof(CWindowMessageBlob, Message),
                                         .Message = message,
                                         .Reserved1 = 0,
                                         .WParam = wParam,
                                         .LParam = lParam,
                                         .Reserved2 = 0});
}

inline ZVBlob MakeEventBlob(std::uint32_t event)
{
    return MakeBlobOf(_ZV_WLAN_EVENT_MSG{event, 4, 0});
}

/// Reads a record from the start of a blob.
template <class Record>
Record ReadBlob(const ZVBlob& blob)
{
    Record record;
    std::memcpy(&record, blob.get(), sizeof record);
    return record;
}
