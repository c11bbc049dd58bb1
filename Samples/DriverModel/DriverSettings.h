/// @file
/// The settings of a driver model, and their JSON form.
#pragma once

#include "ResponseStream.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Misbehaviour that can be switched while the model runs. With all switches off the driver works normally.
struct DriverSwitches
{
    std::uint32_t Refuse = 0;            ///< Completes every request with this error.
    std::uint32_t RefuseOpen = 0;        ///< Fails every open with this error.
    std::uint32_t SlowMs = 0;            ///< Handles each request only after this delay.
    std::uint32_t LateCancelMs = 0;      ///< Completes a cancelled request only after this time.
    std::uint32_t VanishAfterChunks = 0; ///< Is unplugged after this many chunks; 0 for never.
    bool Pend = false;                   ///< Handles requests on the model's timer thread.
    bool Hang = false;                   ///< Completes requests other than response reads only when cancelled.
    bool Silent = false;                 ///< Sends no response.
    bool Garbage = false;                ///< Answers with arbitrary but reproducible bytes of the correct length.
    bool HoldCancelled = false;          ///< Completes cancelled requests only on demand.

    bool operator==(const DriverSwitches&) const = default;
};

/// When a host request with response reads completes, relative to its chunks.
enum class ResponseOrder
{
    Before, ///< All chunks that the waiting reads can take, then the request, then the remaining chunks.
    During, ///< One chunk, then the request, then the remaining chunks.
    After,  ///< The request, then all chunks.
};

struct DriverSettings
{
    using Bytes = std::vector<std::uint8_t>;

    std::array<std::uint32_t, 4> Information = {0x5A560001, 0x00010000, 3, 100};
    std::map<std::uint32_t, Bytes> Items = {};
    std::map<std::uint32_t, Bytes> Outputs = {};   ///< Outputs by code; otherwise the payload is echoed.
    std::map<std::uint32_t, Bytes> Responses = {}; ///< By code; otherwise Response.
    std::optional<Bytes> Response = {};            ///< Otherwise the payload is echoed.
    ResponseOrder Order = ResponseOrder::After;
    LastChunk Last = LastChunk::Short;
    bool Eager = false; ///< See ResponseStream.
    DriverSwitches Switches = {};
};

/// `what()` names the position and the error.
class DriverSettingsError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads settings; every key is optional. Keys: "info" (four numbers); "items", "outputs" and "responses" (bytes by
/// number, such as {"0x10": "a1b2"}); "response" (bytes); "order" ("before", "during", "after"); "lastChunk"
/// ("short", "missing", "empty"); "eager"; and the switches by name, such as "slowMs" and "hang".
/// Bytes are pairs of hexadecimal digits, or {"text": "..."}, or {"size": 450} for a pattern that
/// repeatedly counts from 0 to 250.
/// @throws DriverSettingsError
DriverSettings ReadDriverSettings(std::string_view json);

/// What a running driver can change.
struct DriverChange
{
    DriverSwitches Switches;
    std::map<std::uint32_t, DriverSettings::Bytes> Items = {};
};

/// Returns the items of the text, and `switches` with those that it names changed; any other key is an error.
/// @throws DriverSettingsError
DriverChange ReadDriverChange(std::string_view json, const DriverSwitches& switches);

/// Returns the JSON text of which ReadDriverChange makes these.
std::string WriteDriverChange(const DriverChange& change);
/// Returns the JSON text of a change that stores one item.
std::string WriteItem(std::uint32_t id, std::span<const std::uint8_t> data);

/// Returns the pattern of {"size": ...}.
DriverSettings::Bytes CountingBytes(std::size_t size);
