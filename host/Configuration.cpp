#include "Configuration.h"

#include "HostError.h"
#include "TomlReader.h"
#include "com/convert.h"
#include "nearest.h"
#include "text.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>

namespace {

constexpr short kLowestLogLevel = 1;
constexpr short kHighestLogLevel = 5;

const TomlWords<enumReplicationMethod> kMethods = {
    {"full_copy", ONE_WAY_DELETE_ALL},          {"one_way", ONE_WAY},
    {"one_way_deletes", ONE_WAY_ALLOW_DELETES}, {"two_way", TWO_WAY},
    {"two_way_no_deletes", TWO_WAY_NO_DELETES}, {"computer_type", COMPUTER_TYPE},
    {"by_key", ONE_WAY_WITH_PK_FIELD},
};
const TomlWords<enumReplicateDeletes> kDeletes = {
    {"with_updates", DELETE_WITH_UPDATES}, {"skip", SKIP_DELETES}, {"only", ONLY_DELETES}};
const TomlWords<enumReplicationUniqueId> kSites = {{"offices", OFFICES}, {"laptop", LAPTOP}};
const TomlWords<OnConflicts> kOnConflicts = {{"stop", OnConflicts::Stop}, {"continue", OnConflicts::Continue}};
const TomlWords<bool> kRoles = {{"source", true}, {"destination", false}};

template <class Value>
std::string wordFor(const TomlWords<Value>& words, Value wanted)
{
    for (const auto& [word, value] : words)
        if (value == wanted)
            return word;
    return std::to_string(static_cast<int>(wanted));
}

SideConfiguration readSide(TomlReader& top, const char* name, TomlMistakes& mistakes)
{
    SideConfiguration side;
    const toml::table* section = top.section(name);
    if (!section)
        return side;
    TomlReader reader(*section, std::string(name) + ".", mistakes, &top);
    side.dsn = reader.text("dsn");
    side.prefix = reader.text("prefix", "");
    side.password = reader.passwordSource("password");
    reader.finish();
    return side;
}

/// One database for both sides would be emptied by a full copy and filled from itself, and so would one table that both
/// prefixes name.
void refuseSameSides(TomlReader& top, const toml::table& file, const Configuration& configuration)
{
    const SideConfiguration& source = configuration.source;
    const SideConfiguration& destination = configuration.destination;
    if (source.dsn.empty() || destination.dsn.empty())
        return;
    const toml::node_view section = file["destination"];
    const auto isRead = [&](const char* side, const char* name) {
        return !file[side][name] || file[side][name].is_string();
    };
    const auto refuse = [&](const char* name, const std::string& left, const std::string& right) {
        if (isRead("source", name) && isRead("destination", name) &&
            com::upperCase(toWide(left)) == com::upperCase(toWide(right)))
            top.mistake(*(section[name] ? section[name] : section).node(),
                        fmt::format("destination.{}: expected another one than the source's", name));
    };
    refuse("dsn", source.dsn, destination.dsn);
    refuse("prefix", source.prefix, destination.prefix);
}

void readLog(TomlReader& top, Configuration& configuration, TomlMistakes& mistakes)
{
    const toml::table* section = top.section("log");
    if (!section)
        return;
    TomlReader log(*section, "log.", mistakes, &top);
    configuration.logFile = log.text("file");
    configuration.logLevel = log.wholeNumber("level", kLowestLogLevel, kHighestLogLevel, configuration.logLevel);
    log.finish();
}

void readRun(TomlReader& top, Configuration& configuration, TomlMistakes& mistakes)
{
    const toml::node* node = top.find("run", true, "");
    if (!node)
        return;
    if (!node->as_table())
        return top.wrong(*node, "run", "a section");
    TomlReader run(*node->as_table(), "run.", mistakes, &top);
    configuration.onConflicts = run.word("on_conflicts", kOnConflicts, std::optional(configuration.onConflicts))
                                    .value_or(configuration.onConflicts);
    run.finish();
}

void readHooks(TomlReader& top, HooksConfiguration& hooks, TomlMistakes& mistakes)
{
    const toml::node* node = top.find("hooks", true, "");
    if (!node)
        return;
    if (!node->as_table())
        return top.wrong(*node, "hooks", "a section");
    TomlReader reader(*node->as_table(), "hooks.", mistakes, &top);
    hooks.before = reader.text("before", "");
    hooks.after = reader.text("after", "");
    hooks.timeout = reader.wholeNumber("timeout", 1, std::numeric_limits<short>::max(), hooks.timeout);
    reader.finish();
}

TableConfiguration readTable(TomlReader& top, const toml::table& table, const TableConfiguration& limits,
                             TomlMistakes& mistakes)
{
    TomlReader reader(table, "table.", mistakes, &top);
    TableConfiguration result = limits;
    result.name = reader.text("name");
    const std::optional<enumReplicationMethod> method = reader.word("method", kMethods);
    result.method = method.value_or(result.method);
    result.dependent = reader.text("dependent", "");
    // An entry is judged by the method only where that is known.
    const std::string named = result.name.empty() ? "table" : "table." + result.name;
    if (method == ONE_WAY_WITH_PK_FIELD) {
        result.key = reader.text("key", std::nullopt, "a column's name, for method \"by_key\"");
        result.deletes = reader.word("deletes", kDeletes).value_or(UNKNOWN);
    }
    else {
        for (const char* name : {"key", "deletes"})
            if (const toml::node* node = reader.find(name, true, ""); node && method)
                reader.mistake(*node, named + ": key and deletes are for method \"by_key\" only");
    }
    result.maxDelete = reader.number("max_delete", 0, 100, limits.maxDelete);
    result.maxUpdate = reader.number("max_update", 0, 100, limits.maxUpdate);
    if (method == COMPUTER_TYPE && !result.name.empty() && result.name != "computer_type")
        reader.mistake(table, named + ": method \"computer_type\" is for table computer_type only");
    if (method && method != ONE_WAY_ALLOW_DELETES && !result.dependent.empty() && result.name != "computer_type")
        reader.mistake(table, named + ": dependent is for method \"one_way_deletes\" only");
    reader.finish();
    return result;
}

void readTables(TomlReader& top, Configuration& configuration, const TableConfiguration& limits, TomlMistakes& mistakes)
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
        const TableConfiguration& read = configuration.tables.emplace_back(readTable(top, *table, limits, mistakes));
        if (!read.name.empty() && !names.insert(com::upperCase(toWide(read.name))).second)
            top.mistake(entry, "table." + read.name + ": listed twice, expected each table once");
    }
}

