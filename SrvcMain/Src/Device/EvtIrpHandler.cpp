#include "EvtIrpHandler.h"

#include "DriverRequest.h"
#include "TracePoint.h"

#include <algorithm>

namespace
{

constexpr CWideText TerminateEventName{"TerminateWaitEvent"};

} // namespace

EvtIrpHandler::EvtIrpHandler(HANDLE handle, OutputBuffer* output)
    : ControlHandle(handle), Output(output), ProcessId(GetCurrentProcessId())
{
    for (std::size_t i = 0; i < Reads.size(); ++i)
    {
        CRead& read = Reads[i];
        read.Event.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        read.Overlapped.hEvent = read.Event.Get();
        WaitHandles[i] = read.Event.Get();
        Send(read);
    }
    TerminateEvent.Reset(CreateEventW(nullptr, FALSE, FALSE, TerminateEventName.Text));
    WaitHandles[TerminateIndex] = TerminateEvent.Get();
}

EvtIrpHandler::~EvtIrpHandler()
{
    CancelIo(ControlHandle);
    for (CRead& read : Reads)
        if (read.InFlight)
            AwaitEnd(ControlHandle, read.Overlapped);
}

/// Sends a read, at first and again. One that cannot be sent stays silent; waiting for it would never
/// end.
void EvtIrpHandler::Send(CRead& read)
{
    DWORD returned = 0;
    read.Turn = ++LastTurn;
    read.InFlight = DeviceIoControl(ControlHandle, IOCTL_ZV_WAIT_RSP, &ProcessId, sizeof ProcessId, read.Buffer.data(),
                                    ZV_RSP_CHUNK_SIZE, &returned, &read.Overlapped) != FALSE ||
                    GetLastError() == ERROR_IO_PENDING;
    static_assert(sizeof ProcessId == 4);
}

/// Takes the bytes of a read that has ended and sends it again.
EvtIrpHandler::CLook EvtIrpHandler::TakeIfEnded(CRead& read)
{
    DWORD bytes = 0;
    const bool well = GetOverlappedResult(ControlHandle, &read.Overlapped, &bytes, FALSE) != FALSE;
    if (!well && GetLastError() == ERROR_IO_INCOMPLETE)
        return CLook::NothingEnded;
    // A read that failed still counts as in flight: that it has ended is found when it is waited for.
    if (!well)
        return CLook::ResponseEnded;
    read.InFlight = false;
    Output->Data.insert(Output->Data.end(), read.Buffer.begin(), read.Buffer.begin() + bytes);
    if (bytes < ZV_RSP_CHUNK_SIZE)
        return CLook::ResponseEnded;
    Send(read);
    return CLook::ChunkTaken;
}

/// Looks at the reads in the order in which they were sent, at first that of their index. A driver
/// fills the oldest read first, so this keeps its order; and a driver that ends each read as it is
/// sent would otherwise have the first one taken over and over, and the others never.
EvtIrpHandler::CLook EvtIrpHandler::TakeOldest()
{
    std::array<CRead*, ZV_RSP_BUFFER_COUNT> inOrder{};
    std::ranges::transform(Reads, inOrder.begin(), [](CRead& read) { return &read; });
    std::ranges::sort(inOrder, {}, &CRead::Turn);
    for (CRead* read : inOrder)
        if (read->InFlight)
            if (const CLook look = TakeIfEnded(*read); look != CLook::NothingEnded)
                return look;
    return CLook::NothingEnded;
}

/// Sleeps until a read ends.
/// @return false when the response is over: a signal from outside, silence, or a wait that failed
///         and that would fail again for ever.
bool EvtIrpHandler::AwaitAny() const
{
    return WaitForMultipleObjects(static_cast<DWORD>(WaitHandles.size()), WaitHandles.data(), FALSE, ZV_RSP_WAIT_MS) <
           TerminateIndex;
}

void EvtIrpHandler::waitRsp()
{
    // What has ended is taken before any sleep, which costs far more than the copy of a chunk.
    CLook look = CLook::NothingEnded;
    do
        look = TakeOldest();
    while (look == CLook::ChunkTaken || (look == CLook::NothingEnded && AwaitAny()));
    EndReads();
    Output->Done = true;
    const auto size = static_cast<std::uint32_t>(Output->Data.size());
    const std::uint32_t id = Output->RequestId;
    ZV_TRACE(AsyncCollected, id, size);
}

/// Cancels all reads and waits for those that were in flight: the driver uses their memory until it
/// has let go of them.
void EvtIrpHandler::EndReads()
{
    for (CRead& read : Reads)
        CancelIoEx(ControlHandle, &read.Overlapped);
    for (CRead& read : Reads)
        if (read.InFlight)
        {
            AwaitEnd(ControlHandle, read.Overlapped);
            read.InFlight = false;
        }
}
