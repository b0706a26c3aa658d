#include "Configuration.h"

#include "HostError.h"
#include "com/convert.h"
#include "passwords.h"
#include "text.h"

#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <toml++/toml.h>

namespace {

template <class Value>
using Words = std::map<std::string, Value>;

constexpr short kLowestLogLevel = 1;
constexpr short kHighestLogLevel = 5;

const Words<enumReplicationMethod> kMethods = {
    {"full_copy", ONE_WAY_DELETE_ALL},          {"one_way", ONE_WAY},
    {"one_way_deletes", ONE_WAY_ALLOW_DELETES}, {"two_way", TWO_WAY},
    {"two_way_no_deletes", TWO_WAY_NO_DELETES}, {"computer_type", COMPUTER_TYPE},
    {"by_key", ONE_WAY_WITH_PK_FIELD},
};
const Words<enumReplicateDeletes> kDeletes = {
    {"with_updates", DELETE_WITH_UPDATES}, {"skip", SKIP_DELETES}, {"only", ONLY_DELETES}};
const Words<enumReplicationUniqueId> kSites = {{"offices", OFFICES}, {"laptop", LAPTOP}};
const Words<bool> kRoles = {{"source", true}, {"destination", false}};

template <class Value>
std::string listed(const Words<Value>& words)
{
    std::string list;
    for (const auto& [word, value] : words)
        list += (list.empty() ? "\"" : ", \"") + word + "\"";
    return list;
}

/// Reads one table of the file and remembers every mistake in it.
class Reader
{
public:
    Reader(const toml::table& table, std::string where, std::vector<std::string>& mistakes)
        : table_(table),
          where_(std::move(where)),
          mistakes_(mistakes)
    {
    }

    std::string text(const char* name, const std::optional<std::string>& otherwise = std::nullopt)
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

    /// The source of a password. What stands there instead may be a password: it is not repeated.
    std::string passwordSource(const char* name)
    {
        std::string source = text(name);
        const toml::node* node = table_.get(name);
        if (node && !source.empty() && !isPasswordSource(source))
            wrong(*node, name, kPasswordSources);
        return source;
    }

    short wholeNumber(const char* name, short least, short most, short otherwise)
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

    double number(const char* name, double least, double most, double otherwise)
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

    template <class Value>
    Value word(const char* name, const Words<Value>& words, std::optional<Value> otherwise = std::nullopt)
    {
        const toml::node* node = find(name, otherwise.has_value(), listed(words));
        if (!node)
            return otherwise.value_or(words.begin()->second);
        const auto entry = words.find(node->value_or(std::string()));
        if (entry != words.end())
            return entry->second;
        wrong(*node, name, "one of " + listed(words));
        return words.begin()->second;
    }

    /// The table `name` within this one; null, and a mistake, when there is none.
    const toml::table* section(const char* name)
    {
        const toml::node* node = find(name, false, "a section");
        if (node && !node->as_table())
            wrong(*node, name, "a section");
        return node ? node->as_table() : nullptr;
    }

    const toml::node* find(const char* name, bool optional, const std::string& expected)
    {
        known_.insert(name);
        const toml::node* node = table_.get(name);
        if (!node && !optional)
            mistake(table_, fmt::format("{}{} is missing, expected {}", where_, name, expected));
        return node;
    }

    void wrong(const toml::node& node, const char* name, const std::string& expected)
    {
        mistake(node, fmt::format("{}{}: expected {}", where_, name, expected));
    }

    void mistake(const toml::node& node, const std::string& text)
    {
        const toml::source_position at = node.source().begin;
        mistakes_.push_back(fmt::format("line {}, column {}: {}", at.line, at.column, text));
    }

