/// @file
/// Reads JSON texts and names the position of a wrong value. The machine and drivers share it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

/// `what()` names the position, such as "adapters[1].problem", and the error.
class JsonError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One value of a document and its path. Refers to the document, which must outlive it. Every reading function
/// throws JsonError for a value of the wrong type or range.
class JsonNode
{
public:
    using Bytes = std::vector<std::uint8_t>;
    using Visitor = std::function<void(const std::string& name, const JsonNode& member)>;

    JsonNode(const nlohmann::json& value, std::string path);

    /// @throws JsonError with this node's path
    [[noreturn]] void Fail(const std::string& error) const;
    /// Fails unless `good` is true.
    void Require(bool good, const std::string& error) const;

    bool IsObject() const;
    bool IsNumber() const;
    bool IsNull() const;
    bool HasMember(const char* name) const;
    /// Returns a member that must exist.
    JsonNode Member(const char* name) const;
    /// Fails at the first member with another name.
    void AllowMembers(std::initializer_list<std::string_view> names) const;
    /// Visits the members in the order of their names.
    void ForMembers(const Visitor& visit) const;
    std::vector<JsonNode> Elements() const;

    bool Flag() const;
    std::uint32_t Number(std::uint32_t largest = std::numeric_limits<std::uint32_t>::max()) const;
    std::uint64_t LongNumber() const;
    /// @param expected the error for a value that is not a text.
    std::string Text(const std::string& expected = "expected a text") const;
    /// Returns the index of the text among the permitted ones.
    std::size_t Choice(std::initializer_list<const char*> texts) const;
    /// Reads pairs of hexadecimal digits.
    Bytes Hexadecimal() const;
    /// Returns the value, of any type, as JSON text.
    std::string Json() const;
    /// For values of any type.
    const nlohmann::json& Any() const { return Value; }

private:
    const nlohmann::json& Value;
    std::string Path;
};

/// A parsed text. Objects with a repeated key and more than 64 nested levels are errors.
class JsonDocument
{
public:
    /// @param rootPath the path of the outermost value; it begins all other paths. @throws JsonError
    explicit JsonDocument(std::string_view text, std::string rootPath = "");
    ~JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    JsonNode Root() const { return {*Value, RootPath}; }

private:
    const std::string RootPath;
    std::unique_ptr<const nlohmann::json> Value;
};

} // namespace Platform
