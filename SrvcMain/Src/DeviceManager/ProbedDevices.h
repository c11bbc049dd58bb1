/// @file
/// Keeps the devices of finished probes for a moment.
#pragma once

#include "CDeviceIntf.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <thread>
#include <utility>

/// A device that is destroyed right after its thread has started pauses for a millisecond or two, until
/// the thread reaches its wait. A sweep creates many devices in a row. Each is therefore destroyed only
/// after enough later ones were created, and the last ones when each is old enough.
class CProbedDevices
{
public:
    CProbedDevices() = default;
    CProbedDevices(const CProbedDevices&) = delete;
    CProbedDevices& operator=(const CProbedDevices&) = delete;
    ~CProbedDevices()
    {
        for (; !Devices.empty(); Devices.pop_front())
            std::this_thread::sleep_until(Devices.front().second + Rest);
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
    static constexpr std::chrono::milliseconds Rest{3};

    std::deque<std::pair<std::shared_ptr<CDeviceIntf>, Clock::time_point>> Devices; ///< With the time of its probe.
};
