/// @file
/// The optional module that replaces the driver and the platform's device enumeration.
#pragma once

#include "OSPlatform.h"

#include "ZVDeviceInfo.h"

#include <atomic>
#include <cstdint>

/// Type of the window procedure that a simulated driver calls to deliver a message.
using ZVWindowProcedure = LRESULT(CALLBACK*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Second argument of Virtual_EnumZVDevice.
struct CVirtualEnumDescriptor
{
    std::uint32_t Length; ///< In: capacity in bytes. Out: bytes written.
    std::uint32_t Padding;
    void* Buffer;
};

static_assert(sizeof(CVirtualEnumDescriptor) == 16);

/// The entry points; null while not bound. Written during bring-up, before any device or manager exists,
/// and cleared at teardown. Atomic, because objects that outlive the service may read them at that time.
/// The result of an entry is ignored.
/// @{
using ZVVirtualRegister = void(WINAPI*)(ZVWindowProcedure handler);
using ZVVirtualEnum = void(WINAPI*)(void* buffer, CVirtualEnumDescriptor* descriptor);
using ZVVirtualSetQuery = void(WINAPI*)(const char* name, std::uint8_t isSet, std::uint32_t infoId, void* buffer,
                                        std::uint32_t length);
using ZVVirtualRegistry = void(WINAPI*)(const char* name, std::uint32_t operation, const char* subKey,
                                        const char* valueName, std::uint32_t* type, std::uint8_t* data,
                                        std::uint32_t* size);
using ZVVirtualIoctl = void(WINAPI*)(const char* name, std::uint32_t code, std::uint32_t requestId,
                                     const void* inBuffer, std::uint32_t inLength, void* outBuffer,
                                     std::uint32_t outLength, std::uint32_t timeoutMs);

extern std::atomic<ZVVirtualRegister> Virtual_RegisterPnPHandler;
extern std::atomic<ZVVirtualEnum> Virtual_EnumZVDevice;
extern std::atomic<ZVVirtualSetQuery> Virtual_Dev_SetQueryInfo;
extern std::atomic<ZVVirtualRegistry> Virtual_AccessRegistry;
extern std::atomic<ZVVirtualIoctl> Virtual_SendIOCTLReq;
/// @}

/// Loads the simulated driver and binds its entry points; unloads it when destroyed. Used by
/// bring-up and teardown only.
class CVirtualDriverBinding
{
public:
    CVirtualDriverBinding() = default;
    ~CVirtualDriverBinding() { Unload(); }
    CVirtualDriverBinding(const CVirtualDriverBinding&) = delete;
    CVirtualDriverBinding& operator=(const CVirtualDriverBinding&) = delete;

    /// Loads the file from the current directory if it exists. Entry points that it does not export stay
    /// unbound; if it cannot be loaded, all stay unbound.
    /// @return false when there is no such file, the normal case.
    bool Load();
    void Unload();

    bool IsLoaded() const { return (LoadFlags & Loaded) != 0; }

private:
    static constexpr std::uint32_t Loaded = 0x1;

    std::uint32_t LoadFlags = 0;
    HMODULE Module = nullptr;
};

/// Keeps the module that contains this address loaded until the process ends, so that no host can unload
/// code that a thread still runs.
void PinModule(const void* address);
