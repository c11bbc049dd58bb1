/// @file
/// A control request in the hands of a test, and the wire as a test writes it.
#pragma once

#include <ControlDevice.h>
#include <DriverModel.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <span>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// A control request that notes its end at `log`, as " name:error:bytes".
class FakeRequest final : public Platform::IoRequest
{
public:
    FakeRequest(std::uint32_t code, Bytes input, std::size_t room, std::string* log = nullptr, std::string name = "")
        : CodeNumber(code), Sent(std::move(input)), Room(room), Log(log), Name(std::move(name))
    {
    }

    std::uint32_t Code() const override { return CodeNumber; }
    std::span<const std::uint8_t> Input() const override { return Sent; }
    std::size_t OutputRoom() const override { return Room; }
    std::uint64_t OpenId() const override { return 1; }
    bool IsCancelRequested() const override { return false; }
    bool Complete(std::uint32_t error, std::span<const std::uint8_t> output) override
    {
        if (HasEnded.exchange(true))
            return false;
        if (Log != nullptr)
            *Log += ' ' + Name + ':' + std::to_string(error) + ':' + std::to_string(output.size());
        End.set_value({static_cast<int>(error), {output.begin(), output.end()}});
        return true;
    }

    bool Ended() const { return HasEnded; }
    /// Error and output; {-1, {}} when the request does not end in a generous time.
    std::pair<int, Bytes> Result()
    {
        const bool ended = Ending.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        return ended ? Ending.get() : std::pair(-1, Bytes());
    }

private:
    std::uint32_t CodeNumber;
    Bytes Sent;
    std::size_t Room;
    std::string* Log;
    std::string Name;
    std::atomic<bool> HasEnded = false;
    std::promise<std::pair<int, Bytes>> End;
    const std::shared_future<std::pair<int, Bytes>> Ending = End.get_future().share();
};

inline void Put(Bytes& bytes, std::size_t offset, std::uint32_t number, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        bytes.at(offset + i) = static_cast<std::uint8_t>(number >> (8 * i));
}

/// A request with its header; the bytes that mean nothing are 0xCC.
inline Bytes Framed(std::uint32_t requestId, const Bytes& payload, std::size_t room)
{
    Bytes bytes(12 + std::max(payload.size(), room), 0xCC);
    Put(bytes, 0, static_cast<std::uint32_t>(getpid()), 4);
    Put(bytes, 4, requestId, 2);
    Put(bytes, 6, 1, 1);
    Put(bytes, 8, static_cast<std::uint32_t>(payload.size()), 2);
    std::ranges::copy(payload, bytes.begin() + 10);
    return bytes;
}

/// An item record and its header.
inline Bytes ItemRequest(bool set, std::uint32_t id, const Bytes& data)
{
    const auto length = static_cast<std::uint32_t>(data.size());
    Bytes record(40 + length);
    const std::uint32_t setSize = set ? length + 24 : 0;
    std::size_t offset = 0;
    for (const std::uint32_t word :
         {length + 36, 0x81A7C000U, 4U, 1U, set ? 8U : 7U, length + 40, id, setSize, setSize, length})
        Put(record, std::exchange(offset, offset + 4), word, 4);
    std::ranges::copy(data, record.begin() + 40);
    return Framed(9, record, record.size());
}
