#include "CZVNSrvcMgnt.h"

#include "COSPrivilege.h"
#include "CSafeList.h"
#include "CVirtualDriverBinding.h"
#include "CWinPwrEvtHandle.h"
#include "CZVNotification.h"
#include "MessageBlob.h"
#include "TracePoint.h"
#include "TraceProvider.h"

#include <string>
#include <utility>
#include <vector>

constinit CServiceOwner g_pSrvcMgnt;
constinit CServiceGate ServiceGate;

class CZVNSrvcMgnt::Pimpl final : public CZVNotifyHandler
{
public:
    Pimpl()
    {
        Notifier.RunNotifyThread(this, NotifierName);
        VirtualDriver.Load();
    }

    ~Pimpl() { Notifier.StopNotifyThread(); }

    Pimpl(const Pimpl&) = delete;
    Pimpl& operator=(const Pimpl&) = delete;

    void NotifyCallback(std::string name, const ZVBlob& blob) override
    {
        if (name.find(NotifierName) == std::string::npos)
            return;
        const auto message = ReadBlob<CWindowMessageBlob>(blob);
        if (message.Type != ZV_EVT_WINDOW_MESSAGE)
            return;
        PwrEvtHandlers.CopyTo(Called);
        for (const std::shared_ptr<CZVPwrEvtHandler>& handler : Called)
            handler->PwrEvtHdlr(message.Message, message.WParam, message.LParam);
        Called.clear();
    }

    // Destroyed from the last to the first, so that the managers are released when no source can call them.
    CSafeList<std::shared_ptr<CZVPwrEvtHandler>> PwrEvtHandlers; ///< Has its own lock.
    std::vector<std::shared_ptr<CZVPwrEvtHandler>> Called;       ///< The notification thread only; empty between calls.
    CZVNotification Notifier;                                    ///< Thread-safe.
    const std::string NotifierName = "Srvc_Manager_WinPwr_Notification";
    std::shared_ptr<COSPrivilege> OSPrivilege; ///< Set by Init.
    CWinPwrEvtHandle PwrEvtHandle;             ///< Bring-up and teardown only.
    CVirtualDriverBinding VirtualDriver;       ///< Bring-up and teardown only.
};

CZVNSrvcMgnt::CZVNSrvcMgnt() : Self(std::make_shared<Pimpl>())
{
    RegisterTraceProvider();
    const std::uint32_t simulated = Self->VirtualDriver.IsLoaded() ? 1 : 0;
    ZV_TRACE(ServiceUp, simulated);
}

CZVNSrvcMgnt::~CZVNSrvcMgnt()
{
    // The window first: its last message still enters the gate.
    Self->PwrEvtHandle.DeInitPwrEvtHandler();
    ServiceGate.Close();
    ZV_TRACE(ServiceStopping);
    UnregisterTraceProvider();
    Self.reset();
}

void CZVNSrvcMgnt::Init()
{
    Self->OSPrivilege = std::make_shared<CWinOSPrivilege>();
    Self->OSPrivilege->AdjustPrivilege();
    const ZVVirtualRegister registerHandler = Virtual_RegisterPnPHandler;
    if (registerHandler != nullptr)
        registerHandler(&PwrEvtWndProc);
    else
        Self->PwrEvtHandle.InitPwrEvtHandler(&PwrEvtWndProc);
    const std::uint32_t simulated = registerHandler != nullptr ? 1 : 0;
    ZV_TRACE(ServiceInit, simulated);
}

void CZVNSrvcMgnt::RegisterPwrEvtHandler(std::shared_ptr<CZVPwrEvtHandler> handler)
{
    Self->PwrEvtHandlers.PushBack(std::move(handler));
    const std::uint32_t count = Self->PwrEvtHandlers.Size();
    ZV_TRACE(HandlerRegistered, count);
}

void CZVNSrvcMgnt::PostWindowMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam)
{
    Self->Notifier.SendNorification(MakeWindowMessageBlob(message, wParam, lParam));
}

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
