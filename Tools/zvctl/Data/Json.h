/// @file
/// JSON values. Only Json.cpp includes the JSON library, which takes long to compile.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// A value to print. Objects keep the order of their members. Null by default.
class Json
{
public:
    using Array = std::vector<Json>;
    using Object = std::vector<std::pair<std::string, Json>>;

    Json() = default;
    Json(bool value) : Value(value) {}
    template <std::unsigned_integral Number>
    Json(Number value) : Value(std::uint64_t{value})
    {
    }
    Json(std::string_view value) : Value(std::string(value)) {}
    Json(const std::string& value) : Value(value) {}
    Json(const char* value) : Value(std::string(value)) {}
    Json(const std::vector<std::string_view>& values) : Value(Array(values.begin(), values.end())) {}
    Json(Array values) : Value(std::move(values)) {}
    Json(Object members) : Value(std::move(members)) {}

    /// Returns the value on several lines, with a line end. Bytes that are not UTF-8 become U+FFFD, here and below.
    std::string Text() const;
    /// Returns the value on one line, without a line end.
    std::string Line() const;

private:
    friend class JsonWriter;

    std::variant<std::monostate, bool, std::uint64_t, std::string, Array, Object> Value;
};
