#include "CDrvUninstallCheck.h"

#include "LibraryThread.h"
#include "RegistryAccess.h"
#include "TracePoint.h"

#include <array>
#include <string>

namespace
{

/// Returns true when the adapter's registry entry has been deleted. After any other failure, such as
/// access denied, the entry may still be deleted later.
bool IsDriverDeleted(const std::string& path)
{
    std::array<std::uint8_t, 100> value{};
    std::uint32_t type = 0;
    std::uint32_t size = value.size();
    return GetKeyValue(HKEY_LOCAL_MACHINE, path, "NetCfgInstanceId", &type, value.data(), &size) ==
           ERROR_FILE_NOT_FOUND;
}

/// Pauses for the full time, although a sleep may return early.
void PauseFor(std::chrono::milliseconds pause)
{
    const auto end = std::chrono::steady_clock::now() + pause;
    while (std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_until(end);
}

} // namespace

CDrvUninstallCheck::~CDrvUninstallCheck()
{
    if (Thread.joinable())
        Thread.join();
}

bool CDrvUninstallCheck::StartCheck(CDrvUninstallNotifyHdlr* handler)
{
    if (IsRunning() || Records.Size() == 0)
        return false;
    CheckState |= ZV_CHECK_RUNNING;
    Handler = handler;
    try
    {
        Thread = StartLibraryThread([this] { uninstallCheckThread(); });
        return true;
    }
    catch (const std::system_error&)
    {
        // The adapters are already marked; only the notification of an uninstallation is lost.
        CheckState &= ~ZV_CHECK_RUNNING;
        const std::uint32_t count = Records.Size();
        ZV_TRACE(CheckNotStarted, count);
        return false;
    }
}

void CDrvUninstallCheck::uninstallCheckThread()
{
    const std::vector<ZVAdapterRecord> records = Records.Snapshot();
    const auto count = static_cast<std::uint32_t>(records.size());
    ZV_TRACE(CheckStarted, count);
    for (const ZVAdapterRecord& record : records)
        CheckRecord(record);
    Records.Clear();
    CheckState &= ~ZV_CHECK_RUNNING;
}

void CDrvUninstallCheck::CheckRecord(const ZVAdapterRecord& record)
{
    const std::string path = ZV_NETWORK_CLASS_PATH + std::string(FieldText(record->DriverKeyIndex));
    for (int reads = 0; reads < ZV_CHECK_READS; ++reads)
    {
        if (IsDriverDeleted(path))
        {
            ZV_TRACE(CheckFoundDeleted, path);
            Handler->DrvUninstallHdlr(record);
            return;
        }
        PauseFor(Pause);
    }
    ZV_TRACE(CheckFoundNothing, path);
}
