#include "Json.h"

#include <nlohmann/json.hpp>

// Ordered: the members keep the order in which they were added, which scripts and tests compare.
using nlohmann::ordered_json;

/// Converts a value to one of the JSON library.
class JsonWriter
{
public:
    static ordered_json Convert(const Json& json)
    {
        return std::visit([](const auto& value) { return ConvertValue(value); }, json.Value);
    }

private:
    static ordered_json ConvertValue(std::monostate) { return nullptr; }
    static ordered_json ConvertValue(bool value) { return value; }
    static ordered_json ConvertValue(std::uint64_t value) { return value; }
    static ordered_json ConvertValue(const std::string& value) { return value; }

    static ordered_json ConvertValue(const Json::Array& values)
    {
        ordered_json array = ordered_json::array();
        for (const Json& value : values)
            array.push_back(Convert(value));
        return array;
    }

    static ordered_json ConvertValue(const Json::Object& members)
    {
        ordered_json object = ordered_json::object();
        for (const auto& [name, value] : members)
            object[name] = Convert(value);
        return object;
    }
};

// A field of a driver may hold bytes that are not UTF-8. They are replaced; dump() would throw otherwise.
std::string Json::Text() const
{
    return JsonWriter::Convert(*this).dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

std::string Json::Line() const
{
    return JsonWriter::Convert(*this).dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}
