#pragma once

#include "Configuration.h"
#include "HostError.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// What a command found or did: the one object that --json prints, and how the program ends.
struct Outcome
{
    nlohmann::ordered_json result;
    ExitCode exitCode = kDone;
};

struct RunOptions
{
    /// Goes on where the guard against mass deletion would stop.
    bool force = false;
    /// Marks the control records ready, or clears the recorded error, before the run.
    bool markReady = false;
    bool resetError = false;
    /// Says what goes on, on standard error.
    bool quiet = false;
};

struct ResolveOptions
{
    /// One conflict, or empty for all.
    std::string id;
    /// Only conflicts of this table; empty for all.
    std::string table;
    enumResolution use = WORK_LATER;
};

Outcome checkCommand(const Configuration& configuration);
Outcome previewCommand(const Configuration& configuration);
Outcome verifyCommand(const Configuration& configuration);
Outcome runCommand(const Configuration& configuration, const RunOptions& options);
/// Runs whenever the control record's next_timestamp is due, until Ctrl-C. A failure is tried again after growing
/// pauses. `tell` is given the outcome of every attempt; the last one's exit code is the result.
ExitCode watchCommand(const Configuration& configuration, const RunOptions& options,
                      const std::function<void(const Outcome&)>& tell);
Outcome statusCommand(const Configuration& configuration);
Outcome listConflictsCommand(const Configuration& configuration);
Outcome showConflictCommand(const Configuration& configuration, const std::string& id);
Outcome resolveConflictsCommand(const Configuration& configuration, const ResolveOptions& options);
/// Serves the conflicts to a browser until the person ends it; the result tells what was resolved.
Outcome reviewCommand(const Configuration& configuration);

/// The same result for a person to read.
std::string humanText(const std::string& command, const nlohmann::ordered_json& result);
