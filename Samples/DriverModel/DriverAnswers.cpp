// How the driver model treats a well-formed request.
#include "DriverModel.h"

#include <algorithm>
#include <random>
#include <span>

namespace
{

using Bytes = DriverSettings::Bytes;

/// The generator has its default seed, so a failing test sees the same bytes in every run.
Bytes GarbageBytes(std::size_t size)
{
    std::minstd_rand random;
    Bytes bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random() >> 8); });
    return bytes;
}

/// Encodes the words in little-endian order, independent of the machine, and pads the block with zeros.
Bytes InformationBlock(std::span<const std::uint32_t> words)
{
    Bytes block;
    for (const std::uint32_t word : words)
        for (unsigned shift = 0; shift < 32; shift += 8)
            block.push_back(static_cast<std::uint8_t>(word >> shift));
    block.resize(Wire::InformationSize);
    return block;
}

/// Returns the record; a query fills in the item's data.
Bytes ItemAnswer(const WireRequest& wire, const ItemStore& items)
{
    Bytes record(wire.Payload.begin(), wire.Payload.end());
    if (!wire.IsSet)
        items.Query(wire.ItemId, std::span(record).subspan(Wire::RecordHead));
    return record;
}

/// Returns the configured output of the code, or echoes the payload, cut to the caller's buffer.
Bytes HostAnswer(const WireRequest& wire, const std::map<std::uint32_t, Bytes>& outputs, std::size_t room)
{
    const auto chosen = outputs.find(wire.Code);
    const std::span<const std::uint8_t> output = chosen == outputs.end() ? wire.Payload : std::span(chosen->second);
    const auto sent = output.first(std::min(output.size(), room));
    return {sent.begin(), sent.end()};
}

} // namespace

/// Runs on the caller's thread, or on the timer thread if a switch delays the request. It may have been cancelled or
/// the device unplugged since Start.
void DriverModel::Deal(const RequestPtr& request, const WireRequest& wire)
{
    Ends ends;
    Platform::ScopedLock guard(Lock);
    if (Current.Refuse != 0)
    {
        // A request that is no longer waiting belongs to the thread that removed it, which completes it.
        if (Remove(request))
            ends.push_back({request, Current.Refuse});
    }
    else if (wire.Code == Wire::ResponseCode)
        DealWithRead(request, ends);
    else
        DealWithRequest(request, wire, ends);
    guard.Unlock();
    CarryOut(ends);
}

/// Chunks that no read has taken yet may be waiting for this one.
void DriverModel::DealWithRead(const RequestPtr& read, Ends& ends)
{
    if (const auto stream = Streams.find(read->OpenId()); stream != Streams.end())
        Serve(stream->second, ends);
}

/// Appends completions in the order in which the caller receives them.
void DriverModel::DealWithRequest(const RequestPtr& request, const WireRequest& wire, Ends& ends)
{
    if (std::ranges::find(Waiting, request) == Waiting.end())
        return; // cancelled before it was due
    ResponseStream& stream = Stream(request->OpenId());
    std::vector<Bytes> chunks;
    // Without a waiting read the caller expects no response; chunks would then reach the reads of a later request.
    if (const bool isHosts = wire.Code != Wire::InformationCode && wire.Code != Wire::ItemCode;
        isHosts && stream.WaitingReads() > 0 && !Current.Silent)
        chunks = ResponseChunks(wire);
    const std::size_t inFront = ChunksInFront(stream.WaitingReads(), chunks.size());

    stream.AddChunks(std::span(chunks).first(inFront));
    Serve(stream, ends);
    if (Current.Hang || std::erase(Waiting, request) == 0)
        return; // waits for its cancellation, or vanished with the device
    ends.push_back({request, 0, Answer(wire, request->OutputRoom()), StoreItem(*request, wire)});
    stream.AddChunks(std::span(chunks).subspan(inFront));
    Serve(stream, ends);
}

/// Takes chunks as long as reads wait. The device vanishes after the configured chunk, before the next one.
void DriverModel::Serve(ResponseStream& stream, Ends& ends)
{
    while (auto end = stream.TakeEnd())
    {
        ends.push_back(std::move(*end));
        if (++ChunksServed != Current.VanishAfterChunks)
            continue;
        Gone = true;
        std::ranges::move(TakeAll(Removed), std::back_inserter(ends));
    }
}

std::vector<DriverModel::Bytes> DriverModel::ResponseChunks(const WireRequest& wire) const
{
    const auto chosen = Settings.Responses.find(wire.Code);
    // The most specific setting applies: the code's response, then the common one, then the echo.
    std::span<const std::uint8_t> response = wire.Payload;
    if (chosen != Settings.Responses.end())
        response = chosen->second;
    else if (Settings.Response)
        response = *Settings.Response;
    return Current.Garbage ? CutIntoChunks(GarbageBytes(response.size()), Settings.Last)
                           : CutIntoChunks(response, Settings.Last);
}

/// Returns how many chunks are sent before the request itself completes.
std::size_t DriverModel::ChunksInFront(std::size_t waitingReads, std::size_t chunks) const
{
    switch (Settings.Order)
    {
    // No more than reads wait: further chunks would wait for reads that follow the completion.
    case ResponseOrder::Before:
        return std::min(chunks, waitingReads);
    case ResponseOrder::During:
        return std::min<std::size_t>(chunks, 1);
    case ResponseOrder::After:
        break;
    }
    return 0;
}

/// Stores the item that a request sets, even if its answer is garbage. Returns the settings with which the machine
/// stores it instead, if the machine shares the item with other processes.
std::string DriverModel::StoreItem(const Platform::IoRequest& request, const WireRequest& wire)
{
    if (wire.Code != Wire::ItemCode || !wire.IsSet)
        return "";
    const auto data = wire.Payload.subspan(Wire::RecordHead);
    if (request.SharesState())
        return WriteItem(wire.ItemId, data);
    StoredItems.Set(wire.ItemId, data);
    return "";
}

DriverModel::Bytes DriverModel::Answer(const WireRequest& wire, std::size_t room)
{
    Bytes answer;
    if (wire.Code == Wire::InformationCode)
        answer = InformationBlock(Settings.Information);
    else if (wire.Code == Wire::ItemCode)
        answer = ItemAnswer(wire, StoredItems);
    else
        answer = HostAnswer(wire, Settings.Outputs, room);
    return Current.Garbage ? GarbageBytes(answer.size()) : answer;
}
