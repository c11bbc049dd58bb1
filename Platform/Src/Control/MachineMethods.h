/// @file
/// What the control protocol can do with a machine. docs/CONTROL.md describes each method.
#pragma once

#include "JsonNode.h"
#include "Machine.h"

#include <nlohmann/json_fwd.hpp>

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

/// A method that cannot do its work although its parameters are well-formed. `what()` is for people.
class MethodError : public std::runtime_error
{
public:
    /// @param reason for programs, such as "noAdapter".
    MethodError(std::string reason, const std::string& message) : std::runtime_error(message), Reason(std::move(reason))
    {
    }

    const std::string Reason;
};

/// Returns the result. May block for seconds. @throws JsonError or std::invalid_argument for wrong parameters, and
/// other exceptions for operations that fail.
using Method = nlohmann::json (*)(Machine& machine, const JsonNode& params);

struct NamedMethod
{
    const char* Name;
    Method Run;
};

/// Adapters, power and rights.
std::span<const NamedMethod> AdapterMethods();
/// Registry and named events.
std::span<const NamedMethod> RegistryMethods();
/// The whole machine, and the calls and requests of the process.
std::span<const NamedMethod> ProcessMethods();

/// What joined processes use.
std::span<const NamedMethod> ChangeMethods();

/// Returns null if there is no such method.
Method FindMethod(std::string_view name);
/// Returns the names of all methods.
std::vector<std::string> MethodNames();

/// Returns the adapter that the parameters name: by "id", or by "adapter", an unambiguous part of its identity or
/// name, or its index. @throws MethodError if there is no such adapter or several match.
AdapterId ChosenAdapter(const Machine& machine, const JsonNode& params);

/// Returns the number of a member, or a default without that member.
std::uint32_t NumberOr(const JsonNode& params, const char* name, std::uint32_t otherwise,
                       std::uint32_t largest = std::numeric_limits<std::uint32_t>::max());

} // namespace Platform
