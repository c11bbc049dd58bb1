#include "JsonNode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

namespace Platform
{

namespace
{

using nlohmann::json;

std::string Message(const std::string& path, const std::string& error)
{
    return path.empty() ? error : path + ": " + error;
}

// Positions read like "adapters[1].values.Speed".
std::string Below(const std::string& path, const std::string& name)
{
    return path.empty() ? name : path + '.' + name;
}

/// Checks what the parser itself accepts. Deep nesting would overflow the stack when the document is printed or
/// destroyed; of a repeated key the parser would silently drop the first value.
class DocumentRules
{
public:
    explicit DocumentRules(const std::string& path) : Path(path) {}

    // Called by the parser for each element. A return of true keeps the element.
    bool operator()(int depth, json::parse_event_t event, const json& value)
    {
        using Event = json::parse_event_t;
        if (depth > DeepestNesting)
            throw JsonError(Message(Path, "nested deeper than " + std::to_string(DeepestNesting) + " levels"));
        if (event == Event::object_start)
            Keys.emplace_back();
        else if (event == Event::object_end)
            Keys.pop_back();
        else if (event == Event::key && !Keys.back().insert(value.get<std::string>()).second)
            throw JsonError(Message(Path, "the key \"" + value.get<std::string>() + "\" occurs twice in one object"));
        return true;
    }

private:
    static constexpr int DeepestNesting = 64;

    const std::string& Path;
    std::vector<std::set<std::string>> Keys; // of the open objects, outermost first
};

json Parse(std::string_view text, const std::string& path)
{
    try
    {
        DocumentRules rules{path};
        return json::parse(text, std::ref(rules));
    }
    catch (const json::exception& error)
    {
        // Without the parser's own error number, which is in brackets in front of the message.
        const std::string_view message = error.what();
        throw JsonError(Message(path, std::string(message.substr(message.find("] ") + 2))));
    }
}

} // namespace

JsonNode::JsonNode(const json& value, std::string path) : Value(value), Path(std::move(path)) {}

void JsonNode::Fail(const std::string& error) const
{
    throw JsonError(Message(Path, error));
}

void JsonNode::Require(bool good, const std::string& error) const
{
    if (!good)
        Fail(error);
}

bool JsonNode::IsObject() const
{
    return Value.is_object();
}

bool JsonNode::IsNumber() const
{
    return Value.is_number();
}

bool JsonNode::IsNull() const
{
    return Value.is_null();
}

bool JsonNode::HasMember(const char* name) const
{
    // False for a value that is no object.
    return Value.contains(name);
}

JsonNode JsonNode::Member(const char* name) const
{
    // A value that is no object has no members either, and the message is the same.
    const auto found = Value.find(name);
    Require(found != Value.end(), std::string("has no \"") + name + '"');
    return {*found, Below(Path, name)};
}

void JsonNode::AllowMembers(std::initializer_list<std::string_view> names) const
{
    ForMembers([&](const std::string& name, const JsonNode& member) {
        member.Require(std::ranges::find(names, name) != names.end(), "unknown key");
    });
}

void JsonNode::ForMembers(const Visitor& visit) const
{
    Require(Value.is_object(), "expected an object");
    for (const auto& [name, member] : Value.items())
        visit(name, JsonNode(member, Below(Path, name)));
}

std::vector<JsonNode> JsonNode::Elements() const
{
    Require(Value.is_array(), "expected an array");
    std::vector<JsonNode> elements;
    elements.reserve(Value.size());
    for (std::size_t i = 0; i < Value.size(); ++i)
        elements.emplace_back(Value[i], Path + '[' + std::to_string(i) + ']');
    return elements;
}

bool JsonNode::Flag() const
{
    Require(Value.is_boolean(), "expected true or false");
    return Value.get<bool>();
}

std::uint32_t JsonNode::Number(std::uint32_t largest) const
{
    // Only an unsigned type excludes negative numbers and fractions.
    const bool fits = Value.is_number_unsigned() && Value.get<std::uint64_t>() <= largest;
    Require(fits, "expected a whole number from 0 to " + std::to_string(largest));
    return Value.get<std::uint32_t>();
}

std::uint64_t JsonNode::LongNumber() const
{
    Require(Value.is_number_unsigned(), "expected a whole number from 0 to 18446744073709551615");
    return Value.get<std::uint64_t>();
}

std::string JsonNode::Text(const std::string& expected) const
{
    Require(Value.is_string(), expected);
    return Value.get<std::string>();
}

std::size_t JsonNode::Choice(std::initializer_list<const char*> texts) const
{
    std::string expected;
    for (const char* const* text = texts.begin(); text != texts.end(); ++text)
    {
        const char* const separator = text == texts.begin() ? "expected " : text + 1 == texts.end() ? " or " : ", ";
        expected += std::string(separator) + '"' + *text + '"';
    }
    const auto found = std::ranges::find(texts, Text(expected));
    Require(found != texts.end(), expected);
    return static_cast<std::size_t>(found - texts.begin());
}

JsonNode::Bytes JsonNode::Hexadecimal() const
{
    const std::string expected = "expected pairs of hexadecimal digits";
    const std::string digits = Text(expected);
    Bytes bytes(digits.size() / 2);
    bool good = digits.size() % 2 == 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const char* const pair = digits.data() + 2 * i;
        good = good && std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2;
    }
    Require(good, expected);
    return bytes;
}

std::string JsonNode::Json() const
{
    return Value.dump();
}

JsonDocument::JsonDocument(std::string_view text, std::string rootPath)
    : RootPath(std::move(rootPath)), Value(std::make_unique<const json>(Parse(text, RootPath)))
{
}

JsonDocument::~JsonDocument() = default;

} // namespace Platform
