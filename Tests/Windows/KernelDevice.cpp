#include "KernelDevice.h"

#include "OSPlatform.h"

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

void Check(unsigned long error, const char* what)
{
    if (error != ERROR_SUCCESS)
        throw std::runtime_error(std::string("the test driver: ") + what + ": error " + std::to_string(error));
}

template <class Head>
std::vector<std::uint8_t> Joined(const Head& head, std::span<const std::uint8_t> bytes)
{
    std::vector<std::uint8_t> joined(sizeof head + bytes.size());
    std::memcpy(joined.data(), &head, sizeof head);
    if (!bytes.empty())
        std::memcpy(joined.data() + sizeof head, bytes.data(), bytes.size());
    return joined;
}

/// Queries the driver's state; the driver does not report changes.
void LookAgain()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

KernelDevice::KernelDevice(const std::string& identity)
    : DevicePath(R"(\\.\Zorvane_Wifi_Device)" + identity),
      Steering(CreateFileA(ZVK_STEERING_PATH, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_EXISTING, 0, nullptr))
{
    Check(Steering ? ERROR_SUCCESS : GetLastError(), "open");
    const std::string name = DevicePath.substr(DevicePath.rfind('\\') + 1);
    Check(Steer(ZVK_PLUG, {reinterpret_cast<const std::uint8_t*>(name.c_str()), name.size() + 1}), "plug");
}

void KernelDevice::SetRule(std::uint32_t code, ZvkAction action, std::span<const std::uint8_t> bytes,
                           std::uint32_t status, std::uint32_t delayMs) const
{
    const ZvkRule rule{code, static_cast<std::uint32_t>(action), status, delayMs};
    Check(Steer(ZVK_SET_RULE, Joined(rule, bytes)), "rule");
}

bool KernelDevice::TryEndKept(std::uint32_t code, std::uint32_t status, std::span<const std::uint8_t> bytes) const
{
    const unsigned long error = Steer(ZVK_END_KEPT, Joined(ZvkEnd{code, status}, bytes));
    if (error != ERROR_NOT_FOUND)
        Check(error, "end");
    return error == ERROR_SUCCESS;
}

void KernelDevice::EndKept(std::uint32_t code, std::uint32_t status, std::span<const std::uint8_t> bytes) const
{
    while (!TryEndKept(code, status, bytes))
        LookAgain();
}

void KernelDevice::HoldCancelled(bool hold) const
{
    Check(Steer(ZVK_HOLD_CANCELLED, Joined(std::uint32_t{hold}, {})), "hold");
}

void KernelDevice::Unplug() const
{
    Check(Steer(ZVK_UNPLUG, {}), "unplug");
}

void KernelDevice::AwaitWaiting(std::uint32_t count) const
{
    while (Counts().Waiting < count)
        LookAgain();
}

ZvkCounts KernelDevice::Counts() const
{
    ZvkCounts counts{};
    Check(Steer(ZVK_COUNT, {}, {reinterpret_cast<std::uint8_t*>(&counts), sizeof counts}), "counts");
    return counts;
}

unsigned long KernelDevice::Steer(std::uint32_t code, std::span<const std::uint8_t> input,
                                  std::span<std::uint8_t> output) const
{
    DWORD returned = 0;
    std::vector<std::uint8_t> in(input.begin(), input.end());
    return DeviceIoControl(Steering.Get(), code, in.data(), static_cast<DWORD>(in.size()), output.data(),
                           static_cast<DWORD>(output.size()), &returned, nullptr)
               ? ERROR_SUCCESS
               : GetLastError();
}
