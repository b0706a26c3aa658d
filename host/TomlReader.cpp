#include "TomlReader.h"

#include "nearest.h"
#include "passwords.h"

#include <algorithm>
#include <cstdint>

TomlReader::TomlReader(const toml::table& table, std::string where, TomlMistakes& mistakes, TomlReader* top)
    : table_(table),
      where_(std::move(where)),
      mistakes_(mistakes),
      top_(top)
{
}

std::string TomlReader::text(const char* name, const std::optional<std::string>& otherwise, const char* expected)
{
    const toml::node* node = find(name, otherwise.has_value(), expected);
    if (!node)
        return otherwise.value_or("");
    const auto value = node->value_exact<std::string>();
    if (!value)
        wrong(*node, name, expected);
    else if (value->empty() && !otherwise)
        mistake(*node, fmt::format("{}{}: the text is empty, expected {}", where_, name, expected));
    else if (std::ranges::any_of(*value, [](unsigned char c) { return c < ' '; }))
        mistake(*node,
                fmt::format("{}{}: a tab, a line break or the like is in the text; {}", where_, name, kBackslashHint));
    else
        return *value;
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
        missing_[name] = expected;
    return node;
}

void TomlReader::wrong(const toml::node& node, const char* name, const std::string& expected)
{
    mistake(node, fmt::format("{}{}: expected {}", where_, name, expected));
}

void TomlReader::mistake(const toml::node& node, const std::string& text)
{
    mistakes_.push_back({node.source().begin, text});
}

void TomlReader::finish()
{
    for (const auto& [key, node] : table_) {
        const std::string name(key.str());
        if (known_.contains(name))
            continue;
        const std::string meant = nearestWord(name, {known_.begin(), known_.end()});
        std::string hint = askWhether(meant);
        if (missing_.erase(meant) == 0 && top_ && top_->known_.contains(name)) {
            top_->missing_.erase(name);
            hint = "; write it above the first section";
        }
        else if (meant.empty())
            hint = fmt::format(", expected one of {}", fmt::join(known_, ", "));
        mistake(node, fmt::format("{}{} is not known here{}", where_, name, hint));
    }
    for (const auto& [name, expected] : missing_)
        mistake(table_, fmt::format("{}{} is missing, expected {}", where_, name, expected));
}

std::string TomlReader::quotedList(const std::vector<std::string>& words)
{
    std::string list;
    for (const std::string& word : words)
        list += fmt::format("{}\"{}\"", list.empty() ? "" : ", ", word);
    return list;
}

void TomlReader::wrongWord(const toml::node& node, const char* name, const std::vector<std::string>& words)
{
    const auto given = node.value_exact<std::string>();
    if (!given)
        return wrong(node, name, "one of " + quotedList(words));
    const std::string hint = didYouMean(*given, words);
    mistake(node, fmt::format("{}{}: \"{}\" is not known{}", where_, name, *given,
                              hint.empty() ? ", expected one of " + quotedList(words) : hint));
}
