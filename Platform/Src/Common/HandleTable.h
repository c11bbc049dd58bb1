/// @file
/// The handles of the process. They are numbers in a table, never pointers, so that a closed or invented
/// handle is detected.
#pragma once

#include "WinTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace Platform
{

enum class HandleKind : std::size_t
{
    RegistryKey,
    DeviceSet,
    Event,
    File
};

/// Base class of the objects that handles refer to. Each class has its kind as `Kind`; one close call may
/// serve several kinds.
class HandleObject
{
public:
    virtual ~HandleObject() = default;
    virtual HandleKind KindOf() const = 0;
};

/// Thread-safe; one for the process. Who looked an object up keeps it alive over a close.
class HandleTable
{
public:
    static HandleTable& Instance();

    HANDLE Add(std::shared_ptr<HandleObject> object);

    /// Null when the handle is not open, or of another kind.
    template <class Object>
    std::shared_ptr<Object> Find(const void* handle) const
    {
        return std::static_pointer_cast<Object>(FindAny(handle, Object::Kind));
    }

    /// Takes the handle out; false when it is not open, or of another kind.
    template <class Object>
    bool Close(const void* handle)
    {
        return CloseAny(handle, Object::Kind);
    }

    std::size_t Count(HandleKind kind) const;

private:
    std::shared_ptr<HandleObject> FindAny(const void* handle, HandleKind kind) const;
    bool CloseAny(const void* handle, HandleKind kind);

    mutable std::mutex Lock;
    // Both guarded by Lock. Numbers are not used again: an old handle never means something new.
    std::unordered_map<std::uintptr_t, std::shared_ptr<HandleObject>> Objects;
    std::uintptr_t LastNumber = 0x100;
};

} // namespace Platform
