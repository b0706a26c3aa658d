#include "Schema.h"

#include <fstream>
#include <set>
#include <stdexcept>

using nlohmann::json;

namespace {

bool isOfType(const json& value, const std::string& type)
{
    if (type == "integer")
        return value.is_number_integer();
    if (type == "number" || type == "null" || type == "string" || type == "boolean" || type == "object" ||
        type == "array")
        return type == value.type_name();
    throw std::invalid_argument("unknown type " + type);
}

class Validator
{
public:
    explicit Validator(const json& definitions) : definitions_(definitions) {}

    void look(const json& schema, const json& value, const std::string& where)
    {
        for (const auto& [keyword, ignored] : schema.items())
            if (!kKeywords.count(keyword))
                throw std::invalid_argument("unknown keyword " + keyword);
        if (schema.contains("$ref")) {
            const std::string reference = schema["$ref"];
            return look(definitions_.at(reference.substr(reference.rfind('/') + 1)), value, where);
        }
        if (schema.contains("type") && !isOfOneType(schema["type"], value))
            return breach(where + " is not of type " + schema["type"].dump());
        if (schema.contains("enum") && std::count(schema["enum"].begin(), schema["enum"].end(), value) == 0)
            breach(where + " is none of " + schema["enum"].dump());
        if (value.is_object())
            lookAtMembers(schema, value, where);
        if (value.is_array() && schema.contains("items"))
            for (size_t index = 0; index < value.size(); ++index)
                look(schema["items"], value[index], where + "/" + std::to_string(index));
    }

    std::vector<std::string> breaches;

private:
    static inline const std::set<std::string> kKeywords = {"type",  "required", "properties", "additionalProperties",
                                                           "items", "enum",     "$ref",       "description"};

    void breach(const std::string& text) { breaches.push_back(text); }

    static bool isOfOneType(const json& types, const json& value)
    {
        if (types.is_string())
            return isOfType(value, types);
        for (const json& type : types)
            if (isOfType(value, type))
                return true;
        return false;
    }

    void lookAtMembers(const json& schema, const json& value, const std::string& where)
    {
        for (const json& name : schema.value("required", json::array()))
            if (!value.contains(name.get<std::string>()))
                breach(where + " lacks " + name.dump());
        const json properties = schema.value("properties", json::object());
        for (const auto& [name, member] : value.items()) {
            if (properties.contains(name))
                look(properties[name], member, where + "/" + name);
            else if (!schema.value("additionalProperties", true))
                breach(where + " has " + name);
        }
    }

    const json& definitions_;
};

} // namespace

std::vector<std::string> breachesOf(const std::string& definition, const json& value)
{
    const json schema = json::parse(std::ifstream(HOST_SCHEMA));
    Validator validator(schema.at("$defs"));
    validator.look(schema.at("$defs").at(definition), value, definition);
    return validator.breaches;
}
