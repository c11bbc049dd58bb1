/// @file
/// Requests as they lie on the wire, read at numbered offsets: the model shares no record with the
/// library, so that a field in the wrong place is seen on one side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// A field of a request. All numbers are little-endian.
struct WireField
{
    const char* Name;
    std::size_t Offset; ///< From the start of the request.
    std::size_t Size;   ///< In bytes.
};

namespace Wire
{

// Control codes; any other one is a host's own request.
constexpr std::uint32_t ItemCode = 0x122414;        ///< Sets or queries an information item.
constexpr std::uint32_t ResponseCode = 0x122418;    ///< Reads one chunk of a response.
constexpr std::uint32_t InformationCode = 0x122428; ///< Asks for the information block.

// The header in front of every request but a response read, which is the process id alone.
constexpr WireField ProcessId{"process id", 0, 4};
constexpr WireField RequestId{"request id", 4, 2};
constexpr WireField Marker{"marker", 6, 1};
constexpr WireField InLength{"input length", 8, 2}; ///< Low 16 bits of the payload's length.
constexpr std::size_t HeaderSize = 10;              ///< The byte at offset 7 means nothing.
constexpr std::size_t Overhead = 12;                ///< Header, and two bytes at the end.

// The record of an item request, which follows the header.
constexpr WireField BodySize{"body size", 10, 4}; ///< Record size less 4.
constexpr WireField Signature{"signature", 14, 4};
constexpr WireField FixedFour{"fixed word", 18, 4};
constexpr WireField FixedOne{"fixed word", 22, 4};
constexpr WireField Kind{"kind", 26, 4};
constexpr WireField RecordSize{"record size", 30, 4}; ///< Head and data.
constexpr WireField ItemId{"item id", 34, 4};
constexpr WireField FirstSetSize{"first set size", 38, 4};   ///< Data length plus 24, or 0 in a query.
constexpr WireField SecondSetSize{"second set size", 42, 4}; ///< The same once more.
constexpr WireField DataLength{"data length", 46, 4};
constexpr std::size_t RecordHead = 40; ///< Data follows it.

constexpr std::uint32_t ItemSignature = 0x81A7C000;
constexpr std::uint32_t QueryKind = 7;
constexpr std::uint32_t SetKind = 8;

constexpr std::size_t InformationSize = 100; ///< Of the information block.
constexpr std::size_t ChunkSize = 200;       ///< Capacity of a response read.

} // namespace Wire

/// The number in a field; the request must be long enough.
std::uint32_t ReadField(std::span<const std::uint8_t> request, const WireField& field);

/// A request that was looked over. It borrows the request's input.
struct WireRequest
{
    std::uint32_t Code = 0;
    std::span<const std::uint8_t> Payload = {}; ///< A host's bytes, or an item record.
    bool IsSet = false;                         ///< Of an item request, as is the next.
    std::uint32_t ItemId = 0;
    /// Everything that is wrong, each with code, offset, what was expected and what came. The rest
    /// means nothing when there is any.
    std::vector<std::string> Violations = {};
};

/// Checks every fixed field and every length.
WireRequest ReadWireRequest(std::uint32_t code, std::span<const std::uint8_t> input, std::size_t outputRoom);
