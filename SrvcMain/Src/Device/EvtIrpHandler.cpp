#include "EvtIrpHandler.h"

#include "TracePoint.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr CWideText TerminateEventName{"TerminateWaitEvent"};

CDriverCallPtr MakeRead()
{
    const DWORD processId = GetCurrentProcessId();
    static_assert(sizeof processId == 4);
    CDriverCallPtr call =
        CDriverCall::Make(sizeof processId, ZV_RSP_CHUNK_SIZE, CallMemory::Separate, CallEvent::AutoNotSignalled);
    std::memcpy(call->Input().data(), &processId, sizeof processId);
    std::ranges::fill(call->Output(), std::byte{0});
    return call;
}

} // namespace

/// Stores at most `Limit` bytes, so that a driver that never stops does not exhaust the memory.
void OutputBuffer::Append(std::span<const std::byte> chunk)
{
    Received += chunk.size();
    const std::size_t kept = std::min<std::size_t>(chunk.size(), Limit - Data.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(chunk.data());
    Data.insert(Data.end(), bytes, bytes + kept);
}

EvtIrpHandler::EvtIrpHandler(HANDLE handle, OutputBuffer* output) : ControlHandle(handle), Output(output)
{
    for (CRead& read : Reads)
    {
        read.Call = MakeRead();
        Send(read);
    }
    TerminateEvent.Reset(CreateEventW(nullptr, FALSE, FALSE, TerminateEventName.Text));
    CollectWaitHandles();
}

EvtIrpHandler::~EvtIrpHandler()
{
    CancelIo(ControlHandle);
}

/// Omits events that could not be created, because a wait fails for an empty handle. The terminate event
/// cannot be created if another account owns its name.
void EvtIrpHandler::CollectWaitHandles()
{
    const auto add = [this](HANDLE event) {
        if (event != nullptr)
            WaitHandles[WaitCount++] = event;
    };
    for (const CRead& read : Reads)
        add(read.Call->Event());
    ReadEventCount = WaitCount;
    add(TerminateEvent.Get());
}

/// Sends a read. A read without an event is not sent, because no wait could detect its completion.
void EvtIrpHandler::Send(CRead& read)
{
    if (read.Call->Event() == nullptr)
        return;
    read.SendOrder = ++LastSendOrder;
    read.Call->Start(ControlHandle, IOCTL_ZV_WAIT_RSP);
    read.IsOut = read.Call->WasTaken();
}

/// Takes the bytes of a completed read and sends it again.
EvtIrpHandler::PollResult EvtIrpHandler::TakeIfCompleted(CRead& read)
{
    if (!read.Call->HasCompleted())
        return PollResult::NothingCompleted;
    read.IsOut = false;
    std::size_t bytes = 0;
    if (!read.Call->Result(ControlHandle, bytes))
        return PollResult::ResponseEnded;
    Output->Append(read.Call->Output().first(bytes));
    if (bytes < ZV_RSP_CHUNK_SIZE)
        return PollResult::ResponseEnded;
    Send(read);
    return PollResult::ChunkTaken;
}

/// Polls the reads in the order in which they were sent. A driver fills the oldest read first, so this
/// keeps the order of its chunks. Polled by index, the first read would be taken over and over if the
/// driver completes each read as soon as it is sent, and the others never.
EvtIrpHandler::PollResult EvtIrpHandler::TakeOldest()
{
    std::array<CRead*, ZV_RSP_BUFFER_COUNT> inOrder{};
    std::ranges::transform(Reads, inOrder.begin(), [](CRead& read) { return &read; });
    std::ranges::sort(inOrder, {}, &CRead::SendOrder);
    for (CRead* read : inOrder)
        if (read->IsOut)
            if (const PollResult poll = TakeIfCompleted(*read); poll != PollResult::NothingCompleted)
                return poll;
    return PollResult::NothingCompleted;
}

/// Sleeps until a read completes.
/// @return false when the response has ended: the terminate event was signalled, no chunk arrived in time,
///         or the wait failed, as it would again.
bool EvtIrpHandler::AwaitAny() const
{
    return WaitForMultipleObjects(WaitCount, WaitHandles.data(), FALSE, ZV_RSP_WAIT_MS) < ReadEventCount;
}

void EvtIrpHandler::waitRsp()
{
    // Completed reads are taken before any sleep, which costs far more than the copy of a chunk.
    PollResult poll = PollResult::NothingCompleted;
    do
        poll = TakeOldest();
    while (poll == PollResult::ChunkTaken || (poll == PollResult::NothingCompleted && AwaitAny()));
    for (const CRead& read : Reads)
        read.Call->Cancel(ControlHandle);
    Output->Done = true;
    const auto size = static_cast<std::uint32_t>(Output->Received);
    const std::uint32_t id = Output->RequestId;
    ZV_TRACE(AsyncCollected, id, size);
}

void EvtIrpHandler::AwaitReads(std::chrono::steady_clock::time_point deadline) const
{
    for (const CRead& read : Reads)
        read.Call->AwaitCompletion(deadline);
}
