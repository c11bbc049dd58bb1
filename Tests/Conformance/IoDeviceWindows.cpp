// The kernel-mode test driver, loaded beforehand.
#include "IoDevice.h"

#include "KernelDevice.h"

#include <array>
#include <span>
#include <utility>

namespace
{

std::uint32_t StatusOf(DWORD error)
{
    constexpr std::array<std::pair<DWORD, std::uint32_t>, 5> statuses = {
        {{0, 0}, {31, 0xC0000001}, {234, 0x80000005}, {995, 0xC0000120}, {1617, 0xC00002B6}}};
    for (const auto& [known, status] : statuses)
        if (known == error)
            return status;
    ADD_FAILURE() << "no status for error " << error;
    return 0xC0000001;
}

std::span<const std::uint8_t> BytesOf(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace

struct IoDevice::Impl
{
    const KernelDevice Device{std::to_string(GetCurrentProcessId())};
};

IoDevice::IoDevice() : Self(std::make_unique<Impl>())
{
    Self->Device.SetRule(0, ZVK_KEEP);
}

IoDevice::~IoDevice() = default;

const char* IoDevice::Path() const
{
    return Self->Device.Path().c_str();
}

void IoDevice::EndAtOnce(DWORD code, DWORD error, const std::string& bytes)
{
    Self->Device.SetRule(code, ZVK_END, BytesOf(bytes), StatusOf(error));
}

void IoDevice::Echo(DWORD code)
{
    Self->Device.SetRule(code, ZVK_ECHO);
}

bool IoDevice::End(DWORD code, DWORD error, const std::string& bytes)
{
    return Self->Device.TryEndKept(code, StatusOf(error), BytesOf(bytes));
}

void IoDevice::HoldCancelled(bool hold)
{
    Self->Device.HoldCancelled(hold);
}

void IoDevice::Unplug()
{
    Self->Device.Unplug();
}
