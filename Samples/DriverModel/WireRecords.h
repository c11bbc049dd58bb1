/// @file
/// Reads requests in the wire format at fixed offsets. The model shares no record with the library, so a
/// field at the wrong offset on one side is detected.
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

// Control codes; any other code is a host's own request.
constexpr std::uint32_t ItemCode = 0x122414;        ///< Sets or queries an information item.
constexpr std::uint32_t ResponseCode = 0x122418;    ///< Reads one chunk of a response.
constexpr std::uint32_t InformationCode = 0x122428; ///< Asks for the information block.

// The header of every request except a response read, which consists of the process id only.
constexpr WireField ProcessId{"process id", 0, 4};
constexpr WireField RequestId{"request id", 4, 2};
constexpr WireField Marker{"marker", 6, 1};
constexpr WireField InLength{"input length", 8, 2}; ///< Low 16 bits of the payload's length.
constexpr std::size_t HeaderSize = 10;              ///< The byte at offset 7 is not used.
constexpr std::size_t Overhead = 12;                ///< Header, and two trailing bytes.

// The record of an item request, which follows the header.
constexpr WireField BodySize{"body size", 10, 4}; ///< Record size less 4.
constexpr WireField Signature{"signature", 14, 4};
constexpr WireField FixedFour{"fixed word", 18, 4};
constexpr WireField FixedOne{"fixed word", 22, 4};
constexpr WireField Kind{"kind", 26, 4};
constexpr WireField RecordSize{"record size", 30, 4}; ///< Head and data.
constexpr WireField ItemId{"item id", 34, 4};
constexpr WireField FirstSetSize{"first set size", 38, 4};   ///< Data length plus 24, or 0 in a query.
constexpr WireField SecondSetSize{"second set size", 42, 4}; ///< Same value as FirstSetSize.
constexpr WireField DataLength{"data length", 46, 4};
constexpr std::size_t RecordHead = 40; ///< Data follows it.

constexpr std::uint32_t ItemSignature = 0x81A7C000;
constexpr std::uint32_t QueryKind = 7;
constexpr std::uint32_t SetKind = 8;

constexpr std::size_t InformationSize = 100; ///< Of the information block.
constexpr std::size_t ChunkSize = 200;       ///< Capacity of a response read.

} // namespace Wire

/// Returns the number in a field; the request must be long enough.
std::uint32_t ReadField(std::span<const std::uint8_t> request, const WireField& field);

/// A checked request. Refers to the request's input without owning it.
struct WireRequest
{
    std::uint32_t Code = 0;
    std::span<const std::uint8_t> Payload = {}; ///< A host's bytes, or an item record.
    bool IsSet = false;                         ///< Item requests only, as is ItemId.
    std::uint32_t ItemId = 0;
    /// All violations, each with code, offset, expected and actual value. If there is any, the other
    /// members are not meaningful.
    std::vector<std::string> Violations = {};
};

/// Checks every fixed field and every length.
WireRequest ReadWireRequest(std::uint32_t code, std::span<const std::uint8_t> input, std::size_t outputRoom);
