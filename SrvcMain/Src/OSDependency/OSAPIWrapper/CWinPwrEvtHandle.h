/// @file
/// The hidden window that receives power and device messages.
#pragma once

#include "CTrackedThread.h"
#include "OSPlatform.h"

#include <array>
#include <atomic>
#include <cstdint>

/// Bits of the state, which is static: there is one event window in a process.
inline constexpr std::uint32_t ZV_PWREVT_ACTIVE = 0x1;   ///< The thread is started, and not joined yet.
inline constexpr std::uint32_t ZV_PWREVT_STOPPING = 0x2; ///< A stop was requested.

/// Creates the hidden window and serves it on a separate thread. Started and stopped by one owner.
class CWinPwrEvtHandle
{
public:
    CWinPwrEvtHandle() = default;
    ~CWinPwrEvtHandle();
    CWinPwrEvtHandle(const CWinPwrEvtHandle&) = delete;
    CWinPwrEvtHandle& operator=(const CWinPwrEvtHandle&) = delete;

    /// Starts the thread and does not wait for the window.
    /// @param wndProc receives every message of the window on the window's thread.
    /// @return false when it is already started; nothing changes then.
    /// @throws std::system_error when no thread can be created.
    bool InitPwrEvtHandler(WNDPROC wndProc);

    /// Sends the window a last message, 18, and joins its thread. Does nothing if none was started. The
    /// window class and the notifications stay registered until the process ends.
    void DeInitPwrEvtHandler();

    /// Blocks until messages can reach the window or it could not be created; returns at once if none was
    /// started. Changes before this point produce no message.
    static void AwaitWindow();

private:
    static void ServeWindow(void* self);
    void OpenWindow();
    void RegisterInterfaces();
    void PumpMessages() const;

    /// Written once by the window thread; other threads read it after WindowThreadId is set. Atomic.
    std::atomic<HWND> Window{nullptr};
    WNDPROC WndProc = nullptr;   ///< Constant while the thread runs.
    CTrackedThread WindowThread; ///< Bring-up and teardown only.
    /// The interface classes for whose arrivals and removals the window registers.
    std::array<GUID, 1> DeviceInterfaceClasses{
        // GUID_NDIS_LAN_CLASS of the platform's ndisguid.h
        {{0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}}}};

    static inline std::atomic<std::uint32_t> PwrEvtState{0}; ///< ZV_PWREVT bits. Guarded by no lock.
    /// The window thread's ID; 0 until the window was created or could not be. From then on messages can
    /// be sent and posted to the thread. Atomic.
    static inline std::atomic<std::uint32_t> WindowThreadId{0};
};
