/// What travels to the driver, byte by byte, on the stand-in and on Windows, where the driver itself compares it.

#include "DeviceFixture.h"
#include "OSPlatform.h"

#include <algorithm>

namespace
{

using Requests = std::vector<TestDriver::Seen>;

void Put(Bytes& bytes, std::size_t offset, std::uint32_t value, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i)
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
}

/// Header, payload and zeros up to the size that both lengths call for.
Bytes Framed(std::uint32_t id, const Bytes& payload, std::size_t outLength)
{
    Bytes wire(std::max(payload.size(), outLength) + 12);
    Put(wire, 0, GetCurrentProcessId(), 4);
    Put(wire, 4, id, 2);
    Put(wire, 6, 1, 1);
    Put(wire, 8, static_cast<std::uint32_t>(payload.size()), 2);
    std::ranges::copy(payload, wire.begin() + 10);
    return wire;
}

Bytes Item(std::uint32_t kind, std::uint32_t id, const Bytes& data)
{
    const auto length = static_cast<std::uint32_t>(data.size());
    Bytes record(40 + data.size());
    const std::uint32_t set = kind == 8 ? length + 24 : 0;
    const std::uint32_t words[] = {length + 36, 0x81A7C000, 4, 1, kind, length + 40, id, set, set, length};
    for (std::size_t i = 0; i < std::size(words); ++i)
        Put(record, 4 * i, words[i], 4);
    std::ranges::copy(data, record.begin() + 40);
    return record;
}

Bytes Counting(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251 + 1);
    return bytes;
}

using Wire = DeviceTest;

TEST_F(Wire, TheInformationQueryHas112InputAnd100OutputBytes)
{
    ASSERT_EQ(Open(Device), ZV_SRVC_SUCCESS);
    const Bytes wire = Framed(0, {}, 100);
    EXPECT_EQ(wire.size(), 112U);
    EXPECT_EQ(Driver->Requests(), (Requests{{0x122428, wire, 100}}));
}

TEST_F(Wire, ItemsTravelInTheirRecord)
{
    OpenIt();
    for (const std::size_t size : {0U, 1U, 300U, 65496U})
        for (const std::uint8_t isSet : Bytes{0, 1, 2})
        {
            const Bytes record = Item(isSet == 1 ? 8 : 7, 0x1234, Counting(size));
            Bytes data = Counting(size);
            data.push_back(0xEE); // Never null, and the bytes after the data must stay unchanged.
            EXPECT_EQ(Device->SetQueryInfo(isSet, 0x1234, data.data(), static_cast<std::uint32_t>(size)), 0U);
            const Bytes wire = Framed(9, record, record.size());
            EXPECT_EQ(wire.size(), size + 52);
            EXPECT_EQ(Driver->Requests(), (Requests{{0x122414, wire, size + 40}})) << size << " " << int{isSet};
            EXPECT_EQ(data.back(), 0xEE);
        }
}

TEST_F(Wire, TheAnswerIsReturnedInTheDataEvenOfASet)
{
    OpenIt();
    for (const std::uint8_t isSet : Bytes{0, 1})
    {
        // The driver writes the head and two of four bytes; the rest comes back as it was sent.
        Bytes answer(42, 0xAA);
        answer[40] = 7;
        answer[41] = 8;
        Driver->On(0x122414, TestDriver::EndWith(0, answer));
        Bytes data = {1, 2, 3, 4};
        EXPECT_EQ(Device->SetQueryInfo(isSet, 5, data.data(), 4), ZV_SRVC_SUCCESS);
        EXPECT_EQ(data, (Bytes{7, 8, 3, 4}));
    }
}

TEST_F(Wire, HostRequestsAreFramedByTheLargerOfTheirLengths)
{
    OpenIt();
    const std::pair<std::size_t, std::size_t> cases[] = {{0, 0}, {5, 0}, {5, 300}, {300, 5}, {70'000, 8}};
    for (const auto& [inSize, outSize] : cases)
    {
        const Bytes in = Counting(inSize);
        Bytes out(outSize, 0xEE);
        Driver->On(0x99001234, {}); // A rule would keep the Windows driver from comparing the request.
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = 0x99001234;
        request.RequestId = 0xBEEF;
        request.InBuffer = in.empty() ? nullptr : in.data();
        request.InLength = static_cast<std::uint32_t>(inSize);
        request.OutBuffer = out.empty() ? nullptr : out.data();
        request.OutLength = static_cast<std::uint32_t>(outSize);
        request.Timeout = 1000;
        EXPECT_EQ(Device->SendIOCTLReq(&request), ZV_SRVC_SUCCESS) << inSize;
        const Bytes wire = Framed(0xBEEF, in, outSize);
        EXPECT_EQ(Driver->Requests(), (Requests{{0x99001234, wire, outSize}})) << inSize << "/" << outSize;
        Driver->On(0x99001234, TestDriver::EndWith(0, {9, 9}));
        std::ranges::fill(out, std::uint8_t{0xEE});
        EXPECT_EQ(Device->SendIOCTLReq(&request), ZV_SRVC_SUCCESS) << inSize;
        Driver->Requests();
        Bytes expected(outSize, 0xEE);
        if (outSize >= 2)
            expected[0] = expected[1] = 9;
        EXPECT_EQ(out, expected);
    }
}

TEST_F(Wire, FiveResponseReadsWithTheProcessIdPrecedeTheRequest)
{
    OpenIt();
    AsyncRequest request(3, 0x99000000, 10, {1, 2});
    ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
    Driver->Chunk({4, 5});
    EXPECT_EQ(request.Await(), 0U);
    Bytes processId(4);
    Put(processId, 0, GetCurrentProcessId(), 4);
    Requests expected(5, {0x122418, processId, 200});
    expected.push_back({0x99000000, Framed(3, {1, 2}, 10), 10});
    EXPECT_EQ(Driver->Requests(), expected);
}

} // namespace
