#include "FileHandle.h"

#include "DeviceIo.h"

#include <utility>

namespace Platform
{

OpenFile::OpenFile(std::shared_ptr<DeviceGate> gate, std::uint64_t openId) : Gate(std::move(gate)), OpenId(openId) {}

OpenFile::~OpenFile()
{
    if (Opened)
        Gate->Visit([this](ControlDevice& device) { device.Close(OpenId); });
}

FileHandle::FileHandle(std::shared_ptr<AttachedDevice> target, std::uint64_t openId, DWORD access, DWORD flags)
    : Target(std::move(target)), File(std::make_shared<OpenFile>(Target->Gate, openId)),
      IsOverlapped((flags & FILE_FLAG_OVERLAPPED) != 0), Access(access)
{
}

bool FileHandle::Allows(DWORD code) const
{
    constexpr DWORD readBit = 0x4000;
    constexpr DWORD writeBit = 0x8000;
    const bool mayRead = (Access & (GENERIC_READ | GENERIC_ALL | FILE_READ_DATA)) != 0;
    const bool mayWrite = (Access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA)) != 0;
    return (mayRead || (code & readBit) == 0) && (mayWrite || (code & writeBit) == 0);
}

DWORD FileHandle::Refusal() const
{
    return Target->IsDetached() ? ERROR_DEVICE_REMOVED : File->Closed ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

} // namespace Platform
