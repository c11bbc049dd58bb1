/// @file
/// Arguments and options that several commands share.
#pragma once

#include "ControlRequest.h"
#include "DataText.h"
#include "Json.h"
#include "Syntax.h"

#include <limits>
#include <string>
#include <vector>

/// Adds a number up to a limit, decimal or, with 0x, hexadecimal. `value` is a number or an optional number.
template <class Value>
Option AddNumber(Syntax command, const std::string& name, Value& value, const std::string& help,
                 std::uint32_t limit = std::numeric_limits<std::uint32_t>::max())
{
    return command.AddParsed(
        name, [&value, limit](const std::string& text) { value = ParseNumber(text, limit); }, help);
}

/// Adds bytes in any form that ParseData accepts.
Option AddData(Syntax command, const std::string& name, Bytes& data);

/// Adds ADAPTER, the first argument of a command.
Option AddAdapter(Syntax command, std::string& adapter);

/// Adds the code and the options of a control request.
void AddRequest(Syntax command, ControlRequest& request);

/// Adds --json to a command that prints something: the result, or the error, as JSON.
void AddJson(Syntax command, bool& json, const std::string& help = "Print a JSON object");

/// Adds --json to a command that prints only errors.
void AddErrorJson(Syntax command);

/// Returns whether the words contain --json, even if they are wrong otherwise.
bool AsksForJson(const std::vector<std::string>& words);

/// The form in which a command prints data: a hex dump by default.
struct DataFormat
{
    bool Raw = false;
    bool Json = false;
};

/// Adds --raw and --json.
void AddFormatOptions(Syntax command, DataFormat& format);

/// Prints the bytes as a hex dump, raw, or as the members "length" and "data" that follow other members.
void PrintData(const Bytes& data, const DataFormat& format, Json::Object members);

/// Prints the bytes without any change.
void PrintRaw(const Bytes& data);
