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

/// A device that is destroyed right after its thread has started pauses for a millisecond or two, so that
/// the thread reaches its wait. A sweep makes many devices in a row: each is destroyed when enough others
/// have been made behind it, and the last ones after a single pause.
class CProbedDevices
{
public:
    CProbedDevices() = default;
    CProbedDevices(const CProbedDevices&) = delete;
    CProbedDevices& operator=(const CProbedDevices&) = delete;
    ~CProbedDevices()
    {
        if (!Devices.empty())
            std::this_thread::sleep_until(Last + Rest);
        while (!Devices.empty())
            Devices.pop_front();
    }

    void Keep(std::shared_ptr<CDeviceIntf> device)
    {
        Devices.push_back(std::move(device));
        Last = std::chrono::steady_clock::now();
        if (Devices.size() > Capacity)
            Devices.pop_front();
    }

private:
    static constexpr std::size_t Capacity = 64;
    static constexpr std::chrono::milliseconds Rest{3};

    std::deque<std::shared_ptr<CDeviceIntf>> Devices;
    std::chrono::steady_clock::time_point Last;
};
