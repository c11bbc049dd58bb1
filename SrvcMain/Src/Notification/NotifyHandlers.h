/// @file
/// One-function interfaces through which the modules call each other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

/// Receives the blobs of a notification thread.
class CZVNotifyHandler
{
public:
    /// Called on the thread's worker, one blob at a time, with no lock held.
    /// @param name a copy of the thread's name; distinguishes the threads of a handler that has several.
    /// @param blob may be in other queues at the same time; read-only.
    virtual void NotifyCallback(std::string name, const std::shared_ptr<unsigned char>& blob) = 0;

protected:
    CZVNotifyHandler() = default;
    ~CZVNotifyHandler() = default;
    CZVNotifyHandler(const CZVNotifyHandler&) = default;
    CZVNotifyHandler& operator=(const CZVNotifyHandler&) = default;
};

/// Receives the power and device messages of Windows.
class CZVPwrEvtHandler
{
public:
    /// Called on the service's notification thread, one message at a time.
    virtual void PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) = 0;

protected:
    CZVPwrEvtHandler() = default;
    ~CZVPwrEvtHandler() = default;
    CZVPwrEvtHandler(const CZVPwrEvtHandler&) = default;
    CZVPwrEvtHandler& operator=(const CZVPwrEvtHandler&) = default;
};

/// Queues a message that no handler routes, so that the service calls every CZVPwrEvtHandler again after
/// the messages already queued. Any thread. Defined by the service.
void WakePwrEvtHandlers();
