/// @file
/// Adapter and power events, and the records of a notification client.
#pragma once

#include <cstddef>
#include <cstdint>

/// @name Event codes
/// A client receives no other codes. An event does not identify an adapter; the records of
/// GetZVDeviceList show what changed.
/// @{

/// An adapter left, failed, recovered or changed its driver version.
inline constexpr std::uint32_t ZV_EVT_DEVICE_STATUS_CHANGED = 0x10001;
/// An adapter arrived, or returned.
inline constexpr std::uint32_t ZV_EVT_DEVICE_ARRIVED = 0x10002;
/// Windows asks to suspend or is suspending.
inline constexpr std::uint32_t ZV_EVT_SYSTEM_SUSPEND = 0x10003;
/// Windows has resumed. One resume can be reported twice.
inline constexpr std::uint32_t ZV_EVT_SYSTEM_RESUME = 0x10004;
/// The driver of a listed adapter was uninstalled.
inline constexpr std::uint32_t ZV_EVT_DRIVER_UNINSTALLED = 0x10005;
/// @}

/// The data of a client callback, 16 bytes; valid only during the call.
struct _ZV_WLAN_NOTIFY_DATA
{
    std::uint32_t Reserved;      ///< 0 for events.
    std::uint32_t PayloadLength; ///< 4 for all events.
    const void* Payload;         ///< 4 zero bytes without meaning.
};

static_assert(sizeof(_ZV_WLAN_NOTIFY_DATA) == 16);
static_assert(offsetof(_ZV_WLAN_NOTIFY_DATA, PayloadLength) == 4);
static_assert(offsetof(_ZV_WLAN_NOTIFY_DATA, Payload) == 8);

/// Client callback: the registered context, the event code, the data block. It runs on a library thread and
/// delays only the clients after it in the same list.
using ZV_NOTIFY_CALLBACK = void (*)(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* data);

/// A notification client, 24 bytes. RegisterNotification copies it.
struct _ZV_WLAN_NOTIFY_HDLR
{
    ZV_NOTIFY_CALLBACK Callback; ///< May be null; such a client is skipped.
    void* Context;               ///< First argument of `Callback`.
    std::uint32_t ClientId;      ///< Written by RegisterNotification.
    std::uint32_t ClientType;    ///< ZV_INFO_REQ_MAGIC: the second list; anything else: the first.
};

static_assert(sizeof(_ZV_WLAN_NOTIFY_HDLR) == 24);
static_assert(offsetof(_ZV_WLAN_NOTIFY_HDLR, Context) == 8);
static_assert(offsetof(_ZV_WLAN_NOTIFY_HDLR, ClientId) == 16);
static_assert(offsetof(_ZV_WLAN_NOTIFY_HDLR, ClientType) == 20);
