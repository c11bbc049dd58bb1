/// @file
/// Watches whether the drivers of adapters that a sweep found missing are being uninstalled.
#pragma once

#include "AdapterRecord.h"
#include "CSafeList.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

/// Receives the adapters whose driver was uninstalled.
class CDrvUninstallNotifyHdlr
{
public:
    /// Called on the watcher's thread, once for each watched entry that was deleted.
    virtual void DrvUninstallHdlr(const ZVAdapterRecord& record) = 0;

protected:
    CDrvUninstallNotifyHdlr() = default;
    ~CDrvUninstallNotifyHdlr() = default;
    CDrvUninstallNotifyHdlr(const CDrvUninstallNotifyHdlr&) = default;
    CDrvUninstallNotifyHdlr& operator=(const CDrvUninstallNotifyHdlr&) = default;
};

/// The thread is started and not yet through its records.
inline constexpr std::uint32_t ZV_CHECK_RUNNING = 0x1;

/// How often the registry is read for one record at most, and the pause between two reads.
inline constexpr int ZV_CHECK_READS = 50;
inline constexpr std::chrono::milliseconds ZV_CHECK_PAUSE{50};

/// Serves one sweep: it is filled, started and destroyed once. An uninstallation deletes the adapter's
/// driver key some time after the adapter has disappeared, so a thread polls for it.
class CDrvUninstallCheck
{
public:
    explicit CDrvUninstallCheck(std::chrono::milliseconds pause = ZV_CHECK_PAUSE) : Pause(pause) {}
    /// Waits for the thread: at most 2.5 seconds for each record. Not on the thread itself.
    ~CDrvUninstallCheck();
    CDrvUninstallCheck(const CDrvUninstallCheck&) = delete;
    CDrvUninstallCheck& operator=(const CDrvUninstallCheck&) = delete;

    /// Adds a record, before the start only. A record may be added twice and is then checked twice. One
    /// without a DriverKeyIndex is not added: the path would be that of the class, which has no such
    /// value, and the driver would wrongly count as uninstalled.
    void Add(const ZVAdapterRecord& record)
    {
        if (record->DriverKeyIndex[0] != '\0')
            Records.PushBack(record);
    }

    /// Starts the thread.
    /// @param handler not owned; must be valid until this object has been destroyed.
    /// @return false without records, when started already, and when no thread can be created. The last
    ///         case is traced, and no check is made.
    bool StartCheck(CDrvUninstallNotifyHdlr* handler);

    bool IsRunning() const { return (CheckState & ZV_CHECK_RUNNING) != 0; }

private:
    void uninstallCheckThread();
    void CheckRecord(const ZVAdapterRecord& record);

    const std::chrono::milliseconds Pause;
    CDrvUninstallNotifyHdlr* Handler = nullptr; ///< Constant while the thread lives.
    CSafeList<ZVAdapterRecord> Records;         ///< Brings its own lock.
    std::thread Thread;                         ///< The starting and the destroying thread's.
    std::atomic<std::uint32_t> CheckState{0};
};
