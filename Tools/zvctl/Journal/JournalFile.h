/// @file
/// Reads the lines of a journal. docs/JOURNAL.md describes the format.
#pragma once

#include <JsonNode.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>

using JournalTime = std::chrono::system_clock::time_point;

/// The first line.
struct JournalHeader
{
    std::string Host;
    JournalTime Started;
    std::unique_ptr<Platform::JsonDocument> Document; ///< Has further members, which depend on the writer.
};

/// A line that records a change.
struct JournalLine
{
    std::uint64_t Sequence = 0;
    std::uint64_t Missing = 0; ///< The number of changes that are missing before this one.
    JournalTime Time;
    std::string Kind;
    std::unique_ptr<Platform::JsonDocument> Document;

    Platform::JsonNode Data() const { return Document->Root().Member("data"); }
};

/// A journal that is read from its begin to its end.
class JournalFile
{
public:
    /// Opens the file and reads its first line. @throws Failure, and UsageError for a line that is no journal's.
    explicit JournalFile(std::string path);

    const JournalHeader& Header() const { return First; }

    /// Calls `read` for all lines, in order, while the file is read.
    /// @return a warning if the last line is incomplete, because its writer has been ended; that line is left out.
    /// @throws UsageError that names the line, for its errors and for each JsonError of `read`.
    std::optional<std::string> Read(const std::function<void(const JournalLine&)>& read);

    /// Calls `use` and adds the name of the current line to a JsonError.
    void Checked(const std::function<void()>& use) const;

private:
    /// Returns whether there is another line.
    bool Take();
    JournalLine Parse(std::string_view text);

    std::string Path;
    std::ifstream File;
    std::size_t Number = 0; // of the current line
    std::string Text;       // of the current line
    bool IsComplete = true; // whether the current line ends with a line feed
    std::optional<std::uint64_t> Last;
    JournalHeader First;
};
