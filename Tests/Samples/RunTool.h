/// @file
/// Runs a program of the build as a user does and keeps what it said.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/wait.h>

namespace Process
{

/// A folder that is deleted with the test.
class TempFolder
{
public:
    TempFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zvtest.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        Path = name;
    }
    ~TempFolder() { std::filesystem::remove_all(Path); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// Writes a file into the folder. @return its path.
    std::string Write(std::string_view name, std::string_view text) const
    {
        std::ofstream(Path / name, std::ios::binary) << text;
        return (Path / name).string();
    }

    std::filesystem::path Path;
};

struct ToolResult
{
    int Code; ///< Exit code; -1 when a signal ended the program.
    std::string Out;
    std::string Err;
};

inline std::string FileText(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Runs a program in a folder. The arguments go through the shell, so that a test reads like a
/// command line. `machine` becomes ZV_MACHINE; empty leaves it unset. `input` is what stdin has.
inline ToolResult RunTool(const std::string& program, const std::string& arguments, const std::string& machine = "",
                          const std::filesystem::path& folder = std::filesystem::temp_directory_path(),
                          std::string_view input = "")
{
    const TempFolder output;
    const std::string given = output.Write("in", input);
    const std::string variable = machine.empty() ? "-u ZV_MACHINE" : "ZV_MACHINE='" + machine + "'";
    const std::string line = "cd '" + folder.string() + "' && exec env " + variable + " '" + program + "' " +
                             arguments + " >'" + (output.Path / "out").string() + "' 2>'" +
                             (output.Path / "err").string() + "' <'" + given + "'";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, FileText(output.Path / "out"), FileText(output.Path / "err")};
}

} // namespace Process
