#include "Configuration.h"

#include "HostError.h"
#include "TomlReader.h"
#include "com/convert.h"
#include "text.h"

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

SideConfiguration readSide(TomlReader& top, const char* name, std::vector<std::string>& mistakes)
{
    SideConfiguration side;
    const toml::table* section = top.section(name);
    if (!section)
        return side;
    TomlReader reader(*section, std::string(name) + ".", mistakes);
    side.dsn = reader.text("dsn");
    side.prefix = reader.text("prefix", "");
    side.password = reader.passwordSource("password");
    reader.refuseUnknown();
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
    const auto refuse = [&](const char* name, const std::string& left, const std::string& right) {
        if (com::upperCase(toWide(left)) == com::upperCase(toWide(right)))
            top.mistake(*(section[name] ? section[name] : section).node(),
                        fmt::format("destination.{}: expected another one than the source's", name));
    };
    refuse("dsn", source.dsn, destination.dsn);
    refuse("prefix", source.prefix, destination.prefix);
}

void readLog(TomlReader& top, Configuration& configuration, std::vector<std::string>& mistakes)
{
    const toml::table* section = top.section("log");
    if (!section)
        return;
    TomlReader log(*section, "log.", mistakes);
    configuration.logFile = log.text("file");
    configuration.logLevel = log.wholeNumber("level", kLowestLogLevel, kHighestLogLevel, configuration.logLevel);
    log.refuseUnknown();
}

void readRun(TomlReader& top, Configuration& configuration, std::vector<std::string>& mistakes)
{
    const toml::node* node = top.find("run", true, "");
    if (!node)
        return;
    if (!node->as_table())
        return top.wrong(*node, "run", "a section");
    TomlReader run(*node->as_table(), "run.", mistakes);
    configuration.onConflicts = run.word("on_conflicts", kOnConflicts, std::optional(configuration.onConflicts));
    run.refuseUnknown();
}

TableConfiguration readTable(const toml::table& table, const TableConfiguration& limits,
                             std::vector<std::string>& mistakes)
{
    TomlReader reader(table, "table.", mistakes);
    TableConfiguration result = limits;
    result.name = reader.text("name");
    result.method = reader.word("method", kMethods);
    result.dependent = reader.text("dependent", "");
    result.key = reader.text("key", "");
    result.deletes = reader.word("deletes", kDeletes, std::optional(UNKNOWN));
    result.maxDelete = reader.number("max_delete", 0, 100, limits.maxDelete);
    result.maxUpdate = reader.number("max_update", 0, 100, limits.maxUpdate);
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

void readTables(TomlReader& top, Configuration& configuration, const TableConfiguration& limits,
                std::vector<std::string>& mistakes)
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
        const TableConfiguration& read = configuration.tables.emplace_back(readTable(*table, limits, mistakes));
        if (!read.name.empty() && !names.insert(com::upperCase(toWide(read.name))).second)
            top.mistake(entry, "table." + read.name + ": listed twice, expected each table once");
    }
}

Configuration readConfiguration(const toml::table& file, std::vector<std::string>& mistakes)
{
    TomlReader top(file, "", mistakes);
    Configuration configuration;
    configuration.site = top.word("site", kSites);
    configuration.localIsSource = top.word("local", kRoles);
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
    readTables(top, configuration, limits, mistakes);
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
    return wordFor(kMethods, method);
}

std::string deletesName(enumReplicateDeletes deletes)
{
    return wordFor(kDeletes, deletes);
}
