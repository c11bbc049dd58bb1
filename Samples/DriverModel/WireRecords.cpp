#include "WireRecords.h"

#include <fmt/format.h>

#include <algorithm>
#include <unistd.h>

namespace
{

using Bytes = std::span<const std::uint8_t>;

/// Compares fields and records each difference.
class Checker
{
public:
    Checker(WireRequest& request, Bytes input) : Request(request), Input(input) {}

    std::uint32_t Read(const WireField& field) const { return ReadField(Input, field); }

    void Expect(const WireField& field, std::size_t expected)
    {
        // Compared with 32 bits, the width of the largest field.
        if (const std::uint32_t got = Read(field); got != static_cast<std::uint32_t>(expected))
            Note(field, fmt::format("0x{:x}", static_cast<std::uint32_t>(expected)), got);
    }

    void Note(const WireField& field, const std::string& expected, std::uint32_t got)
    {
        Request.Violations.push_back(fmt::format("request 0x{:x}: {} at offset {}: expected {}, got 0x{:x}",
                                                 Request.Code, field.Name, field.Offset, expected, got));
    }

    /// @return `good`, so that a caller can stop before it reads fields that the input does not have.
    bool ExpectSize(const char* what, bool good, std::size_t expected, std::size_t got)
    {
        if (!good)
            Request.Violations.push_back(
                fmt::format("request 0x{:x}: {}: expected {} bytes, got {}", Request.Code, what, expected, got));
        return good;
    }

private:
    WireRequest& Request;
    Bytes Input;
};

/// The driver model runs in the process of its caller, so both have the same number.
std::size_t OwnProcess()
{
    return static_cast<std::size_t>(getpid());
}

void CheckResponseRead(Checker& check, Bytes input, std::size_t room)
{
    check.ExpectSize("output room", room == Wire::ChunkSize, Wire::ChunkSize, room);
    if (check.ExpectSize("input", input.size() == Wire::ProcessId.Size, Wire::ProcessId.Size, input.size()))
        check.Expect(Wire::ProcessId, OwnProcess());
}

void CheckInformation(Checker& check, std::size_t carried, std::size_t room)
{
    check.Expect(Wire::RequestId, 0);
    check.Expect(Wire::InLength, 0);
    check.ExpectSize("output room", room == Wire::InformationSize, Wire::InformationSize, room);
    check.ExpectSize("input", carried == room, room + Wire::Overhead, carried + Wire::Overhead);
}

void CheckRecord(Checker& check, std::size_t recordSize)
{
    const std::size_t dataLength = recordSize - Wire::RecordHead;
    const std::uint32_t kind = check.Read(Wire::Kind);
    const std::size_t setSize = kind == Wire::QueryKind ? 0 : dataLength + 24;
    check.Expect(Wire::BodySize, recordSize - 4);
    check.Expect(Wire::Signature, Wire::ItemSignature);
    check.Expect(Wire::FixedFour, 4);
    check.Expect(Wire::FixedOne, 1);
    if (kind != Wire::QueryKind && kind != Wire::SetKind)
        check.Note(Wire::Kind, "0x7 or 0x8", kind);
    check.Expect(Wire::RecordSize, recordSize);
    check.Expect(Wire::FirstSetSize, setSize);
    check.Expect(Wire::SecondSetSize, setSize);
    check.Expect(Wire::DataLength, dataLength);
}

/// Input and output are one record, so one length determines the other.
void ReadItem(WireRequest& request, Checker& check, Bytes input, std::size_t room)
{
    const std::size_t recordSize = input.size() - Wire::Overhead;
    check.Expect(Wire::RequestId, 9);
    // The field holds 16 bits; the sizes inside the record are complete.
    check.Expect(Wire::InLength, recordSize & 0xFFFF);
    check.ExpectSize("output room", room == recordSize, recordSize, room);
    if (!check.ExpectSize("item record", recordSize >= Wire::RecordHead, Wire::RecordHead, recordSize))
        return;
    CheckRecord(check, recordSize);
    request.Payload = input.subspan(Wire::HeaderSize, recordSize);
    request.IsSet = check.Read(Wire::Kind) == Wire::SetKind;
    request.ItemId = check.Read(Wire::ItemId);
}

/// The length field holds the low 16 bits only; the input size determines a longer payload. If the output is
/// at least as large, the input is padded to it, and only the field is available.
void ReadHostRequest(WireRequest& request, Checker& check, Bytes input, std::size_t room)
{
    const std::size_t carried = input.size() - Wire::Overhead;
    std::size_t length = check.Read(Wire::InLength);
    if (carried > room && carried > 0xFFFF && (carried & 0xFFFF) == length)
        length = carried;
    const std::size_t expected = std::max(length, room);
    if (check.ExpectSize("input", carried == expected, expected + Wire::Overhead, input.size()))
        request.Payload = input.subspan(Wire::HeaderSize, length);
}

} // namespace

std::uint32_t ReadField(std::span<const std::uint8_t> request, const WireField& field)
{
    std::uint32_t number = 0;
    for (std::size_t i = field.Size; i-- > 0;)
        number = number << 8 | request[field.Offset + i];
    return number;
}

WireRequest ReadWireRequest(std::uint32_t code, std::span<const std::uint8_t> input, std::size_t outputRoom)
{
    WireRequest request{.Code = code};
    Checker check(request, input);
    if (code == Wire::ResponseCode)
    {
        CheckResponseRead(check, input, outputRoom);
        return request;
    }
    // Every other check reads the header.
    if (!check.ExpectSize("input", input.size() >= Wire::Overhead, outputRoom + Wire::Overhead, input.size()))
        return request;
    check.Expect(Wire::ProcessId, OwnProcess());
    check.Expect(Wire::Marker, 1);
    if (code == Wire::InformationCode)
        CheckInformation(check, input.size() - Wire::Overhead, outputRoom);
    else if (code == Wire::ItemCode)
        ReadItem(request, check, input, outputRoom);
    else
        ReadHostRequest(request, check, input, outputRoom);
    return request;
}