    /// Names that nobody asked for are misspelled.
    void refuseUnknown()
    {
        for (const auto& [name, node] : table_)
            if (!known_.count(name.str()))
                mistake(node, fmt::format("{}{} is not known here, expected one of {}", where_, name.str(),
                                          fmt::join(known_, ", ")));
    }

private:
    const toml::table& table_;
    std::string where_;
    std::vector<std::string>& mistakes_;
    std::set<std::string, std::less<>> known_;
};

SideConfiguration readSide(Reader& top, const char* name, std::vector<std::string>& mistakes)
{
    SideConfiguration side;
    const toml::table* section = top.section(name);
    if (!section)
        return side;
    Reader reader(*section, std::string(name) + ".", mistakes);
    side.dsn = reader.text("dsn");
    side.prefix = reader.text("prefix", "");
    side.password = reader.passwordSource("password");
    reader.refuseUnknown();
    return side;
}

/// One database for both sides would be emptied by a full copy and filled from itself, and so would one table that both
/// prefixes name.
void refuseSameSides(Reader& top, const toml::table& file, const Configuration& configuration)
{
    const SideConfiguration& source = configuration.source;
    const SideConfiguration& destination = configuration.destination;
    if (source.dsn.empty() || destination.dsn.empty())
        return;
    const toml::node_view section = file["destination"];
    const auto refuse = [&](const char* name, const std::string& left, const std::string& right) {
        if (com::upperCase(toWide(left)) == com::upperCase(toWide(right)))
            top.mistake(*(section[name] ? section[name] : section).node(),
                        fmt::format("destination.{}: expected another one than the source's", name));
    };
    refuse("dsn", source.dsn, destination.dsn);
    refuse("prefix", source.prefix, destination.prefix);
}

void readLog(Reader& top, Configuration& configuration, std::vector<std::string>& mistakes)
{
    const toml::table* section = top.section("log");
    if (!section)
        return;
    Reader log(*section, "log.", mistakes);
    configuration.logFile = log.text("file");
    configuration.logLevel = log.wholeNumber("level", kLowestLogLevel, kHighestLogLevel, configuration.logLevel);
    log.refuseUnknown();
}

TableConfiguration readTable(const toml::table& table, double maxDelete, std::vector<std::string>& mistakes)
{
    Reader reader(table, "table.", mistakes);
    TableConfiguration result;
    result.name = reader.text("name");
    result.method = reader.word("method", kMethods);
    result.dependent = reader.text("dependent", "");
    result.key = reader.text("key", "");
    result.deletes = reader.word("deletes", kDeletes, std::optional(UNKNOWN));
    result.maxDelete = reader.number("max_delete", 0, 100, maxDelete);
    if (result.method == ONE_WAY_WITH_PK_FIELD && (result.key.empty() || result.deletes == UNKNOWN))
        reader.mistake(table, "table." + result.name + ": method \"by_key\" needs key and deletes");
    if (result.method != ONE_WAY_WITH_PK_FIELD && (!result.key.empty() || result.deletes != UNKNOWN))
        reader.mistake(table, "table." + result.name + ": key and deletes are for method \"by_key\" only");
    if (result.method == COMPUTER_TYPE && !result.name.empty() && result.name != "computer_type")
        reader.mistake(table, "table." + result.name + ": method \"computer_type\" is for table computer_type only");
    if (result.method != ONE_WAY_ALLOW_DELETES && !result.dependent.empty() && result.name != "computer_type")
        reader.mistake(table, "table." + result.name + ": dependent is for method \"one_way_deletes\" only");
    reader.refuseUnknown();
    return result;
}

void readTables(Reader& top, Configuration& configuration, double maxDelete, std::vector<std::string>& mistakes)
{
    const toml::node* node = top.find("table", false, "[[table]] sections");
    if (!node)
        return;
    const toml::array* tables = node->as_array();
    if (!tables)
        return top.wrong(*node, "table", "[[table]] sections");
    if (tables->empty())
        return top.wrong(*node, "table", "at least one [[table]] section");
    std::set<std::wstring> names;
    for (const toml::node& entry : *tables) {
        const toml::table* table = entry.as_table();
        if (!table) {
            top.wrong(entry, "table", "[[table]] sections");
            continue;
        }
        const TableConfiguration& read = configuration.tables.emplace_back(readTable(*table, maxDelete, mistakes));
        if (!read.name.empty() && !names.insert(com::upperCase(toWide(read.name))).second)
            top.mistake(entry, "table." + read.name + ": listed twice, expected each table once");
    }
}

Configuration readConfiguration(const toml::table& file, std::vector<std::string>& mistakes)
{
    Reader top(file, "", mistakes);
    Configuration configuration;
    configuration.site = top.word("site", kSites);
    configuration.localIsSource = top.word("local", kRoles);
    configuration.programVersion = top.text("program_version");
    configuration.frequency =
        top.wholeNumber("frequency", 1, std::numeric_limits<short>::max(), configuration.frequency);
    const double maxDelete = top.number("max_delete", 0, 100, TableConfiguration().maxDelete);
    configuration.source = readSide(top, "source", mistakes);
    configuration.destination = readSide(top, "destination", mistakes);
    refuseSameSides(top, file, configuration);
    readLog(top, configuration, mistakes);
    readTables(top, configuration, maxDelete, mistakes);
    top.refuseUnknown();
    return configuration;
}

[[noreturn]] void fail(const std::string& path, const std::vector<std::string>& mistakes)
{
    std::string text = path + " cannot be used:";
    for (const std::string& mistake : mistakes)
        text += "\n  " + mistake;
    throw HostError(kUsage, text);
}

std::string readFile(const std::string& path)
{
    if (std::error_code ignored; std::filesystem::is_directory(toWide(path), ignored))
        throw HostError(kUsage, path + " is a folder", "Name the configuration file in it with -c.");
    std::ifstream file(toWide(path).c_str(), std::ios::binary);
    if (!file)
        throw HostError(kUsage, "the configuration file \"" + path + "\" cannot be read",
                        "Name it with -c; `quinrep init` writes one to start from.");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

Configuration loadConfiguration(const std::string& path)
{
    const std::string text = readFile(path);
    if (!isUtf8(text))
        throw HostError(kUsage, path + " is not in UTF-8", "Save it in UTF-8 with the editor that wrote it.");
    std::vector<std::string> mistakes;
    try {
        Configuration configuration = readConfiguration(toml::parse(text), mistakes);
        if (!mistakes.empty())
            fail(path, mistakes);
        return configuration;
    }
    catch (const toml::parse_error& error) {
        const toml::source_position at = error.source().begin;
        fail(path, {fmt::format("line {}, column {}: {}", at.line, at.column, error.description())});
    }
}

std::string methodName(enumReplicationMethod method)
{
    for (const auto& [word, value] : kMethods)
        if (value == method)
            return word;
    return std::to_string(static_cast<int>(method));
}
