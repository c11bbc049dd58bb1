/// @file
/// The handles of the process. They are numbers in a table, never pointers, so that a closed or invented
/// handle is detected.
#pragma once

#include "AnnotatedLock.h"
#include "WinTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
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

/// Thread-safe; one for the process. A caller that has looked up an object keeps it alive if another thread
/// closes the handle.
class HandleTable
{
public:
    static HandleTable& Instance();

    /// @throws std::bad_alloc; no handle is then open.
    HANDLE Add(std::shared_ptr<HandleObject> object);

    /// Returns null if the handle is not open or is of another kind.
    template <class Object>
    std::shared_ptr<Object> Find(const void* handle) const
    {
        return std::static_pointer_cast<Object>(FindAny(handle, Object::Kind));
    }

    /// Removes the handle. Returns false if it is not open or is of another kind.
    template <class Object>
    bool Close(const void* handle)
    {
        return CloseAny(handle, Object::Kind);
    }

    std::size_t Count(HandleKind kind) const;

private:
    std::shared_ptr<HandleObject> FindAny(const void* handle, HandleKind kind) const;
    bool CloseAny(const void* handle, HandleKind kind);

    mutable Mutex Lock;
    std::unordered_map<std::uintptr_t, std::shared_ptr<HandleObject>> Objects PLATFORM_GUARDED_BY(Lock);
    // Numbers are not reused, so that an old handle never refers to a new object.
    std::uintptr_t LastNumber PLATFORM_GUARDED_BY(Lock) = 0x100;
};

} // namespace Platform
