/** @file
 * The private control codes of the kernel-mode test driver. For C and C++; all numbers are little-endian.
 *
 * An administrator's program opens ZVK_STEERING_PATH and plugs one control device in through that handle. The device
 * exists until it is unplugged or the handle is closed, at the latest when the program exits. Its pending
 * requests then complete with "device removed", as does every later one, and its name becomes free.
 *
 * The device answers like an adapter's driver, unless a rule says otherwise.
 */
#pragma once

#ifdef __cplusplus
#include <cstdint>
#else
#include <assert.h>
#include <stdint.h>
#endif

#define ZVK_SERVICE_NAME "ZVKernelDriver"
#define ZVK_STEERING_PATH "\\\\.\\ZVKernelDriver"

/** A private control code: device type 0x8A56, buffered, for handles that may read and write. */
#define ZVK_CODE(function) ((0x8A56U << 16) | (3U << 14) | ((function) << 2))

enum
{
    ZVK_NAME_SIZE = 64,       /**< Size of a device's name, including NUL. */
    ZVK_MOST_OUTPUT = 0x10000 /**< Most bytes that ZvkRule or ZvkEnd may be followed by. */
};

/** Plugs a device in. Input: its name with NUL, such as "Zorvane_Wifi_Device{1}", ASCII without a
 * backslash. Fails with "object name collision" if the name is in use. */
#define ZVK_PLUG ZVK_CODE(0x801U)
/** Unplugs the device. No input. */
#define ZVK_UNPLUG ZVK_CODE(0x802U)
/** Sets the rule for requests with one code. Input: struct ZvkRule, directly followed by its bytes. */
#define ZVK_SET_RULE ZVK_CODE(0x803U)
/** Completes the oldest request with a code that a rule keeps. Input: struct ZvkEnd, directly followed by
 * its bytes. Fails with "not found" if none is kept. */
#define ZVK_END_KEPT ZVK_CODE(0x804U)
/** Sets whether cancelled requests are held. Input: a 32-bit number; 0 completes the held requests. Each is
 * held for a minute at most, because Windows keeps a process that exits until its requests complete. */
#define ZVK_HOLD_CANCELLED ZVK_CODE(0x805U)
/** Returns the device's counts. Output: struct ZvkCounts. */
#define ZVK_COUNT ZVK_CODE(0x806U)

/** How a request is treated. Only the first three apply to response reads. */
enum ZvkAction
{
    ZVK_ANSWER = 0,      /**< Answers like an adapter's driver; the same as no rule. */
    ZVK_END = 1,         /**< Completes at once with the rule's status and bytes. */
    ZVK_KEEP = 2,        /**< Completes on ZVK_END_KEPT or when cancelled. */
    ZVK_DELAY = 3,       /**< Answers as with ZVK_ANSWER, after DelayMs. */
    ZVK_RESPOND = 4,     /**< As ZVK_ANSWER, with the rule's bytes as the response. */
    ZVK_NO_RESPONSE = 5, /**< As ZVK_ANSWER, but the response reads keep waiting. */
    ZVK_ECHO = 6,        /**< Completes at once with the rule's status and the input. */
    ZVK_ACTIONS = 7
};

struct ZvkRule
{
    uint32_t Code;    /**< 0: all requests without a rule, except response reads. */
    uint32_t Action;  /**< enum ZvkAction. */
    uint32_t Status;  /**< NTSTATUS for ZVK_END and ZVK_ECHO; not "pending". */
    uint32_t DelayMs; /**< Milliseconds, for ZVK_DELAY. */
};

struct ZvkEnd
{
    uint32_t Code;
    uint32_t Status; /**< NTSTATUS, not "pending". Bytes are returned unless it is an error. */
};

struct ZvkCounts
{
    uint32_t Opens;     /**< Open handles of the device. */
    uint32_t Requests;  /**< Requests received since the device was plugged in. */
    uint32_t Malformed; /**< Requests refused because they violate the wire format. */
    uint32_t Waiting;   /**< Requests in the driver now: kept, delayed or response reads. */
    uint32_t Cancelled; /**< Cancelled requests held now. */
};

static_assert(sizeof(struct ZvkRule) == 16, "travels between programs and the driver");
static_assert(sizeof(struct ZvkEnd) == 8, "travels between programs and the driver");
static_assert(sizeof(struct ZvkCounts) == 20, "travels between programs and the driver");
