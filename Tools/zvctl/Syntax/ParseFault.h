/// @file
/// Describes what is wrong with a line, with a remedy.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// What the parser reports, and where.
struct ParseFault
{
    enum class Kind
    {
        UnexpectedWord,
        MissingCommand,
        WrongCount, ///< An option without its value, or with two.
        Other,
    };

    Kind What = Kind::Other;
    std::string Message = {}; ///< The parser's sentence; for a wrong count it begins with the option and a colon.
    std::string Word = {};    ///< The first unexpected word; empty if there is none.
    std::string Program = {}; ///< Empty for a line of a session.
    std::string Command = {}; ///< The command of the line; empty if it has none.
    std::vector<std::string> Commands = {}; ///< Names of the commands below it.
    std::vector<std::string> Options = {};  ///< Names of its options and of those of the program.
};

/// Returns cause and remedy.
/// @param explainWord explains a word that is a command of another place; returns an empty text for any other.
std::string Describe(const ParseFault& fault, const std::function<std::string(const std::string&)>& explainWord);
