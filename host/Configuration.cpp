#include "Configuration.h"

#include "HostError.h"
#include "text.h"

#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <toml++/toml.h>

namespace {

template <class Value>
using Words = std::map<std::string, Value>;

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

    std::string text(const char* name, std::optional<std::string> otherwise = std::nullopt)
    {
        const toml::node* node = find(name, otherwise.has_value(), "a text");
        if (!node)
            return otherwise.value_or("");
        if (const auto value = node->value_exact<std::string>())
            return *value;
        wrong(*node, name, "a text");
        return {};
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

    /// The table `name` within this one; an empty one, and a mistake, when there is none.
    const toml::table& section(const char* name)
    {
        static const toml::table kNothing;
        const toml::node* node = find(name, false, "a section");
        if (node && node->as_table())
            return *node->as_table();
        if (node)
            wrong(*node, name, "a section");
        return kNothing;
    }

    const toml::node* find(const char* name, bool optional, const std::string& expected)
    {
        known_.insert_or_assign(name, true);
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
            if (!known_.count(std::string(name.str())))
                mistake(node, fmt::format("{}{} is not known here", where_, name.str()));
    }

private:
    const toml::table& table_;
    std::string where_;
    std::vector<std::string>& mistakes_;
    std::map<std::string, bool> known_;
};

SideConfiguration readSide(Reader& top, const char* name, std::vector<std::string>& mistakes)
{
    Reader reader(top.section(name), std::string(name) + ".", mistakes);
    SideConfiguration side;
    side.dsn = reader.text("dsn");
    side.prefix = reader.text("prefix", "");
    side.password = reader.text("password");
    reader.refuseUnknown();
    return side;
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
    if (result.method != ONE_WAY_WITH_PK_FIELD && !result.key.empty())
        reader.mistake(table, "table." + result.name + ": key is for method \"by_key\" only");
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
    for (const toml::node& entry : *tables)
        if (const toml::table* table = entry.as_table())
            configuration.tables.push_back(readTable(*table, maxDelete, mistakes));
        else
            top.wrong(entry, "table", "[[table]] sections");
}

Configuration readConfiguration(const toml::table& file, std::vector<std::string>& mistakes)
{
    Reader top(file, "", mistakes);
    Configuration configuration;
    configuration.site = top.word("site", kSites);
    configuration.localIsSource = top.word("local", kRoles);
    configuration.programVersion = top.text("program_version");
    configuration.frequency =
        static_cast<short>(top.number("frequency", 1, std::numeric_limits<short>::max(), configuration.frequency));
    const double maxDelete = top.number("max_delete", 0, 100, TableConfiguration().maxDelete);
    configuration.source = readSide(top, "source", mistakes);
    configuration.destination = readSide(top, "destination", mistakes);
    Reader log(top.section("log"), "log.", mistakes);
    configuration.logFile = log.text("file");
    configuration.logLevel = static_cast<short>(log.number("level", 1, 5, configuration.logLevel));
    log.refuseUnknown();
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
    std::ifstream file(toWide(path).c_str(), std::ios::binary);
    if (!file)
        throw HostError(kUsage, path + " cannot be read; `quinrep init` writes one to start from");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

Configuration loadConfiguration(const std::string& path)
{
    const std::string text = readFile(path);
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

std::string configurationTemplate()
{
    return R"(# Which site this machine is: "offices" or "laptop". It is the key of its row in replication_control.
site = "laptop"

# Which side the machine's own database is: "source" or "destination".
local = "destination"

# What replication checks the database's ReplicationVersion against; "laptop" skips the check.
program_version = "laptop"

# Seconds until the next attempt.
frequency = 900

# A run that would delete more than this percentage of a table's destination rows stops before it writes anything.
max_delete = 20

# The two databases: an ODBC data source for 32-bit programs, the text that is put in front of a table's name to reach
# it from the other database, and where the password of the login quinmarkapp_user comes from:
# "env:NAME", "file:PATH", "credential:NAME" (Windows Credential Manager) or "prompt".
[source]
dsn = "QuinmarkOffice"
prefix = "office.dbo."
password = "env:QUINMARK_PASSWORD"

[destination]
dsn = "QuinmarkLaptop"
prefix = "laptop.dbo."
password = "env:QUINMARK_PASSWORD"

# Level 1 logs every statement, 2 the summaries, 4 discrepancies only.
[log]
file = "quinrep-component.log"
level = 2

# The tables in their order. Methods: "full_copy", "one_way", "one_way_deletes" (may have a dependent table), "two_way",
# "two_way_no_deletes", "computer_type", "by_key" (with key, and deletes = "with_updates", "skip" or "only").
[[table]]
name = "ada_code"
method = "full_copy"

[[table]]
name = "patient"
method = "one_way_deletes"

[[table]]
name = "chart_option"
method = "one_way_deletes"
dependent = "chart_option_setting"

[[table]]
name = "dentist_company"
method = "by_key"
key = "dc_id"
deletes = "with_updates"
max_delete = 50
)";
}
