/// @file
/// What a command got, in the form that its caller asked for.
#pragma once

#include "DataText.h"

#include <CLI/App.hpp>
#include <nlohmann/json_fwd.hpp>

enum class DataFormat
{
    Text, ///< For people: a hex dump, unless the command has something better.
    Raw,  ///< The bytes alone.
    Json, ///< An object.
};

/// Adds --raw and --json to a command.
void AddFormatOptions(CLI::App& command, DataFormat& format);

/// Prints an object in the way of all JSON of the tool.
void PrintJson(const nlohmann::ordered_json& object);

/// Prints the bytes as a hex dump, raw, or as the members "length" and "data" after the other members of
/// the object.
void PrintData(const Bytes& data, DataFormat format, nlohmann::ordered_json object);
