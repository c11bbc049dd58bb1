/// @file
/// The settings of a driver model, and their JSON form.
#pragma once

#include "ResponseStream.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

/// Misbehaviour that can be switched while the model runs. All off: a driver that works.
struct DriverSwitches
{
    std::uint32_t Refuse = 0;            ///< Ends every request with this error.
    std::uint32_t RefuseOpen = 0;        ///< Fails every open with this error.
    std::uint32_t SlowMs = 0;            ///< Deals with a request only after that long.
    std::uint32_t LateCancelMs = 0;      ///< Completes a cancelled request only after this time.
    std::uint32_t VanishAfterChunks = 0; ///< Is unplugged after this many chunks; 0 for never.
    bool Pend = false;                   ///< Deals with requests on the model's own thread.
    bool Hang = false;                   ///< Ends requests other than response reads only when cancelled.
    bool Silent = false;                 ///< Gives no response.
    bool Garbage = false;                ///< Answers right lengths of arbitrary, but always the same, bytes.
    bool HoldCancelled = false;          ///< Completes cancelled requests only on demand.
};

/// When a host request with response reads completes, relative to its chunks.
enum class ResponseOrder
{
    Before, ///< All chunks that the waiting reads can take, then the request, then the remaining chunks.
    During, ///< One chunk, the request, the others.
    After,  ///< The request, then the chunks.
};

struct DriverSettings
{
    using Bytes = std::vector<std::uint8_t>;

    std::array<std::uint32_t, 4> Information = {0x5A560001, 0x00010000, 3, 100};
    std::map<std::uint32_t, Bytes> Items = {};
    std::map<std::uint32_t, Bytes> Outputs = {};   ///< Answers by code; otherwise the payload's echo.
    std::map<std::uint32_t, Bytes> Responses = {}; ///< By code; otherwise Response.
    std::optional<Bytes> Response = {};            ///< Otherwise the payload's echo.
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

/// Every key may be left out. Keys: "info" (four numbers); "items", "outputs" and "responses" (bytes by
/// number, as {"0x10": "a1b2"}); "response" (bytes); "order" ("before", "during", "after"); "lastChunk"
/// ("short", "missing", "empty"); "eager" and the switches by their names, as "slowMs" and "hang".
/// Bytes are pairs of hexadecimal digits, or {"text": "..."}, or {"size": 450} for a pattern that
/// counts from 0 to 250 again and again.
/// @throws DriverSettingsError
DriverSettings ReadDriverSettings(std::string_view json);

/// Changes the switches named in the text; any other key is an error.
/// @throws DriverSettingsError
DriverSwitches ReadDriverSwitches(std::string_view json, DriverSwitches switches);

/// The pattern of {"size": ...}.
DriverSettings::Bytes CountingBytes(std::size_t size);
