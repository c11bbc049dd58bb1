// The kernel-mode test driver, loaded beforehand.
#include "IoDevice.h"

#include "KernelDriverCodes.h"

#include <array>
#include <utility>

namespace
{

std::uint32_t StatusOf(DWORD error)
{
    constexpr std::array<std::pair<DWORD, std::uint32_t>, 5> statuses = {
        {{0, 0}, {31, 0xC0000001}, {234, 0x80000005}, {995, 0xC0000120}, {1617, 0xC00002B6}}};
    for (const auto& [known, status] : statuses)
    {
        if (known == error)
            return status;
    }
    ADD_FAILURE() << "no status for error " << error;
    return 0xC0000001;
}

template <class Record>
std::string Join(const Record& record, const std::string& bytes = "")
{
    return std::string(reinterpret_cast<const char*>(&record), sizeof(record)) + bytes;
}

} // namespace

struct IoDevice::Impl
{
    const std::string Name = "ZVIo" + std::to_string(GetCurrentProcessId());
    const std::string Path = R"(\\.\)" + Name;
    const Opened<HANDLE> Steering = CreateFileA(ZVK_STEERING_PATH, GENERIC_READ | GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);

    DWORD Steer(DWORD code, std::string input = "") const
    {
        DWORD returned = 0;
        return DeviceIoControl(Steering, code, input.data(), static_cast<DWORD>(input.size()), nullptr, 0, &returned,
                               nullptr)
                   ? 0
                   : GetLastError();
    }
    void SetRule(const ZvkRule& rule, const std::string& bytes = "") const
    {
        EXPECT_EQ(0U, Steer(ZVK_SET_RULE, Join(rule, bytes)));
    }
};

IoDevice::IoDevice() : Self(std::make_unique<Impl>())
{
    EXPECT_EQ(0U, Self->Steer(ZVK_PLUG, Self->Name)) << "is the driver loaded?";
    Self->SetRule({0, ZVK_KEEP, 0, 0});
}

IoDevice::~IoDevice() = default;

const char* IoDevice::Path() const
{
    return Self->Path.c_str();
}

void IoDevice::EndAtOnce(DWORD code, DWORD error, const std::string& bytes)
{
    Self->SetRule({code, ZVK_END, StatusOf(error), 0}, bytes);
}

void IoDevice::Echo(DWORD code)
{
    Self->SetRule({code, ZVK_ECHO, 0, 0});
}

bool IoDevice::End(DWORD code, DWORD error, const std::string& bytes)
{
    return Self->Steer(ZVK_END_KEPT, Join(ZvkEnd{code, StatusOf(error)}, bytes)) == 0;
}

void IoDevice::HoldCancelled(bool hold)
{
    EXPECT_EQ(0U, Self->Steer(ZVK_HOLD_CANCELLED, Join(std::uint32_t{hold})));
}

void IoDevice::Unplug()
{
    EXPECT_EQ(0U, Self->Steer(ZVK_UNPLUG));
}
