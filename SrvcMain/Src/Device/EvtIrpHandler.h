/// @file
/// The response of one asynchronous request: reads in flight, and what they bring.
#pragma once

#include "DriverWire.h"
#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

class EvtIrpHandler;

/// Collects the response of one request. Used by the device's notification thread alone.
struct OutputBuffer
{
    std::shared_ptr<EvtIrpHandler> Handler;
    std::uint16_t RequestId = 0;
    bool Done = false;              ///< The response has ended, for whatever reason.
    std::vector<std::uint8_t> Data; ///< The response so far.
};

/// The response reads of one request. Used by the device's notification thread alone; the thread
/// that constructs it has to be the one that destroys it.
class EvtIrpHandler
{
public:
    /// Puts the reads in flight.
    /// @param handle the request's control handle, open for longer than this object.
    /// @param output owns this object and outlives it.
    EvtIrpHandler(HANDLE handle, OutputBuffer* output);
    /// Returns when no read is in flight any more.
    ~EvtIrpHandler();
    EvtIrpHandler(const EvtIrpHandler&) = delete;
    EvtIrpHandler& operator=(const EvtIrpHandler&) = delete;

    /// Collects until a short chunk, a failed read, a signal from outside or 3000 ms of silence; then
    /// ends the reads and marks the response as done.
    void waitRsp();

private:
    static constexpr std::size_t TerminateIndex = ZV_RSP_BUFFER_COUNT;

    /// One read and the memory that the system uses until it has ended.
    struct CRead
    {
        OVERLAPPED Overlapped{};
        std::array<std::uint8_t, ZV_RSP_CHUNK_SIZE> Buffer{};
        CEventHandle Event;
        std::uint64_t Turn = 0; ///< Counts the reads that were sent; the oldest has the lowest.
        bool InFlight = false;  ///< Started and its end not yet seen; only then may it be waited for.
    };

    /// What a look at the reads found.
    enum class CLook
    {
        NothingEnded,
        ChunkTaken,
        ResponseEnded
    };

    void Send(CRead& read);
    CLook TakeOldest();
    CLook TakeIfEnded(CRead& read);
    bool AwaitAny() const;
    void EndReads();

    HANDLE ControlHandle;
    OutputBuffer* Output;
    DWORD ProcessId;
    std::array<CRead, ZV_RSP_BUFFER_COUNT> Reads;
    std::uint64_t LastTurn = 0;
    CEventHandle TerminateEvent; ///< Shared by name; a signal from outside ends one collection.
    std::array<HANDLE, ZV_RSP_BUFFER_COUNT + 1> WaitHandles{};
};
