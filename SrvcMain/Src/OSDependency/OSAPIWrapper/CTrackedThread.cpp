#include "CTrackedThread.h"

#include "LibraryThread.h"
#include "TracePoint.h"

#include <algorithm>

CTrackedThread::~CTrackedThread()
{
    if (Count == 0)
        return;
    ZV_TRACE(TrackedThreadNotJoined, File.data(), Function.data(), Line);
    Join();
}

bool CTrackedThread::Start(CBody body, void* argument, std::source_location where)
{
    if (Count > 0)
        return false;
    KeepTail(where.file_name(), File);
    KeepTail(where.function_name(), Function);
    Line = where.line();
    Thread = StartLibraryThread([body, argument] { body(argument); });
    ++Count;
    ZV_TRACE(TrackedThreadStarted, File.data(), Function.data(), Line);
    return true;
}

void CTrackedThread::Join()
{
    if (Count == 0)
        return;
    Thread.join();
    --Count;
    ZV_TRACE(TrackedThreadJoined, File.data(), Function.data(), Line);
    File.fill(0);
    Function.fill(0);
}

void CTrackedThread::KeepTail(std::string_view text, CNameTail& tail)
{
    const std::size_t kept = std::min(text.size(), tail.size() - 1);
    tail.fill(0);
    text.copy(tail.data(), kept, text.size() - kept);
}
