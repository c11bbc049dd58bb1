/// @file
/// Detects that the drivers of missing adapters are uninstalled.
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

/// The thread was started and still has records to check.
inline constexpr std::uint32_t ZV_CHECK_RUNNING = 0x1;

/// Maximum number of registry reads for one record, and the pause between two reads.
inline constexpr int ZV_CHECK_READS = 50;
inline constexpr std::chrono::milliseconds ZV_CHECK_PAUSE{50};

/// The watcher of one sweep's suspects; filled, started and destroyed once. An uninstallation deletes the
/// adapter's driver key some time after the adapter has disappeared, so a thread polls for it.
class CDrvUninstallCheck
{
public:
    explicit CDrvUninstallCheck(std::chrono::milliseconds pause = ZV_CHECK_PAUSE) : Pause(pause) {}
    /// Waits for the thread: at most 2.5 seconds for each record. Must not run on that thread.
    ~CDrvUninstallCheck();
    CDrvUninstallCheck(const CDrvUninstallCheck&) = delete;
    CDrvUninstallCheck& operator=(const CDrvUninstallCheck&) = delete;

    /// Adds a record; only before the start. A record that is added twice is checked twice. A record without
    /// a DriverKeyIndex is not added: its path would be that of the class key, which has no such value, so
    /// the driver would be reported as uninstalled.
    void Add(const ZVAdapterRecord& record)
    {
        if (record->DriverKeyIndex[0] != '\0')
            Records.PushBack(record);
    }

    /// Starts the thread.
    /// @param handler not owned; must be valid until this object has been destroyed.
    /// @return false without records, when already started, and when no thread can be created. The last
    ///         case is traced, and nothing is checked.
    bool StartCheck(CDrvUninstallNotifyHdlr* handler);

    bool IsRunning() const { return (CheckState & ZV_CHECK_RUNNING) != 0; }

private:
    void uninstallCheckThread();
    void CheckRecord(const ZVAdapterRecord& record);

    const std::chrono::milliseconds Pause;
    CDrvUninstallNotifyHdlr* Handler = nullptr; ///< Constant while the thread runs.
    CSafeList<ZVAdapterRecord> Records;         ///< Has its own lock.
    std::thread Thread;                         ///< Used by the starting and the destroying thread.
    std::atomic<std::uint32_t> CheckState{0};   ///< ZV_CHECK bits. Guarded by no lock.
};
