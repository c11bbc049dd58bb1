/// @file
/// The response chunks for the reads of one open handle.
#pragma once

#include "ControlDevice.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

/// How to complete a request; done after every lock is released.
struct RequestEnd
{
    RequestPtr Request;
    std::uint32_t Error = 0;
    std::vector<std::uint8_t> Output = {};
    std::string State = {}; ///< Settings that the machine applies first; empty for none.
};

/// How the end of a response is marked. A chunk shorter than 200 bytes is the last one.
enum class LastChunk
{
    Short,   ///< Correct: an empty chunk after a multiple of 200 bytes.
    Missing, ///< No such empty chunk; the reader must time out.
    Empty,   ///< Always an empty chunk, even after a short one.
};

std::vector<std::vector<std::uint8_t>> CutIntoChunks(std::span<const std::uint8_t> response, LastChunk last);

/// Pairs waiting reads with chunks. Not thread-safe.
class ResponseStream
{
public:
    /// @param eager returns each chunk as soon as a read waits. Otherwise, when all reads in flight have
    ///        received a chunk, the next follows after all were sent again: a reader that checks its reads
    ///        in a fixed order then receives the chunks in order.
    explicit ResponseStream(bool eager) : Eager(eager) {}

    void AddRead(const RequestPtr& read);
    /// Returns false if the read is not waiting here.
    bool RemoveRead(const RequestPtr& read);
    std::size_t WaitingReads() const { return Reads.size(); }
    void AddChunks(std::span<const std::vector<std::uint8_t>> chunks);
    /// Takes the oldest read and the next chunk, if both exist.
    std::optional<RequestEnd> TakeEnd();
    /// Returns all waiting reads and drops all chunks.
    std::vector<RequestPtr> Clear();

private:
    bool Eager;
    std::deque<RequestPtr> Reads;
    std::deque<std::vector<std::uint8_t>> Chunks;
    std::size_t MostReads = 0; ///< Most reads that have waited at once.
    std::size_t TurnLeft = 0;  ///< Reads that may be completed before all must be sent again.
};