Configuration readConfiguration(const toml::table& file, TomlMistakes& mistakes)
{
    TomlReader top(file, "", mistakes);
    Configuration configuration;
    configuration.site = top.word("site", kSites).value_or(configuration.site);
    configuration.localIsSource = top.word("local", kRoles).value_or(configuration.localIsSource);
    configuration.programVersion = top.text("program_version");
    configuration.frequency =
        top.wholeNumber("frequency", 1, std::numeric_limits<short>::max(), configuration.frequency);
    TableConfiguration limits;
    limits.maxDelete = top.number("max_delete", 0, 100, limits.maxDelete);
    limits.maxUpdate = top.number("max_update", 0, 100, limits.maxUpdate);
    configuration.source = readSide(top, "source", mistakes);
    configuration.destination = readSide(top, "destination", mistakes);
    refuseSameSides(top, file, configuration);
    readLog(top, configuration, mistakes);
    readRun(top, configuration, mistakes);
    readHooks(top, configuration.hooks, mistakes);
    readTables(top, configuration, limits, mistakes);
    top.finish();
    return configuration;
}

/// Tells the mistakes in the order of the file.
[[noreturn]] void fail(const std::string& path, TomlMistakes mistakes)
{
    std::ranges::stable_sort(mistakes, {},
                             [](const TomlMistake& mistake) { return std::pair(mistake.at.line, mistake.at.column); });
    std::string text = path + " cannot be used:";
    for (const TomlMistake& mistake : mistakes)
        text += fmt::format("\n  line {}, column {}: {}", mistake.at.line, mistake.at.column, mistake.text);
    throw HostError(kUsage, text);
}

/// What to write instead, by a line of a text, counted from 1, and what the parser says of it; empty where that is all.
std::string hintFor(const std::string& text, toml::source_index number, const std::string& said)
{
    std::istringstream lines(text);
    std::string line;
    for (toml::source_index index = 0; index < number; ++index)
        std::getline(lines, line);
    const size_t quote = line.find('"');
    if (quote != std::string::npos && line.find('\\', quote) != std::string::npos)
        return fmt::format("; {}", kBackslashHint);
    if (std::ranges::count(line, '"') % 2 != 0)
        return "; the closing quote of the text is missing";
    return said.find("could not determine value type") != std::string::npos ? "; write a text in quotes" : "";
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
    TomlMistakes mistakes;
    try {
        Configuration configuration = readConfiguration(toml::parse(text), mistakes);
        if (!mistakes.empty())
            fail(path, mistakes);
        return configuration;
    }
    catch (const toml::parse_error& error) {
        const toml::source_position at = error.source().begin;
        const std::string what(error.description());
        fail(path, {{at, what + hintFor(text, at.line, what)}});
    }
}

const TableConfiguration& tableNamed(const Configuration& configuration, const std::string& name)
{
    for (const TableConfiguration& table : configuration.tables)
        if (com::upperCase(toWide(table.name)) == com::upperCase(toWide(name)))
            return table;
    const std::vector<std::string> names = tableNames(configuration);
    throw HostError(kUsage, "there is no table \"" + name + "\" in the configuration" + didYouMean(name, names),
                    fmt::format("It lists {}.", fmt::join(names, ", ")));
}

std::vector<std::string> tableNames(const Configuration& configuration)
{
    std::vector<std::string> names;
    for (const TableConfiguration& table : configuration.tables)
        names.push_back(table.name);
    return names;
}

std::string methodName(enumReplicationMethod method)
{
    return wordFor(kMethods, method);
}

std::string deletesName(enumReplicateDeletes deletes)
{
    return wordFor(kDeletes, deletes);
}

std::string siteName(enumReplicationUniqueId site)
{
    return wordFor(kSites, site);
}
