/// @file
/// The requests of one device in a journal.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A request and how it completed.
struct RecordedRequest
{
    std::uint32_t Code = 0;
    std::vector<std::uint8_t> Input = {};
    std::vector<std::uint8_t> Output = {};
    std::uint32_t Error = 0;
    std::uint64_t DurationUs = 0;
    bool IsUsed = false;
};

/// Not thread-safe.
class RecordedRequests
{
public:
    /// @throws std::runtime_error for a file that cannot be read, and for an error in one of its lines.
    RecordedRequests(const std::string& journal, const std::string& device);

    /// Returns the oldest recorded request that matches and has not been taken before. Inputs match regardless of the
    /// process and the number of the request, which differ in each run.
    std::optional<RecordedRequest> Take(std::uint32_t code, std::span<const std::uint8_t> input);

private:
    std::vector<RecordedRequest> Requests;
};
