/// @file
/// Handles on registry keys, for the registry calls and the device calls that open a key.
#pragma once

#include "HandleTable.h"
#include "MachineImpl.h"
#include "WinTypes.h"

namespace Platform
{

/// An open key. It keeps its machine alive.
class KeyHandle final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::RegistryKey;

    KeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable);
    HandleKind KindOf() const override { return Kind; }

    const std::shared_ptr<Machine> Owner;
    Machine::Impl& Data; // of the owner
    const RegistryKeyPtr Key PLATFORM_GUARDED_BY(Data.Lock);
    const bool Writable;
};

/// @param writable whether values may be set through the handle. @throws std::bad_alloc
HKEY AddKeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable);

} // namespace Platform
