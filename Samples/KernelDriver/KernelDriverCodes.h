/** @file
 * How a program steers the kernel-mode test driver. For C and C++; all numbers are little-endian.
 *
 * A program opens ZVK_STEERING_PATH and plugs one control device in through that handle. The device
 * lives until it is unplugged or the handle is closed, which the end of the program does too: its
 * requests then end with "device removed", as every later one does, and its name is gone.
 *
 * The device answers as an adapter's driver does, unless a rule says otherwise.
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
    ZVK_NAME_SIZE = 64,       /**< Of a device's name with its NUL. */
    ZVK_MOST_OUTPUT = 0x10000 /**< Bytes that a rule or an end carries at most. */
};

/** Plugs a device in. Input: its name with NUL, such as "Zorvane_Wifi_Device{1}", ASCII without a
 * backslash. "Object name collision" when the name is taken. */
#define ZVK_PLUG ZVK_CODE(0x801U)
/** Unplugs it. No input. */
#define ZVK_UNPLUG ZVK_CODE(0x802U)
/** Sets what becomes of requests of one code. Input: struct ZvkRule, directly followed by its bytes. */
#define ZVK_SET_RULE ZVK_CODE(0x803U)
/** Ends the oldest request of a code that a rule keeps. Input: struct ZvkEnd, directly followed by its
 * bytes. "Not found" when none is kept. */
#define ZVK_END_KEPT ZVK_CODE(0x804U)
/** Whether cancelled requests are held. Input: a 32-bit number. With 0 those that are held end. */
#define ZVK_HOLD_CANCELLED ZVK_CODE(0x805U)
/** Reads what there is. Output: struct ZvkCounts. */
#define ZVK_COUNT ZVK_CODE(0x806U)

/** What becomes of a request. A response read knows only the first three. */
enum ZvkAction
{
    ZVK_ANSWER = 0,      /**< The adapter's answer; the same as no rule. */
    ZVK_END = 1,         /**< Ends at once with the rule's status and bytes. */
    ZVK_KEEP = 2,        /**< Completes on ZVK_END_KEPT or when cancelled. */
    ZVK_DELAY = 3,       /**< The adapter's answer, after the rule's time. */
    ZVK_RESPOND = 4,     /**< As ZVK_ANSWER, with the rule's bytes as the response. */
    ZVK_NO_RESPONSE = 5, /**< As ZVK_ANSWER, and the response reads go on waiting. */
    ZVK_ECHO = 6,        /**< Ends at once with the rule's status and what was sent. */
    ZVK_ACTIONS = 7
};

struct ZvkRule
{
    uint32_t Code;    /**< 0: all requests without a rule, except response reads. */
    uint32_t Action;  /**< enum ZvkAction. */
    uint32_t Status;  /**< NTSTATUS of ZVK_END and ZVK_ECHO; not "pending". */
    uint32_t DelayMs; /**< Of ZVK_DELAY. */
};

struct ZvkEnd
{
    uint32_t Code;
    uint32_t Status; /**< NTSTATUS; not "pending". Bytes go with a success or a warning alone. */
};

struct ZvkCounts
{
    uint32_t Opens;     /**< Open handles of the device. */
    uint32_t Requests;  /**< That ever came. */
    uint32_t Malformed; /**< Of these: refused, since they break the rules of the wire. */
    uint32_t Waiting;   /**< Now in the driver: kept, delayed or response reads. */
    uint32_t Cancelled; /**< Now held. */
};

static_assert(sizeof(struct ZvkRule) == 16, "travels between programs and the driver");
static_assert(sizeof(struct ZvkEnd) == 8, "travels between programs and the driver");
static_assert(sizeof(struct ZvkCounts) == 20, "travels between programs and the driver");
