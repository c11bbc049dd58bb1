/// @file
/// What the library of a host process is at when the process ends.
#pragma once

#include "ZVSrvcLib.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

struct Host
{
    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::shared_ptr<CDeviceIntf> Device; ///< The one that requests are in flight on.
    bool Simulated = false;
};

struct Work
{
    const char* Name;
    bool Simulated; ///< With the simulated driver, otherwise with the hidden window.
    bool IsSlow;
    void (*Begin)(Host&); ///< Returns when it is under way.
};

std::span<const Work> Works();

/// The last event that the host's client received; 0 before the first.
extern std::atomic<std::uint32_t> lastEvent;

inline constexpr std::uint32_t HostCode = 0x99000000;

/// A synchronous control request without data.
_ZV_SRVC_IOCTL_REQ Request(std::uint32_t timeout);

/// What brings messages, a call for each, once it can.
std::function<void(unsigned, std::uint64_t)> Source(const Host& host);

/// The identity of an adapter whose driver answers at once.
std::string PromptAdapter(const Host& host);

/// Null when it cannot be had, as while the process ends.
std::shared_ptr<CDeviceIntf> TryToOpen(const Host& host, const std::string& identity);
/// Ends the process with another code when it cannot be had.
std::shared_ptr<CDeviceIntf> Open(const Host& host, const std::string& identity);

/// Sends asynchronous requests, whose records are there as long as the process.
void SendAsync(CDeviceIntf& device, std::uint32_t timeout, ZV_ASYNC_CALLBACK callback, std::uint16_t count);
