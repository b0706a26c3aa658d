#include "TomlReader.h"

#include "passwords.h"

#include <cstdint>

TomlReader::TomlReader(const toml::table& table, std::string where, std::vector<std::string>& mistakes)
    : table_(table),
      where_(std::move(where)),
      mistakes_(mistakes)
{
}

std::string TomlReader::text(const char* name, const std::optional<std::string>& otherwise)
{
    const toml::node* node = find(name, otherwise.has_value(), "a text");
    if (!node)
        return otherwise.value_or("");
    const auto value = node->value_exact<std::string>();
    if (value && (!value->empty() || otherwise))
        return *value;
    wrong(*node, name, "a text");
    return {};
}

std::string TomlReader::passwordSource(const char* name)
{
    std::string source = text(name);
    const toml::node* node = table_.get(name);
    if (node && !source.empty() && !isPasswordSource(source))
        wrong(*node, name, kPasswordSources);
    return source;
}

short TomlReader::wholeNumber(const char* name, short least, short most, short otherwise)
{
    const toml::node* node = find(name, true, "");
    if (!node)
        return otherwise;
    const auto value = node->value_exact<std::int64_t>();
    if (value && *value >= least && *value <= most)
        return static_cast<short>(*value);
    wrong(*node, name, fmt::format("a whole number from {} to {}", least, most));
    return otherwise;
}

double TomlReader::number(const char* name, double least, double most, double otherwise)
{
    const toml::node* node = find(name, true, "");
    if (!node)
        return otherwise;
    const auto value = node->value<double>();
    if (value && *value >= least && *value <= most)
        return *value;
    wrong(*node, name, fmt::format("a number from {} to {}", least, most));
    return otherwise;
}

const toml::table* TomlReader::section(const char* name)
{
    const toml::node* node = find(name, false, "a section");
    if (node && !node->as_table())
        wrong(*node, name, "a section");
    return node ? node->as_table() : nullptr;
}

const toml::node* TomlReader::find(const char* name, bool optional, const std::string& expected)
{
    known_.insert(name);
    const toml::node* node = table_.get(name);
    if (!node && !optional)
        mistake(table_, fmt::format("{}{} is missing, expected {}", where_, name, expected));
    return node;
}

void TomlReader::wrong(const toml::node& node, const char* name, const std::string& expected)
{
    mistake(node, fmt::format("{}{}: expected {}", where_, name, expected));
}

void TomlReader::mistake(const toml::node& node, const std::string& text)
{
    const toml::source_position at = node.source().begin;
    mistakes_.push_back(fmt::format("line {}, column {}: {}", at.line, at.column, text));
}

void TomlReader::refuseUnknown()
{
    for (const auto& [name, node] : table_)
        if (!known_.count(name.str()))
            mistake(node, fmt::format("{}{} is not known here, expected one of {}", where_, name.str(),
                                      fmt::join(known_, ", ")));
}
