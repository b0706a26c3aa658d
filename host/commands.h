#pragma once

#include "Configuration.h"
#include "HostError.h"
#include "conflicts/ConflictedRow.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// The result of a command: the one object that --json prints, and how the program ends.
struct Outcome // NOLINT(bugprone-exception-escape): JSON moves without an exception
{
    nlohmann::ordered_json result;
    ExitCode exitCode = kDone;
};

struct InitOptions
{
    /// The file to be written.
    std::string path;
    /// Site, roles, log, password sources, and data sources with their prefixes, where they were told.
    Configuration configuration;
};

struct RunOptions
{
    /// Goes on in spite of every stop but message boxes.
    bool force = false;
    /// Goes on where message boxes would open: somebody is there to close them.
    bool attended = false;
    /// Marks the control records ready, or clears the recorded error, before the run.
    bool markReady = false;
    bool resetError = false;
    /// Says nothing of what goes on, on standard error.
    bool quiet = false;
    /// Until it has gone through, the control record says that nothing was ever replicated.
    bool firstCopy = false;
    /// The next attempt clears the error of a lost connection by itself.
    bool watched = false;
    /// An HTML page with the result; empty for none.
    std::string reportFile = {};
};

struct ScheduleOptions
{
    /// A time of day, as 20:30.
    std::string at;
    /// The account of the task; the one that asks unless told.
    std::string account;
    std::string name = "Quinmark replication";
    std::string configurationFile;
    /// Where another log was named than the configuration's.
    std::string logFile;
    /// The page that each run writes; empty for none.
    std::string reportFile;
};

struct VerifyOptions
{
    /// Some of the configuration's; all when empty.
    std::vector<std::string> tables = {};
    /// Lists every row that differs, and not only the first of each table.
    bool allRows = false;
};

struct ResolveOptions
{
    ConflictFilter filter;
    enumResolution use = WORK_LATER;
    /// Overwrites and deletes rows also where they have changed since they were found.
    bool changedToo = false;
    /// Says what would be done, and does nothing.
    bool dryRun = false;
};

struct DismissOptions
{
    ConflictFilter filter;
    std::string reason;
    bool dryRun = false;
};

/// Writes a configuration: with data sources the tables that both sides have, else a template.
Outcome initCommand(const InitOptions& options);
Outcome checkCommand(const Configuration& configuration);
Outcome previewCommand(const Configuration& configuration);
Outcome verifyCommand(const Configuration& configuration, const VerifyOptions& options);
Outcome runCommand(const Configuration& configuration, const RunOptions& options);
/// The first copy: a run that copies all tables, and the dependent ones, whole.
Outcome copyCommand(const Configuration& configuration, RunOptions options);
/// Runs whenever the control record's next_timestamp is due, until Ctrl-C. A failure is tried again after growing
/// pauses. `tell` is given the outcome of every attempt; the last one's exit code is the result.
ExitCode watchCommand(const Configuration& configuration, const RunOptions& options,
                      const std::function<void(const Outcome&)>& tell);
/// Tells how to have the Task Scheduler run every evening, and what would keep it from running; changes nothing.
Outcome scheduleCommand(const Configuration& configuration, const ScheduleOptions& options);
/// Tells of one row why it is as it is, and what the next run does with it.
Outcome explainCommand(const Configuration& configuration, const std::string& table, const std::string& key);
/// Ends with 0 unless `check`: then with the most serious finding's exit code. A run is overdue when the last one that
/// went through ended longer ago than `maxAge` hours.
Outcome statusCommand(const Configuration& configuration, bool check, int maxAge);
/// The last runs, oldest first.
Outcome historyCommand(const Configuration& configuration, size_t last);
Outcome listConflictsCommand(const Configuration& configuration, const ConflictFilter& filter);
Outcome showConflictCommand(const Configuration& configuration, const std::string& id);
Outcome resolveConflictsCommand(const Configuration& configuration, const ResolveOptions& options);
Outcome dismissConflictsCommand(const Configuration& configuration, const DismissOptions& options);
Outcome decisionLogCommand(const Configuration& configuration, const ConflictFilter& filter);
/// Serves the conflicts to a browser, and opens that if it may, until the person ends it; the result tells what was
/// resolved.
Outcome reviewCommand(const Configuration& configuration, bool opensBrowser);

/// The same result for a person to read, who calls the sides of conflicts by these names.
std::string humanText(const std::string& command, const nlohmann::ordered_json& result, const SideNames& names = {});
