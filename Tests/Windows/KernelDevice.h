/// @file
/// A control device of the kernel-mode test driver, steered by the program that plugs it in.
#pragma once

#include "KernelDriverCodes.h"
#include "ScopedHandle.h"

#include <cstdint>
#include <span>
#include <string>

/// Plugged in from its construction to its end, or to the program's. What the driver refuses is thrown.
class KernelDevice
{
public:
    /// @param identity of the adapter whose control device it is.
    explicit KernelDevice(const std::string& identity);

    /// For CreateFileA.
    const std::string& Path() const { return DevicePath; }

    /// What becomes of the requests of one code from now on.
    void SetRule(std::uint32_t code, ZvkAction action, std::span<const std::uint8_t> bytes = {},
                 std::uint32_t status = 0, std::uint32_t delayMs = 0) const;
    /// Ends the oldest kept request of this code. @return false when there is none.
    bool TryEndKept(std::uint32_t code, std::uint32_t status, std::span<const std::uint8_t> bytes = {}) const;
    /// Waits until a request of this code is kept, and ends it.
    void EndKept(std::uint32_t code, std::uint32_t status, std::span<const std::uint8_t> bytes = {}) const;
    /// Waits until so many requests are in the driver.
    void AwaitWaiting(std::uint32_t count) const;
    ZvkCounts Counts() const;
    /// Whether cancelled requests stay in the driver; with false those end that did.
    void HoldCancelled(bool hold) const;
    void Unplug() const;

private:
    /// @return 0, or the system's error.
    unsigned long Steer(std::uint32_t code, std::span<const std::uint8_t> input,
                        std::span<std::uint8_t> output = {}) const;

    const std::string DevicePath;
    CFileHandle Steering;
};
