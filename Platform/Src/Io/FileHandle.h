/// @file
/// Open files: handles on control devices.
#pragma once

#include "DeviceGate.h"
#include "HandleTable.h"
#include "Waitable.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Platform
{

/// What the handle and its requests in flight share. The device is notified of the close when the last of
/// them is released.
class OpenFile
{
public:
    OpenFile(std::shared_ptr<DeviceGate> gate, std::uint64_t openId);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    const std::shared_ptr<DeviceGate> Gate;
    const std::uint64_t OpenId;
    /// Signalled when a request without an event has ended.
    const std::shared_ptr<Waitable> Done = std::make_shared<Waitable>(true, false);
    std::atomic<bool> Closed = false;
    std::atomic<bool> Opened = false; ///< The device has agreed; what it refused it does not see closed.
};

class FileHandle final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::File;

    FileHandle(std::shared_ptr<AttachedDevice> target, std::uint64_t openId, DWORD access, DWORD flags);
    HandleKind KindOf() const override { return Kind; }

    /// The code's two access bits name what the handle must have been opened for.
    bool Allows(DWORD code) const;
    /// The error for a request that comes too late, or 0.
    DWORD Refusal() const;

    const std::shared_ptr<AttachedDevice> Target;
    const std::shared_ptr<OpenFile> File;
    const bool IsOverlapped;

private:
    const DWORD Access;
};

} // namespace Platform
