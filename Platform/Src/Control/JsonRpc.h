/// @file
/// JSON-RPC 2.0: executes one line of a session and makes its answer. Has no part in input and output.
#pragma once

#include "Machine.h"
#include "MachineChange.h"

#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Platform
{

/// Which kinds of changes a session asks for, by their index in MachineChange.
using KindSet = std::bitset<std::variant_size_v<MachineChange>>;

/// A call of "subscribe", which a session carries out in steps.
struct Subscription
{
    std::string Id = {}; ///< Of the call, as JSON; empty for a call that needs no answer.
    KindSet Kinds = {};
    bool WithSnapshot = false;
};

/// What became of a line.
struct Reply
{
    std::string Line = {}; ///< The answer with its line end; empty if there is none.
    std::optional<Subscription> Subscribe = {};
    bool Unsubscribe = false;
};

/// Executes one call. May block for seconds. Reports every error in the answer.
Reply ExecuteLine(Machine& machine, std::string_view line);

/// Returns the answer of a subscription and the number of the last change that it includes.
std::pair<std::string, std::uint64_t> AnswerSubscription(Machine& machine, const Subscription& subscription);

/// Returns the answer to a line that is too long.
std::string RefuseLongLine(std::size_t limit);
/// Returns the answer to a call for which there is no memory or no thread.
std::string RefuseForResources();

/// Returns the first line of a session.
std::string Greeting();
/// Returns a notification of a change without its end, which EventEnd makes when it is sent.
std::string EventStart(const LoggedChange& change);
std::string EventEnd();
/// Returns the notification of missing changes.
std::string LostNotice(std::uint64_t from, std::uint64_t to, bool replaced);

} // namespace Platform
