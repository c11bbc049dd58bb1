#include "FileHandle.h"

#include "DeviceIo.h"

#include <utility>

namespace Platform
{

FileHandle::FileHandle(std::shared_ptr<AttachedDevice> target, std::uint64_t openId, DWORD access, DWORD flags)
    : Target(std::move(target)), File(std::make_shared<OpenFile>(Target->Gate, openId)),
      IsOverlapped((flags & FILE_FLAG_OVERLAPPED) != 0), Access(access)
{
}

bool FileHandle::Allows(DWORD code) const
{
    // Bits 14 and 15 of a control code, published as FILE_READ_ACCESS and FILE_WRITE_ACCESS.
    constexpr DWORD readBit = 0x4000;
    constexpr DWORD writeBit = 0x8000;
    const bool mayRead = (Access & (GENERIC_READ | GENERIC_ALL | FILE_READ_DATA)) != 0;
    const bool mayWrite = (Access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA)) != 0;
    return (mayRead || (code & readBit) == 0) && (mayWrite || (code & writeBit) == 0);
}

DWORD FileHandle::Refusal() const
{
    // A removed device takes precedence, as a host distinguishes a removal by this error.
    return Target->IsDetached() ? ERROR_DEVICE_REMOVED : File->Closed ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

std::shared_ptr<Waitable> FindWaitable(HANDLE handle)
{
    // As on Windows, a file handle can be waited for; it reports requests without an event.
    const HandleTable& handles = HandleTable::Instance();
    if (const auto event = handles.Find<EventHandle>(handle))
        return event->Event;
    const auto file = handles.Find<FileHandle>(handle);
    return file ? file->File->Done : nullptr;
}

} // namespace Platform
