#include "ResponseStream.h"

#include "WireRecords.h"

#include <algorithm>
#include <utility>

std::vector<std::vector<std::uint8_t>> CutIntoChunks(std::span<const std::uint8_t> response, LastChunk last)
{
    // True for an empty response too, which is therefore sent as one empty chunk.
    const bool multiple = response.size() % Wire::ChunkSize == 0;
    std::vector<std::vector<std::uint8_t>> chunks;
    while (!response.empty())
    {
        const auto chunk = response.first(std::min(response.size(), Wire::ChunkSize));
        chunks.emplace_back(chunk.begin(), chunk.end());
        response = response.subspan(chunk.size());
    }
    if (last == LastChunk::Empty || (last == LastChunk::Short && multiple))
        chunks.emplace_back();
    return chunks;
}

void ResponseStream::AddRead(const RequestPtr& read)
{
    Reads.push_back(read);
    // All reads in flight wait again, so a new turn begins. A larger number than before redefines what "all" is.
    if (Reads.size() >= MostReads)
        TurnLeft = MostReads = Reads.size();
}

bool ResponseStream::RemoveRead(const RequestPtr& read)
{
    // The turn does not change: the next one begins when as many reads as before wait again.
    return std::erase(Reads, read) != 0;
}

void ResponseStream::AddChunks(std::span<const std::vector<std::uint8_t>> chunks)
{
    Chunks.insert(Chunks.end(), chunks.begin(), chunks.end());
}

std::optional<RequestEnd> ResponseStream::TakeEnd()
{
    if (Reads.empty() || Chunks.empty() || (!Eager && TurnLeft == 0))
        return std::nullopt;
    RequestEnd end{std::move(Reads.front()), 0, std::move(Chunks.front())};
    Reads.pop_front();
    Chunks.pop_front();
    // An eager stream may serve more reads than a turn has.
    TurnLeft -= TurnLeft > 0 ? 1 : 0;
    return end;
}

std::vector<RequestPtr> ResponseStream::Clear()
{
    Chunks.clear();
    std::vector<RequestPtr> reads(Reads.begin(), Reads.end());
    Reads.clear();
    return reads;
}
