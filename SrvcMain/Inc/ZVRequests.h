/// @file
/// The control request that a host defines, and the codes of registry access.
#pragma once

#include <cstddef>
#include <cstdint>

/// @name Operation codes of CDeviceIntf::AccessRegistry
/// @{
inline constexpr std::uint32_t ZV_REG_OP_READ = 1;                  ///< Read a value.
inline constexpr std::uint32_t ZV_REG_OP_WRITE = 0x80000002;        ///< Write a value.
inline constexpr std::uint32_t ZV_REG_OP_DELETE_VALUE = 0x80000003; ///< Delete a value.
/// @}

/// The driver returns the response of an asynchronous request in chunks of this many bytes. A shorter
/// chunk, even an empty one, is the last.
inline constexpr std::uint32_t ZV_RSP_CHUNK_SIZE = 200;

/// Type word of `_ZV_ASYNC_RESULT`.
inline constexpr std::uint32_t ZV_ASYNC_IOCTL_DONE = 0x30001;

struct _ZV_SRVC_IOCTL_REQ;

/// The result of a completion callback, 16 bytes; valid only during the call.
struct _ZV_ASYNC_RESULT
{
    std::uint32_t Type;          ///< ZV_ASYNC_IOCTL_DONE.
    std::uint32_t Length;        ///< 8, the size of `Request`.
    _ZV_SRVC_IOCTL_REQ* Request; ///< The host's record; the library no longer uses it.
};

static_assert(sizeof(_ZV_ASYNC_RESULT) == 16);
static_assert(offsetof(_ZV_ASYNC_RESULT, Length) == 4);
static_assert(offsetof(_ZV_ASYNC_RESULT, Request) == 8);

/// Completion callback. `status` is 0 when the driver accepted the request and 1 when it could not be sent.
/// It runs on the device's own thread, which processes no further request until it returns. It may send
/// requests and release the last reference to the device. It must not call Close of the device, which
/// throws there. Requests to a simulated driver have no callback.
using ZV_ASYNC_CALLBACK = void (*)(void* context, std::uint32_t status, const _ZV_ASYNC_RESULT* result);

/// One control request, 64 bytes. The host fills it and the library only reads it.
///
/// A synchronous request has completed when the call returns. For an asynchronous one the record, its input
/// and its output memory must stay valid until the completion callback.
///
/// There is no callback if the request names none, if a simulated driver took the request, or if the device
/// was closed or released before its thread started the request. The memory of such a request must stay
/// valid until the device object is destroyed.
struct _ZV_SRVC_IOCTL_REQ
{
    std::uint32_t IoctlCode;    ///< Control code, passed to the driver unchanged.
    std::uint16_t RequestId;    ///< Identifies the request to the driver, and asynchronous duplicates.
    std::uint16_t Padding1;     ///< Not read.
    const void* InBuffer;       ///< Input bytes; may be null when `InLength` is 0.
    std::uint32_t InLength;     ///< Bytes at `InBuffer`; the driver receives only the low 16 bits of this number.
    std::uint32_t Padding2;     ///< Not read.
    void* OutBuffer;            ///< Output memory; may be null when `OutLength` is 0.
    std::uint32_t OutLength;    ///< Bytes at `OutBuffer`.
    std::uint32_t Timeout;      ///< Milliseconds; 0xFFFFFFFF waits without limit.
    std::uint8_t IsAsync;       ///< 0: synchronous. Any other value: asynchronous.
    std::uint8_t Padding3[7];   ///< Not read.
    ZV_ASYNC_CALLBACK NotifyFn; ///< Completion callback of an asynchronous request; may be null.
    void* NotifyContext;        ///< First argument of `NotifyFn`; with null there is no callback.
};

static_assert(sizeof(_ZV_SRVC_IOCTL_REQ) == 64);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, RequestId) == 4);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, InBuffer) == 8);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, InLength) == 16);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, OutBuffer) == 24);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, OutLength) == 32);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, Timeout) == 36);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, IsAsync) == 40);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, NotifyFn) == 48);
static_assert(offsetof(_ZV_SRVC_IOCTL_REQ, NotifyContext) == 56);
