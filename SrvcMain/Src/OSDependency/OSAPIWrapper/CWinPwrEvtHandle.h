/// @file
/// The hidden window that power and device messages come to.
#pragma once

#include "CTrackedThread.h"
#include "OSPlatform.h"

#include <array>
#include <atomic>
#include <cstdint>

/// Bits of the state that all of the class shares: there is one event window in a process.
inline constexpr std::uint32_t ZV_PWREVT_ACTIVE = 0x1;   ///< The thread is started and not yet joined.
inline constexpr std::uint32_t ZV_PWREVT_STOPPING = 0x2; ///< The stop has been asked for.

/// Creates the hidden window and serves it on a separate thread. Started and stopped by one owner.
class CWinPwrEvtHandle
{
public:
    CWinPwrEvtHandle() = default;
    ~CWinPwrEvtHandle();
    CWinPwrEvtHandle(const CWinPwrEvtHandle&) = delete;
    CWinPwrEvtHandle& operator=(const CWinPwrEvtHandle&) = delete;

    /// Starts the thread and does not wait for the window.
    /// @param wndProc gets every message of the window, on the window's thread, from its creation on.
    /// @return false when it is started already, and nothing changes.
    /// @throws std::system_error when no thread can be had.
    bool InitPwrEvtHandler(WNDPROC wndProc);

    /// Sends the window a last message, 18, and returns when its thread has ended. Does nothing when
    /// nothing was started. The window's class and notifications stay as long as the process.
    void DeInitPwrEvtHandler();

    /// Returns when messages can reach the window, or when it could not be created; at once when none was
    /// started. Changes before this point produce no message.
    static void AwaitWindow();

private:
    static void ServeWindow(void* self);
    void OpenWindow();
    void RegisterInterfaces();
    void PumpMessages() const;

    /// Windows are created once; everything else waits for that and then reads only.
    std::atomic<HWND> Window{nullptr};
    WNDPROC WndProc = nullptr; ///< Constant while the thread lives.
    CTrackedThread WindowThread;
    /// The interface classes for whose arrivals and removals the window registers.
    std::array<GUID, 1> DeviceInterfaceClasses{
        // GUID_NDIS_LAN_CLASS of the platform's ndisguid.h
        {{0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}}}};

    static inline std::atomic<std::uint32_t> PwrEvtState{0};
    /// The window thread's number; 0 until it has done, or failed to do, all but wait for messages.
    /// From then on messages can be sent and posted to it.
    static inline std::atomic<std::uint32_t> WindowThreadId{0};
};
