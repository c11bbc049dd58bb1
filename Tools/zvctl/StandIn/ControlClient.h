/// @file
/// A session of the control protocol as its client.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// One line that the server has sent.
struct ControlLine
{
    std::string Text = {};   ///< Without its line end.
    bool IsAnswer = false;   ///< Otherwise a notification.
    std::string Method = {}; ///< Of a notification.
    std::string Error = {};  ///< The message of an answer that reports an error.
    std::string Reason = {}; ///< Of that error, for programs.
};

/// Connects to the server of the shared machine, or to one for the machine of this process.
class ControlClient
{
public:
    /// Reads the greeting. @throws std::runtime_error, like all functions, if there is no connection.
    ControlClient();
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    const std::string& Greeting() const { return FirstLine; }
    /// Sends a line, without its end.
    void Send(std::string_view line) const;
    /// Waits for a line. @return nothing at the end of the connection.
    std::optional<ControlLine> Receive();
    /// Returns a line that has arrived, or nothing. Does not wait.
    std::optional<ControlLine> Next();
    /// Reads what has arrived; waits until there is something. @return false at the end of the connection.
    bool Read();
    int Descriptor() const { return Stream; }

private:
    int Stream;
    std::string Input;
    std::string FirstLine;
};

/// Returns whether the server answers the line: notifications and empty lines have no answer.
bool NeedsAnswer(std::string_view line);

/// Returns a call. @param params JSON; empty for none. @throws UsageError if it is no JSON.
std::string CallLine(const std::string& method, const std::string& params);

/// Returns the result of an answer on several lines.
std::string ResultText(const std::string& answer);

/// Returns an event or a lost notice as a line of text.
std::string ChangeText(const std::string& notification);
