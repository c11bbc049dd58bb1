#include "RecordedRequests.h"

#include "JsonNode.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace
{

// The process number takes 4 bytes, and the number of the request 2.
constexpr std::size_t VaryingBytes = 6;

bool Matches(const RecordedRequest& recorded, std::uint32_t code, std::span<const std::uint8_t> input)
{
    return !recorded.IsUsed && recorded.Code == code && recorded.Input.size() == input.size() &&
           std::ranges::equal(std::span(recorded.Input).subspan(std::min(VaryingBytes, input.size())),
                              input.subspan(std::min(VaryingBytes, input.size())));
}

/// Returns nothing for a line that is no request of the device.
std::optional<RecordedRequest> ReadRequest(const std::string& line, const std::string& device)
{
    const Platform::JsonDocument document(line);
    const Platform::JsonNode root = document.Root();
    if (!root.HasMember("kind") || root.Member("kind").Text() != "request")
        return std::nullopt;
    const Platform::JsonNode data = root.Member("data");
    if (data.Member("device").Text() != device)
        return std::nullopt;
    return RecordedRequest{.Code = data.Member("code").Number(),
                           .Input = data.Member("input").Hexadecimal(),
                           .Output = data.Member("output").Hexadecimal(),
                           .Error = data.Member("error").Number(),
                           .DurationUs = data.Member("durationUs").LongNumber()};
}

} // namespace

RecordedRequests::RecordedRequests(const std::string& journal, const std::string& device)
{
    std::ifstream file(journal);
    if (!file)
        throw std::runtime_error(journal + ": cannot be read");
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);)
    {
        ++number;
        // A killed process leaves the last line incomplete.
        if (file.eof())
            break;
        try
        {
            if (auto request = ReadRequest(line, device))
                Requests.push_back(std::move(*request));
        }
        catch (const Platform::JsonError& error)
        {
            throw std::runtime_error(journal + ":" + std::to_string(number) + ": " + error.what());
        }
    }
}

std::optional<RecordedRequest> RecordedRequests::Take(std::uint32_t code, std::span<const std::uint8_t> input)
{
    const auto found =
        std::ranges::find_if(Requests, [&](const RecordedRequest& recorded) { return Matches(recorded, code, input); });
    if (found == Requests.end())
        return std::nullopt;
    found->IsUsed = true;
    return *found;
}
