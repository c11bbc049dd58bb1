/// @file
/// The response of one asynchronous request: the reads in flight and the bytes that they returned.
#pragma once

#include "DriverCall.h"
#include "DriverWire.h"
#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

class EvtIrpHandler;

/// The response of one request. Used by the device's notification thread only.
struct OutputBuffer
{
    std::shared_ptr<EvtIrpHandler> Handler;
    std::uint16_t RequestId = 0;
    bool Done = false;              ///< The response has ended, for any reason.
    std::vector<std::uint8_t> Data; ///< The response so far, at most `Limit` bytes.
    std::uint32_t Limit = 0;        ///< Capacity of the host's buffer in bytes; further bytes are only counted.
    std::uint64_t Received = 0;     ///< Bytes that arrived.

    void Append(std::span<const std::byte> chunk);
};

/// The response reads of one request. Used by the device's notification thread only; the thread
/// that constructs it must also destroy it. Reads that the driver has not completed are parked on
/// destruction.
class EvtIrpHandler
{
public:
    /// Sends the reads.
    /// @param handle the request's control handle; must stay open longer than this object exists.
    /// @param output owns this object and outlives it.
    EvtIrpHandler(HANDLE handle, OutputBuffer* output);
    /// Cancels the remaining reads without waiting.
    ~EvtIrpHandler();
    EvtIrpHandler(const EvtIrpHandler&) = delete;
    EvtIrpHandler& operator=(const EvtIrpHandler&) = delete;

    /// Collects chunks until a short one, a failed read, a signal of the terminate event, or 3000 ms without a
    /// chunk; then cancels the reads and marks the response as done.
    void waitRsp();

    /// Waits until the cancelled reads have completed, up to the deadline.
    void AwaitReads(std::chrono::steady_clock::time_point deadline) const;

private:
    struct CRead
    {
        CDriverCallPtr Call;
        std::uint64_t SendOrder = 0; ///< The oldest read has the lowest number.
        bool IsOut = false;          ///< The driver has taken it, and its completion was not detected yet.
    };

    /// The result of one poll of the reads.
    enum class PollResult
    {
        NothingCompleted,
        ChunkTaken,
        ResponseEnded
    };

    void Send(CRead& read);
    void CollectWaitHandles();
    PollResult TakeOldest();
    PollResult TakeIfCompleted(CRead& read);
    bool AwaitAny() const;

    HANDLE ControlHandle;
    OutputBuffer* Output;
    std::array<CRead, ZV_RSP_BUFFER_COUNT> Reads;
    std::uint64_t LastSendOrder = 0;
    CEventHandle TerminateEvent; ///< Shared by name: another process may end one collection.
    /// The events that exist: those of the reads in their order, then the terminate event.
    std::array<HANDLE, ZV_RSP_BUFFER_COUNT + 1> WaitHandles{};
    DWORD WaitCount = 0;
    DWORD ReadEventCount = 0;
};
