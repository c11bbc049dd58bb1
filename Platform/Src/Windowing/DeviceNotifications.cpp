#include "DeviceNotifications.h"

#include "ThreadQueue.h"
#include "WindowTable.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <vector>

using namespace Platform;

namespace
{

// The published form of an interface path: instance with "#" for each backslash, then the interface class.
std::u16string InterfacePath(const AdapterDescription& adapter)
{
    std::string instance = adapter.DeviceInstanceId.value_or("");
    std::ranges::replace(instance, '\\', '#');
    return ToUtf16(R"(\\?\)" + instance + "#{ad498944-762f-11d0-8dcb-00c04fc3358c}");
}

} // namespace

std::shared_ptr<const DEV_BROADCAST_DEVICEINTERFACE_W> Platform::MakeInterfaceRecord(const AdapterDescription& adapter)
{
    constexpr std::size_t nameOffset = offsetof(DEV_BROADCAST_DEVICEINTERFACE_W, dbcc_name);
    const std::u16string path = InterfacePath(adapter);
    const std::size_t pathSize = (path.size() + 1) * sizeof(WCHAR);
    // The path extends past the end of the record, so both need separately allocated memory.
    const auto memory = std::make_shared<std::vector<std::byte>>(nameOffset + pathSize);
    auto* record = new (memory->data()) DEV_BROADCAST_DEVICEINTERFACE_W{
        static_cast<DWORD>(memory->size()), DBT_DEVTYP_DEVICEINTERFACE, 0, LanInterfaceClass, {}};
    std::memcpy(memory->data() + nameOffset, path.c_str(), pathSize);
    return {memory, record};
}

HDEVNOTIFY RegisterDeviceNotificationW(HANDLE recipient, void* filter, DWORD flags)
try
{
    if (WindowingCallFails("RegisterDeviceNotificationW"))
        return nullptr;
    const auto* wanted = static_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(filter);
    if (wanted == nullptr || flags != DEVICE_NOTIFY_WINDOW_HANDLE)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    // The size is checked as Windows does: at least the fixed part of the record.
    if (wanted->dbcc_size < sizeof(*wanted) || wanted->dbcc_devicetype != DBT_DEVTYP_DEVICEINTERFACE)
    {
        SetLastError(ERROR_INVALID_DATA);
        return nullptr;
    }
    // A window of any thread may be registered; its own thread receives the messages.
    const WindowPtr window = WindowTable::Instance().Find(static_cast<HWND>(recipient));
    const HDEVNOTIFY made = window ? WindowTable::Instance().Register(window, wanted->dbcc_classguid) : nullptr;
    if (made == nullptr)
        SetLastError(ERROR_INVALID_PARAMETER);
    return made;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<HDEVNOTIFY>(nullptr);
}

BOOL UnregisterDeviceNotification(HDEVNOTIFY notification)
{
    if (CallFails("UnregisterDeviceNotification"))
        return FALSE;
    return WindowTable::Instance().Unregister(notification) ? TRUE : FailWith(ERROR_INVALID_HANDLE);
}
