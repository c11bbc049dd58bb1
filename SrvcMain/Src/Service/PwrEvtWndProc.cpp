#include "PwrEvtWndProc.h"

#include "CVirtualDriverBinding.h"
#include "CZVNSrvcMgnt.h"
#include "TracePoint.h"

#include <cstdint>

LRESULT CALLBACK PwrEvtWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto number = static_cast<std::uint32_t>(message);
    const auto parameter = static_cast<std::uint32_t>(wParam);
    ZV_TRACE(WindowMessage, number, parameter);
    WithService([&](CZVNSrvcMgnt& service) { service.PostWindowMessage(number, wParam, lParam); });
    // A window message needs its default handling; a simulated driver has no window.
    const ZVVirtualRegister simulated = Virtual_RegisterPnPHandler;
    return simulated != nullptr ? 1 : DefWindowProcW(window, message, wParam, lParam);
}

void WakePwrEvtHandlers()
{
    constexpr std::uint32_t Nothing = 0; // WM_NULL
    WithService([](CZVNSrvcMgnt& service) { service.PostWindowMessage(Nothing, 0, 0); });
}
