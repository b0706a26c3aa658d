#include "History.h"
#include "Session.h"
#include "commands.h"
#include "commands/rows.h"
#include "files.h"
#include "result_text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <deque>
#include <fmt/format.h>
#include <fstream>
#include <map>

using nlohmann::ordered_json;

namespace {

constexpr size_t kShownDiscrepancies = 5;

/// The last entries of the component's log that tell of a discrepancy or an error.
ordered_json lastDiscrepancies(const std::string& path)
{
    std::ifstream file(toWide(path).c_str());
    std::deque<std::string> found;
    for (std::string line; std::getline(file, line);) {
        if (line.find(": ERROR: ") == std::string::npos && line.find(": WARN : Replication") == std::string::npos)
            continue;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        found.push_back(toUtf8(fromAnsi(line)));
        if (found.size() > kShownDiscrepancies)
            found.pop_front();
    }
    return ordered_json(std::vector<std::string>(found.begin(), found.end()));
}

/// A number that a driver may give as its text.
long long wholeNumber(const ordered_json& value)
{
    return value.is_string() ? std::strtoll(value.get<std::string>().c_str(), nullptr, 10)
           : value.is_null() ? 0
                             : value.get<long long>();
}

/// The counters of replication_counts, whose names are a table's with one of these words after it. A two-way table has
/// its source's under the same names; they are 0.
ordered_json tablesOf(const ordered_json& counts)
{
    constexpr std::array kCounters = {"adds", "updates", "deletes", "conflicts", "errors"};
    std::map<std::string, ordered_json> tables;
    for (const ordered_json& count : counts) {
        const std::string name = trimmed(resultText(count["count_name"]));
        const size_t blank = name.rfind(' ');
        const std::string counter = blank == std::string::npos ? "" : name.substr(blank + 1);
        if (std::ranges::find(kCounters, counter) == kCounters.end())
            continue;
        ordered_json& table = tables[name.substr(0, blank)];
        if (table.is_null())
            for (const char* each : kCounters)
                table[each] = 0;
        table[counter] = table[counter].get<long long>() + wholeNumber(count["count_value"]);
    }
    ordered_json rows = ordered_json::array();
    for (auto& [name, counters] : tables) {
        ordered_json row = {{"table", name}};
        row.update(counters);
        rows.push_back(std::move(row));
    }
    return rows;
}

ordered_json finding(ExitCode exitCode, const std::string& text)
{
    return {{"exit_code", exitCode}, {"text", text}};
}

/// What keeps a run that ended from having gone through; a run that goes on is judged by the one before.
void judgeLastRun(ordered_json& findings, const ordered_json& runs, const std::string& recorded)
{
    const auto ended =
        std::find_if(runs.rbegin(), runs.rend(), [](const ordered_json& run) { return run["outcome"] != "running"; });
    if (ended == runs.rend() || wentThrough(*ended))
        return;
    static const std::map<std::string, const char*> kWords = {
        {"failed", "failed"},
        {"refused", "was refused"},
        {"stopped", "was stopped before it wrote anything"},
        {"broken off", "was broken off: it was killed, or the machine went down"}};
    std::string error = resultText((*ended)["error"]);
    // It is told already; a run that was refused for it tells it after its own words.
    const std::string firstLine = recorded.substr(0, recorded.find_first_of("\r\n"));
    if (recorded.find(error) != std::string::npos || (!firstLine.empty() && error.find(firstLine) != std::string::npos))
        error.clear();
    findings.push_back(finding(kNotReady, fmt::format("The last run, of {}, {}{}", localTime((*ended)["began"]),
                                                      kWords.at(resultText((*ended)["outcome"])),
                                                      error.empty() ? error : ": " + error)));
}

void judgeAge(ordered_json& findings, const ordered_json& runs, int maxAge)
{
    const auto good = std::find_if(runs.rbegin(), runs.rend(), wentThrough);
    if (good == runs.rend()) {
        findings.push_back(finding(kNotReady, "The history knows no run that went through."));
        return;
    }
    const std::optional<long long> ended = secondsOf((*good)["ended"]);
    const long long age = secondsOf(utcNow()).value_or(0) - ended.value_or(0);
    if (age > 3600LL * maxAge)
        findings.push_back(finding(kNotReady, fmt::format("A run is overdue: the last one that went through ended {}, "
                                                          "more than {} hours ago.",
                                                          localTime((*good)["ended"]), maxAge)));
}

/// Everything that a person has to look at, most serious first.
ordered_json findingsOf(const Configuration& configuration, const ordered_json& status, const ordered_json& runs,
                        int maxAge)
{
    ordered_json findings = ordered_json::array();
    const ordered_json& control = status["control"];
    if (errorWaits(configuration, control, runs))
        findings.push_back(finding(kNotReady, fmt::format("The site is in error and is not run until somebody runs "
                                                          "`quinrep run --ready --reset-error`: {}",
                                                          resultText(control["error_message"]))));
    judgeLastRun(findings, runs, findings.empty() ? "" : resultText(control["error_message"]));
    judgeAge(findings, runs, maxAge);
    long long waiting = 0;
    for (const ordered_json& table : status["conflicts"])
        waiting += wholeNumber(table["waiting"]);
    if (waiting > 0)
        findings.push_back(finding(kRecorded, fmt::format("Conflicts that wait for a decision: {}. Look at them with "
                                                          "`quinrep review` or `quinrep conflicts list`.",
                                                          waiting)));
    return findings;
}

} // namespace

Outcome statusCommand(const Configuration& configuration, bool check, int maxAge)
{
    Databases databases(configuration);
    clsConn& local = databases.local();
    const std::wstring site = L" where unique_key = " + siteKey(configuration.site);
    ordered_json control = jsonRows(local, L"select ready_f, error_f, error_message, last_timestamp, next_timestamp "
                                           L"from replication_control" +
                                               site);
    if (control.empty())
        throw missingControlRecord();
    // Rows, not records: every run records a row again that still differs.
    ordered_json waiting = jsonRows(local, L"select table_name, count(distinct coalesce(cast(guid as varchar(40)), "
                                           L"cast(patient_id as varchar(40)))) waiting from replication_conflict group "
                                           L"by table_name order by table_name");
    const ordered_json counts = jsonRows(local, L"select count_name, count_value from replication_counts" + site);
    const ordered_json runs = History::read(configuration);
    Outcome outcome{{{"findings", ordered_json::array()},
                     {"conflicts", std::move(waiting)},
                     {"control", control.front()},
                     {"last_run", runs.empty() ? ordered_json() : toldRun(runs.back())},
                     {"tables", tablesOf(counts)},
                     {"discrepancies", lastDiscrepancies(configuration.logFile)}}};
    outcome.result["findings"] = findingsOf(configuration, outcome.result, runs, maxAge);
    if (check && !outcome.result["findings"].empty())
        outcome.exitCode = static_cast<ExitCode>(outcome.result["findings"].front()["exit_code"].get<int>());
    return outcome;
}
