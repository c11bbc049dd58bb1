/// @file
/// A control device of the kernel-mode test driver, steered by the program that plugs it in.
#pragma once

#include "KernelDriverCodes.h"
#include "ScopedHandle.h"

#include <cstdint>
#include <span>
#include <string>

/// Plugged in from its construction to its end, or to the program's.
class KernelDevice
{
public:
    /// @param identity of the adapter whose control device it is.
    explicit KernelDevice(const std::string& identity);

    /// What becomes of the requests of one code from now on.
    void SetRule(std::uint32_t code, ZvkAction action, std::span<const std::uint8_t> bytes = {},
                 std::uint32_t status = 0, std::uint32_t delayMs = 0) const;
    /// Waits until a request of this code is kept, and ends it.
    void EndKept(std::uint32_t code, std::uint32_t status, std::span<const std::uint8_t> bytes = {}) const;
    /// Waits until so many requests are in the driver.
    void AwaitWaiting(std::uint32_t count) const;
    ZvkCounts Counts() const;

private:
    /// @return 0, or the system's error.
    unsigned long Steer(std::uint32_t code, std::span<const std::uint8_t> input,
                        std::span<std::uint8_t> output = {}) const;

    CFileHandle Steering;
};
