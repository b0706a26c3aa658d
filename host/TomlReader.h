#pragma once

#include <fmt/format.h>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <toml++/toml.h>
#include <vector>

/// The words that an entry may have, and what each stands for.
template <class Value>
using TomlWords = std::map<std::string, Value>;

/// Reads one table of a TOML file and remembers every mistake in it, with line, column and what was expected. An entry
/// with a mistake gets some value that fits.
class TomlReader
{
public:
    /// `where` stands before the names in mistakes. Both references outlive the reader.
    TomlReader(const toml::table& table, std::string where, std::vector<std::string>& mistakes);

    std::string text(const char* name, const std::optional<std::string>& otherwise = std::nullopt);

    /// The source of a password. A text that names no source may be a password: mistakes do not repeat it.
    std::string passwordSource(const char* name);

    short wholeNumber(const char* name, short least, short most, short otherwise);
    double number(const char* name, double least, double most, double otherwise);

    template <class Value>
    Value word(const char* name, const TomlWords<Value>& words, std::optional<Value> otherwise = std::nullopt)
    {
        std::string listed;
        for (const auto& [word, value] : words)
            listed += fmt::format("{}\"{}\"", listed.empty() ? "" : ", ", word);
        const toml::node* node = find(name, otherwise.has_value(), listed);
        if (!node)
            return otherwise.value_or(words.begin()->second);
        const auto entry = words.find(node->value_or(std::string()));
        if (entry != words.end())
            return entry->second;
        wrong(*node, name, "one of " + listed);
        return words.begin()->second;
    }

    /// The table `name` within this one; null, and a mistake, when there is none.
    const toml::table* section(const char* name);

    /// The entry `name`; null, and unless it is optional a mistake, when there is none.
    const toml::node* find(const char* name, bool optional, const std::string& expected);

    void wrong(const toml::node& node, const char* name, const std::string& expected);
    void mistake(const toml::node& node, const std::string& text);

    /// Names that nobody asked for are misspelled.
    void refuseUnknown();

private:
    const toml::table& table_;
    std::string where_;
    std::vector<std::string>& mistakes_;
    std::set<std::string, std::less<>> known_;
};
