/// @file
/// The records that the library and an adapter's driver exchange; little-endian.
#pragma once

#include "ZVRequests.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The control device of an adapter: this path, directly followed by the adapter's NetCfgInstanceId.
inline constexpr char ZV_CONTROL_PATH[] = R"(\\.\Zorvane_Wifi_Device)";

/// Composes a control code of a network device with buffered transfer and any access.
constexpr std::uint32_t ZVControlCode(std::uint32_t function)
{
    constexpr std::uint32_t fileDeviceNetwork = 0x12;
    return (fileDeviceNetwork << 16) | (function << 2);
}

inline constexpr std::uint32_t IOCTL_ZV_INFO_REQ = ZVControlCode(0x905);    ///< Set or query an item.
inline constexpr std::uint32_t IOCTL_ZV_WAIT_RSP = ZVControlCode(0x906);    ///< Fetch a response chunk.
inline constexpr std::uint32_t IOCTL_ZV_DEVICE_INFO = ZVControlCode(0x90A); ///< Read the information block.

static_assert(IOCTL_ZV_INFO_REQ == 0x122414);
static_assert(IOCTL_ZV_WAIT_RSP == 0x122418);
static_assert(IOCTL_ZV_DEVICE_INFO == 0x122428);

/// Precedes the payload of every request except response reads.
#pragma pack(push, 2)
struct _ZV_DRV_REQ_HDR
{
    std::uint32_t ProcessId;
    std::uint16_t RequestId;
    std::uint8_t Marker; ///< Always 1.
    std::uint8_t Reserved;
    std::uint16_t InLength; ///< The low 16 bits of the payload's length.
};
#pragma pack(pop)

static_assert(sizeof(_ZV_DRV_REQ_HDR) == 10);
static_assert(offsetof(_ZV_DRV_REQ_HDR, RequestId) == 4);
static_assert(offsetof(_ZV_DRV_REQ_HDR, Marker) == 6);
static_assert(offsetof(_ZV_DRV_REQ_HDR, InLength) == 8);

/// The size of a request buffer beyond the larger of the caller's two lengths: the header and 2 bytes.
inline constexpr std::uint32_t ZV_REQ_OVERHEAD = 12;

/// Head of an information record; the item's data follow.
struct _ZV_DRV_INFO_REQ
{
    std::uint32_t BodySize;   ///< Data length + 36: the record without this field.
    std::uint32_t Signature;  ///< ZV_INFO_REQ_MAGIC.
    std::uint32_t Fixed4;     ///< 4.
    std::uint32_t Fixed1;     ///< 1.
    std::uint32_t Kind;       ///< 7 queries, 8 sets.
    std::uint32_t RecordSize; ///< Data length + 40.
    std::uint32_t InfoId;
    std::uint32_t SetSize1; ///< Set: data length + 24, from Kind to the end. Query: 0.
    std::uint32_t SetSize2; ///< The same.
    std::uint32_t DataLength;
};

static_assert(sizeof(_ZV_DRV_INFO_REQ) == 40);
static_assert(offsetof(_ZV_DRV_INFO_REQ, Kind) == 16);
static_assert(offsetof(_ZV_DRV_INFO_REQ, InfoId) == 24);
static_assert(offsetof(_ZV_DRV_INFO_REQ, DataLength) == 36);

inline constexpr std::uint32_t ZV_INFO_KIND_QUERY = 7;
inline constexpr std::uint32_t ZV_INFO_KIND_SET = 8;
inline constexpr std::uint16_t ZV_INFO_REQUEST_ID = 9;
inline constexpr std::uint32_t ZV_INFO_TIMEOUT_MS = 50;

/// The driver's answer to IOCTL_ZV_DEVICE_INFO.
struct _ZV_DRV_INFO_BLOCK
{
    std::array<std::uint32_t, 4> Words; ///< Stored by an open device; the driver defines their meaning.
    std::array<std::uint8_t, 84> Rest;  ///< Not read.
};

static_assert(sizeof(_ZV_DRV_INFO_BLOCK) == 100);

inline constexpr std::uint32_t ZV_DEVICE_INFO_TIMEOUT_MS = 300;

inline constexpr std::size_t ZV_RSP_BUFFER_COUNT = 5;   ///< Response reads in flight for one request.
inline constexpr std::uint32_t ZV_RSP_WAIT_MS = 3000;   ///< A response ends when no chunk arrives for this long.
inline constexpr std::uint32_t ZV_ASYNC_WAKE_SIZE = 12; ///< The message that wakes a device's thread.
