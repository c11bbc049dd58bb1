/// @file
/// Options that several commands share.
#pragma once

#include "DataText.h"

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>
#include <utility>

/// Adds an option whose text `parse` turns into the value; what it throws as std::invalid_argument
/// becomes a usage error.
template <class Value, class Parse>
CLI::Option* AddParsedOption(CLI::App& command, const std::string& name, Value& value, Parse parse,
                             const std::string& help)
{
    CLI::callback_t read = [name, &value, parse = std::move(parse)](const CLI::results_t& texts) {
        try
        {
            value = parse(texts.front());
            return true;
        }
        catch (const std::invalid_argument& mistake)
        {
            throw CLI::ValidationError(name, mistake.what());
        }
    };
    return command.add_option(name, std::move(read), help)->type_name("");
}

/// Adds a number up to a limit, decimal or, with 0x, hexadecimal.
template <class Number>
CLI::Option* AddNumber(CLI::App& command, const std::string& name, Number& value, const std::string& help,
                       std::uint32_t limit = std::numeric_limits<Number>::max())
{
    const auto parse = [limit](const std::string& text) { return static_cast<Number>(ParseNumber(text, limit)); };
    return AddParsedOption(command, name, value, parse, help);
}

/// Adds bytes in any form that ParseData takes.
inline CLI::Option* AddData(CLI::App& command, const std::string& name, Bytes& data)
{
    return AddParsedOption(command, name, data, ParseData, "Bytes in hexadecimal, text:TEXT, or @FILE");
}

/// Adds ADAPTER, the first argument of a command.
inline CLI::Option* AddAdapter(CLI::App& command, std::string& adapter)
{
    return command.add_option("ADAPTER", adapter, "Index in the list, or an unambiguous part of ID or name")
        ->required()
        ->type_name("");
}
