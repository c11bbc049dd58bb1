/// @file
/// Handles on control devices, and the objects of all handles that can be waited for.
#pragma once

#include "DeviceNames.h"
#include "HandleTable.h"
#include "Waitable.h"

#include <cstdint>
#include <memory>

namespace Platform
{

/// An open handle of CreateFileA.
class FileHandle final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::File;

    FileHandle(std::shared_ptr<AttachedDevice> target, std::uint64_t openId, DWORD access, DWORD flags);
    HandleKind KindOf() const override { return Kind; }

    /// Checks the two access bits of a control code against the access that the handle was opened with.
    bool Allows(DWORD code) const;
    /// Returns the error of a request that arrives after a close or a detach, otherwise 0.
    DWORD Refusal() const;

    const std::shared_ptr<AttachedDevice> Target;
    const std::shared_ptr<OpenFile> File;
    const bool IsOverlapped;

private:
    const DWORD Access;
};

/// Returns the object that a wait on a handle waits for, or null for a bad handle.
std::shared_ptr<Waitable> FindWaitable(HANDLE handle);

} // namespace Platform
