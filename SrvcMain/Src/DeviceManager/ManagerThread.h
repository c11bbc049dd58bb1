/// @file
/// A notification thread of the device manager.
#pragma once

#include "CZVNotification.h"
#include "TracePoint.h"

#include <string>

/// Runs from its construction until Stop. Any thread may post.
class CManagerThread
{
public:
    /// @param handler not owned; must be valid until the thread has stopped.
    CManagerThread(CZVNotifyHandler* handler, const std::string& name)
    {
        if (!Notifier.RunNotifyThread(handler, name))
            ZV_TRACE(ManagerThreadFailed, name);
    }

    void Post(const ZVBlob& blob) { Notifier.SendNorification(blob); }

    /// Delivers what is queued and joins. Does nothing on the thread itself, which cannot be joined there
    /// and is detached on destruction: a client callback may release the last reference to the manager.
    void Stop()
    {
        if (!Notifier.IsOwnThread())
            Notifier.StopNotifyThread();
    }

private:
    CZVNotification Notifier; ///< Thread-safe.
};
