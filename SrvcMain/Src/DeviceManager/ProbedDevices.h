/// @file
/// Delays the destruction of probed devices.
#pragma once

#include "CDeviceIntf.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <thread>
#include <utility>

/// The destructor of a device blocks for a millisecond or two if its thread has only just started, until
/// the thread reaches its wait. A sweep creates many devices in a row, so each is destroyed only after
/// enough later ones were created, and the last ones when each is old enough.
class CProbedDevices
{
public:
    CProbedDevices() = default;
    CProbedDevices(const CProbedDevices&) = delete;
    CProbedDevices& operator=(const CProbedDevices&) = delete;
    ~CProbedDevices()
    {
        for (; !Devices.empty(); Devices.pop_front())
            std::this_thread::sleep_until(Devices.front().second + MinimumAge);
    }

    void Keep(std::shared_ptr<CDeviceIntf> device)
    {
        Devices.emplace_back(std::move(device), Clock::now());
        if (Devices.size() > Capacity)
            Devices.pop_front();
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t Capacity = 64;
    static constexpr std::chrono::milliseconds MinimumAge{3};

    std::deque<std::pair<std::shared_ptr<CDeviceIntf>, Clock::time_point>>
        Devices; ///< Each with the time of its probe.
};
