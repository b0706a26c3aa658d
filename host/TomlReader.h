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

/// Something wrong with a file, and where.
struct TomlMistake
{
    toml::source_position at;
    std::string text;
};
using TomlMistakes = std::vector<TomlMistake>;

/// Advice for a path in double quotes.
inline constexpr char kBackslashHint[] =
    "in double quotes a backslash begins an escape such as \\t: write a path in single quotes, as 'C:\\Users\\x.log'";

/// Reads one table of a TOML file and remembers every mistake in it, with its place and what was expected. An entry
/// with a mistake gets some value that fits.
class TomlReader
{
public:
    /// `where` stands before the names in mistakes. `top` reads the entries above the sections of the same file. All
    /// references outlive the reader.
    TomlReader(const toml::table& table, std::string where, TomlMistakes& mistakes, TomlReader* top = nullptr);

    std::string text(const char* name, const std::optional<std::string>& otherwise = std::nullopt,
                     const char* expected = "a text in quotes");

    /// The source of a password. A text that names no source may be a password: mistakes do not repeat it.
    std::string passwordSource(const char* name);

    short wholeNumber(const char* name, short least, short most, short otherwise);
    double number(const char* name, double least, double most, double otherwise);

    /// Nothing for an entry with a mistake.
    template <class Value>
    std::optional<Value> word(const char* name, const TomlWords<Value>& words,
                              std::optional<Value> otherwise = std::nullopt)
    {
        std::vector<std::string> known;
        for (const auto& [word, value] : words)
            known.push_back(word);
        const toml::node* node = find(name, otherwise.has_value(), quotedList(known));
        if (!node)
            return otherwise;
        const auto entry = words.find(node->value_or(std::string()));
        if (entry != words.end())
            return entry->second;
        wrongWord(*node, name, known);
        return std::nullopt;
    }

    /// The table `name` within this one; null, and a mistake, when there is none.
    const toml::table* section(const char* name);

    /// The entry `name`; null, and unless it is optional a mistake, when there is none.
    const toml::node* find(const char* name, bool optional, const std::string& expected);

    void wrong(const toml::node& node, const char* name, const std::string& expected);
    void mistake(const toml::node& node, const std::string& text);

    /// Ends the reading: tells the names that nobody asked for, and those that are missing, unless one is the other
    /// misspelled.
    void finish();

private:
    static std::string quotedList(const std::vector<std::string>& words);
    void wrongWord(const toml::node& node, const char* name, const std::vector<std::string>& words);

    const toml::table& table_;
    std::string where_;
    TomlMistakes& mistakes_;
    TomlReader* top_;
    std::set<std::string, std::less<>> known_;
    /// By their names: what was expected.
    std::map<std::string, std::string> missing_;
};
