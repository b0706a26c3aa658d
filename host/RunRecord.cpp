#include "RunRecord.h"

#include "Session.h"
#include "commands/report.h"
#include "conflicts/DecisionLog.h"
#include "files.h"
#include "identity.h"

#include <iostream>

using nlohmann::ordered_json;

namespace {

void tell(const std::string& text)
{
    std::cerr << "quinrep: " << text << std::endl;
}

} // namespace

RunRecord::RunRecord(const Configuration& configuration, const RunOptions& options)
    : configuration_(configuration),
      options_(options),
      began_(utcNow())
{
}

void RunRecord::begin()
{
    lock_.emplace(configuration_);
    requireWritableLog(configuration_.logFile);
    requireWritable("the decision log", DecisionLog::path(configuration_), kNameAnotherLog);
    history_.emplace(configuration_);
}

void RunRecord::end(Outcome& outcome)
{
    outcome.result["about"] = about();
    if (history_ && !history_->end(outcome.result, outcome.exitCode, tookMs()))
        tell("the history " + History::path(configuration_) + " could not take the whole line of this run");
    const bool reported =
        !options_.reportFile.empty() && writeReport(options_.reportFile, outcome.result, &configuration_);
    if (!options_.reportFile.empty() && !reported)
        outcome.exitCode = outcome.exitCode == kDone || outcome.exitCode == kRecorded ? kFailed : outcome.exitCode;
    runAfter(outcome, reported);
}

std::optional<std::string> RunRecord::beforeFailed(ordered_json lookAhead) const
{
    lookAhead["about"] = about();
    return hookFailure(configuration_, configuration_.hooks.before, variables("before"), lookAhead, options_.quiet);
}

void RunRecord::runAfter(Outcome& outcome, bool reported) const
{
    if (configuration_.hooks.after.empty())
        return;
    EnvironmentVariables variables = this->variables("after");
    variables.emplace_back("QUINREP_EXIT_CODE", std::to_string(outcome.exitCode));
    if (reported)
        variables.emplace_back("QUINREP_REPORT", absolutePath(options_.reportFile));
    if (const std::optional<std::string> failure =
            hookFailure(configuration_, configuration_.hooks.after, variables, outcome.result, options_.quiet))
    {
        tell("the command after the run " + *failure);
        outcome.result["after_failed"] = "the command after the run " + *failure;
    }
}

EnvironmentVariables RunRecord::variables(const char* hook) const
{
    return {{"QUINREP_HOOK", hook},
            {"QUINREP_SITE", siteName(configuration_.site)},
            {"QUINREP_SOURCE", configuration_.source.dsn},
            {"QUINREP_DESTINATION", configuration_.destination.dsn}};
}

ordered_json RunRecord::about() const
{
    return {{"site", siteName(configuration_.site)},
            {"machine", machineName()},
            {"source", configuration_.source.dsn},
            {"destination", configuration_.destination.dsn},
            {"began", began_},
            {"took_ms", tookMs()}};
}

long long RunRecord::tookMs() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_).count();
}
