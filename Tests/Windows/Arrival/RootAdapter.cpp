#include "RootAdapter.h"

#include "AdapterSetup.h"
#include "Failure.h"
#include "OSPlatform.h"
#include "TestWindows.h"

#include <chrono>
#include <future>

namespace
{

unsigned long ErrorOf(void (*operation)())
{
    try
    {
        operation();
        return ERROR_SUCCESS;
    }
    catch (const Failure& failure)
    {
        return failure.Error;
    }
}

} // namespace

unsigned long InstallRootAdapter()
{
    return ErrorOf(AddAdapter);
}

unsigned long InstallRootAdapterUntil(const std::function<bool()>& heard)
{
    for (int tries = 0; tries < 5; ++tries)
    {
        if (const unsigned long error = InstallRootAdapter())
            return error;
        if (heard())
            return ERROR_SUCCESS;
        if (const unsigned long error = RemoveRootAdapter())
            return error;
    }
    return ERROR_TIMEOUT;
}

unsigned long AwaitDeviceListener()
{
    static std::promise<void> arrived;
    const WNDCLASSEXW record = TestClass();
    RegisterClassExW(&record);
    // Both exist until the process ends, and so does the listener.
    static const auto& windows = *new WindowThread([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (static bool isFirst = true; message == WM_DEVICECHANGE && wParam == DBT_DEVICEARRIVAL && isFirst)
        {
            isFirst = false;
            arrived.set_value();
        }
        return DefWindowProcW(window, message, wParam, lParam);
    });
    if (Register(windows.First) == nullptr)
        return GetLastError();
    const auto heard = [waited = arrived.get_future().share()] {
        return waited.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    };
    const unsigned long error = InstallRootAdapterUntil(heard);
    return error != ERROR_SUCCESS ? error : RemoveRootAdapter();
}

unsigned long RemoveRootAdapter()
{
    return ErrorOf(RemoveAdapter);
}
