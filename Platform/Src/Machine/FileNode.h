/// @file
/// One position in a machine file: its content, or an error with its position.
#pragma once

#include "Machine.h"
#include "Text.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Platform
{

/// It refers to the file's JSON. What is wrong with it is thrown with the way to it.
class FileNode
{
public:
    FileNode(const nlohmann::json& value, std::string origin, std::string place)
        : Value(value), Origin(std::move(origin)), Place(std::move(place))
    {
    }

    [[noreturn]] void Fail(const std::string& mistake) const
    {
        throw MachineFileError(Origin + ": " + (Place.empty() ? "" : Place + ": ") + mistake);
    }

    /// Calls `visit(name, node)` for each member.
    template <class Visit>
    void ForMembers(Visit visit) const
    {
        Require(Value.is_object(), "expected an object");
        for (const auto& [name, member] : Value.items())
            visit(name, FileNode(member, Origin, Place.empty() ? name : Place + '.' + name));
    }

    template <class Visit>
    void ForElements(Visit visit) const
    {
        Require(Value.is_array(), "expected an array");
        for (std::size_t i = 0; i < Value.size(); ++i)
            visit(FileNode(Value[i], Origin, Place + '[' + std::to_string(i) + ']'));
    }

    FileNode Member(const char* name) const;
    bool HasMember(const char* name) const { return Value.contains(name); }
    void AllowMembers(std::initializer_list<std::string_view> names) const;

    void Read(bool& out) const;
    void Read(std::uint32_t& out) const;
    void Read(std::optional<std::string>& out) const { out = Text(); }
    void Read(std::optional<std::u16string>& out) const { out = ToUtf16(Text()); }
    void Read(std::map<std::string, RegistryValue>& out) const;

    /// A registry value: {"type": ..., "value": ...}.
    RegistryValue TypedValue() const;
    std::string Text() const;
    /// Whatever is there, as JSON text.
    std::string Json() const { return Value.dump(); }

private:
    void Require(bool good, const std::string& mistake) const
    {
        if (!good)
            Fail(mistake);
    }

    std::vector<std::uint8_t> Bytes() const;
    std::vector<std::uint8_t> TextList() const;

    const nlohmann::json& Value;
    std::string Origin;
    std::string Place;
};

} // namespace Platform
