/// @file
/// Owners of Windows handles. No other code in the library closes one.
#pragma once

#include "OSPlatform.h"

#include <utility>

/// Restores the thread's last error at the end of a scope, so that a close does not hide why a call failed.
class CLastErrorKeeper
{
public:
    CLastErrorKeeper() noexcept : Saved(GetLastError()) {}
    ~CLastErrorKeeper() { SetLastError(Saved); }
    CLastErrorKeeper(const CLastErrorKeeper&) = delete;
    CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;

private:
    DWORD Saved;
};

/// Owns one handle. `Policy` defines the type, the value for no handle, and the close call. Closing keeps
/// the last error.
template <class Policy>
class CScopedHandle
{
public:
    using Type = typename Policy::Type;

    CScopedHandle() noexcept = default;
    explicit CScopedHandle(Type handle) noexcept : Handle(handle) {}
    CScopedHandle(CScopedHandle&& other) noexcept : Handle(other.Release()) {}
    CScopedHandle& operator=(CScopedHandle&& other) noexcept
    {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    ~CScopedHandle() { Reset(); }

    Type Get() const noexcept { return Handle; }
    explicit operator bool() const noexcept { return Handle != Policy::None(); }

    Type Release() noexcept { return std::exchange(Handle, Policy::None()); }

    void Reset(Type handle = Policy::None()) noexcept
    {
        const Type old = std::exchange(Handle, handle);
        if (old == Policy::None())
            return;
        const CLastErrorKeeper keeper;
        Policy::Close(old);
    }

    /// Closes the current handle and returns its address, for a call that writes a new one.
    Type* Receive() noexcept
    {
        Reset();
        return &Handle;
    }

private:
    Type Handle = Policy::None();
};

struct CRegistryKeyPolicy
{
    using Type = HKEY;
    static Type None() noexcept { return nullptr; }
    static void Close(Type key) noexcept { RegCloseKey(key); }
};

struct CDeviceSetPolicy
{
    using Type = HDEVINFO;
    static Type None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type set) noexcept { SetupDiDestroyDeviceInfoList(set); }
};

struct CFilePolicy
{
    using Type = HANDLE;
    static Type None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type file) noexcept { CloseHandle(file); }
};

struct CEventPolicy
{
    using Type = HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type event) noexcept { CloseHandle(event); }
};

using CFileHandle = CScopedHandle<CFilePolicy>;
using CEventHandle = CScopedHandle<CEventPolicy>;
using CRegistryKey = CScopedHandle<CRegistryKeyPolicy>;
using CDeviceSet = CScopedHandle<CDeviceSetPolicy>;
