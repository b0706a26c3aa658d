#include "Proposal.h"

#include <algorithm>
#include <fmt/format.h>

namespace {

/// Comments are wrapped, so that they can be read in any editor.
constexpr size_t kLineWidth = 118;

constexpr char kHead[] =
    R"(# Which site this machine is: "offices" or "laptop". It is the key of its row in replication_control.
site = "{site}"

# Which side is local: "source" or "destination". Its database keeps the control record and the conflicts. An office that
# runs for several laptops needs a record for each of them, so "destination": with "source" the first laptop's run would
# hide the office's changes from the others (see the document "For administrators", "Several laptops").
local = "{local}"

# The version that replication compares with the database's ReplicationVersion; "laptop" skips the check.
program_version = {version}

# Seconds until the next attempt of `quinrep run --watch`.
frequency = 900

# A run that would delete more than this percentage of a table's destination rows stops before it writes anything.
max_delete = 20
# The same for a run that would overwrite more than this percentage of them: the wrong direction, or a wrong clock.
max_update = 50

# The two databases: an ODBC data source for 32-bit programs, the text that is put in front of a table's name to reach
# it from the other database, and where the password of the login quinmarkapp_user comes from.
#
# A scheduled task has nobody to ask, so its password comes from one of these:
#   "credential:NAME"  the Windows Credential Manager of the account that runs quinrep. As that account:
#                      cmdkey /generic:NAME /user:quinmarkapp_user /pass
#   "file:PATH"        the first line of a file that this account and administrators alone may read:
#                      icacls PATH /inheritance:r /grant:r ACCOUNT:R *S-1-5-32-544:F
# For a person there are "prompt" and "env:NAME", an environment variable.
#
# A text in single quotes is taken as it stands: 'file:C:\ProgramData\Quinmark Replication\password.txt'.
[source]
dsn = {sourceDsn}
prefix = {sourcePrefix}
password = {sourcePassword}

[destination]
dsn = {destinationDsn}
prefix = {destinationPrefix}
password = {destinationPassword}

# The component's log; a scheduled task needs its full path. Level 1 logs every statement, 2 the summary of each table
# and above, 4 discrepancies and errors.
[log]
file = {log}
level = 2

# The way a run treats an error that the last run recorded for conflicts alone: "stop" waits for a person, who goes on
# with `quinrep run --ready --reset-error`; "continue" clears it, since rows that wait for a decision are left alone.
[run]
on_conflicts = "stop"

# Commands for the time before and after every run, such as a backup and a mail, and the seconds that each may take. A
# run whose command before fails does not begin. See the document "For administrators", "Before and after every run".
# [hooks]
# before = 'C:\Replication\backup.cmd'
# after = 'C:\Replication\mail.cmd'
# timeout = 600

# The tables in their order: a table comes after those that it refers to. The methods are, with the rules of each in
# the document "How tables are replicated":
#   "one_way_deletes"     takes what has changed at the source, row by row; may have a dependent table
#   "one_way"             the same, but a row that the source deleted is reported
#   "full_copy"           empties the destination's table and copies the source's: its own changes are lost
#   "two_way", "two_way_no_deletes"   for a table that both sides change; may need a person
#   "by_key"              by another key than unid: with key, and deletes = "with_updates", "skip" or "only"
#   "computer_type"       for that table alone
)";

/// A TOML text: between apostrophes, where nothing is escaped, if it can stand there.
std::string tomlText(const std::string& text)
{
    const bool literal = std::ranges::all_of(text, [](unsigned char c) { return c >= ' ' && c != '\''; });
    if (literal)
        return "'" + text + "'";
    std::string escaped = "\"";
    for (const char c : text)
        if (static_cast<unsigned char>(c) < ' ')
            escaped += fmt::format("\\u{:04x}", static_cast<int>(c));
        else
            escaped += (c == '"' || c == '\\' ? "\\" : "") + std::string(1, c);
    return escaped + "\"";
}

/// A comment of as many lines as it takes; all but the first are indented.
std::string comment(std::string text)
{
    // A driver's message may have several lines, and only the first would be a comment.
    std::erase(text, '\r');
    std::ranges::replace(text, '\n', ' ');
    std::string lines;
    std::string line = "#";
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(' ', begin), text.size());
        const std::string word = text.substr(begin, end - begin);
        if (line.size() + 1 + word.size() > kLineWidth) {
            lines += line + "\n";
            line = "#  ";
        }
        line += " " + word;
        begin = end + 1;
    }
    return lines + line + "\n";
}

std::string tableText(const ProposedTable& proposed)
{
    const TableConfiguration& table = proposed.table;
    std::string text = "\n";
    for (const std::string& reason : proposed.reasons)
        text += comment(reason);
    text += fmt::format("[[table]]\nname = {}\nmethod = \"{}\"\n", tomlText(table.name), methodName(table.method));
    if (!table.dependent.empty())
        text += "dependent = " + tomlText(table.dependent) + "\n";
    if (!table.key.empty())
        text += "key = " + tomlText(table.key) + "\ndeletes = \"" + deletesName(table.deletes) + "\"\n";
    if (table.maxDelete != TableConfiguration().maxDelete)
        text += fmt::format("max_delete = {}\n", table.maxDelete);
    return text;
}

ProposedTable example(const char* name, enumReplicationMethod method)
{
    ProposedTable table;
    table.table.name = name;
    table.table.method = method;
    return table;
}

} // namespace

std::string configurationText(const Proposal& proposal)
{
    const Configuration& configuration = proposal.configuration;
    std::string text = fmt::format(kHead, fmt::arg("site", configuration.site == OFFICES ? "offices" : "laptop"),
                                   fmt::arg("local", configuration.localIsSource ? "source" : "destination"),
                                   fmt::arg("version", tomlText(configuration.programVersion)),
                                   fmt::arg("sourceDsn", tomlText(configuration.source.dsn)),
                                   fmt::arg("sourcePrefix", tomlText(configuration.source.prefix)),
                                   fmt::arg("sourcePassword", tomlText(configuration.source.password)),
                                   fmt::arg("destinationDsn", tomlText(configuration.destination.dsn)),
                                   fmt::arg("destinationPrefix", tomlText(configuration.destination.prefix)),
                                   fmt::arg("destinationPassword", tomlText(configuration.destination.password)),
                                   fmt::arg("log", tomlText(configuration.logFile)));
    for (const ProposedTable& table : proposal.tables)
        text += tableText(table);
    if (!proposal.leftOut.empty())
        text += "\n# Tables that are not listed, and why:\n";
    for (const ProposedTable& table : proposal.leftOut)
        for (const std::string& reason : table.reasons)
            text += comment(" " + table.table.name + ": " + reason);
    return text;
}

std::string configurationTemplate(const Configuration& configuration)
{
    Proposal proposal;
    proposal.configuration = configuration;
    ProposedTable option = example("chart_option", ONE_WAY_ALLOW_DELETES);
    option.table.dependent = "chart_option_setting";
    ProposedTable company = example("dentist_company", ONE_WAY_WITH_PK_FIELD);
    company.table.key = "dc_id";
    company.table.deletes = DELETE_WITH_UPDATES;
    company.table.maxDelete = 50;
    proposal.tables = {example("ada_code", ONE_WAY_DELETE_ALL), example("patient", ONE_WAY_ALLOW_DELETES), option,
                       company};
    return configurationText(proposal);
}
