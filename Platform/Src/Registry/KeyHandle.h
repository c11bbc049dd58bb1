/// @file
/// Handles on registry keys, for the registry calls and for those that open a key on the way.
#pragma once

#include "HandleTable.h"
#include "Machine.h"
#include "RegistryTree.h"
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
    const RegistryKeyPtr Key; // what it points at is guarded by the owner's lock
    const bool Writable;
};

HKEY AddKeyHandle(std::shared_ptr<Machine> owner, RegistryKeyPtr key, bool writable);

} // namespace Platform
