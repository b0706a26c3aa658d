#pragma once

#include "History.h"
#include "Hook.h"
#include "SiteLock.h"
#include "commands.h"

#include <chrono>
#include <optional>

/// Everything that an attempt to run leaves behind, however it ends: its line in the history, the report, and the
/// command after the run.
class RunRecord
{
public:
    RunRecord(const Configuration& configuration, const RunOptions& options);

    /// Raises HostError while another run of the site goes on, and where a file that the run needs cannot be written.
    void begin();
    History& history() { return *history_; }

    /// Says in the result whose it is, and tells it to history, report and command. None of them undoes a run: what
    /// does not work is told on standard error. Only a report that cannot be written makes a success a failure.
    void end(Outcome& outcome);

    /// Runs the command before the run, with what the look ahead found; how it failed, or nothing.
    std::optional<std::string> beforeFailed(nlohmann::ordered_json lookAhead) const;

private:
    nlohmann::ordered_json about() const;
    long long tookMs() const;
    void runAfter(Outcome& outcome, bool reported) const;
    EnvironmentVariables variables(const char* hook) const;

    const Configuration& configuration_;
    const RunOptions& options_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::string began_;
    std::optional<SiteLock> lock_;
    std::optional<History> history_;
};
