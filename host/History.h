#pragma once

#include "Configuration.h"
#include "JsonLines.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// The runs of a site, in a file beside the component's log with one JSON object in a line for each: begin and end in
/// UTC, exit code, sums of the changed rows, conflicts, and the error.
///
/// A line is begun before its run and completed at its end, so that a run that was killed can be seen.
class History
{
public:
    /// Begins the line of a run. Raises HostError(kUsage) when the file cannot be written. A file that has grown large
    /// is shortened first.
    explicit History(const Configuration& configuration);

    /// Notes that the run begins to write. What it leaves in the control record, should it be killed, nobody knows.
    void noteWriting();
    /// Keeps the ids of the conflicts that the run recorded, and the control record's last_timestamp after it (null
    /// where that is not known).
    void noteRecords(const nlohmann::ordered_json& conflicts, const nlohmann::ordered_json& lastTimestamp);
    /// Completes the line with the result of the run. False when the file did not take the whole line.
    bool end(const nlohmann::ordered_json& result, int exitCode, long long tookMs);

    static std::string path(const Configuration& configuration);
    /// The runs of the site, oldest first, each with the members that `toldRun` tells (null where the run did not come
    /// to them), and its "outcome": "done", "conflicts", "failed", "refused", "stopped", "running" or "broken off".
    /// Raises HostError(kFailed) when the file cannot be read.
    static nlohmann::ordered_json read(const Configuration& configuration);

private:
    JsonLines lines_;
    bool whole_ = true;
    bool wrote_ = false;
};

/// The members of a run that results tell.
nlohmann::ordered_json toldRun(const nlohmann::ordered_json& run);

/// The control record's last_timestamp as the last run of these two databases left it, by the local database's clock;
/// nothing where no run tells.
std::optional<DATE> lastTimestampLeft(const Configuration& configuration, const nlohmann::ordered_json& runs);

/// Whether a run went through, with conflicts or without.
bool wentThrough(const nlohmann::ordered_json& run);

/// What the history knows of an error that stands in the control record. It knows only that of the site's last run:
/// the control record tells no cause and no time.
struct RecordedError
{
    /// Recorded for conflicts alone: errors were counted, and nothing failed.
    bool forConflicts = false;
    /// When the run recorded it (UTC), and the ids of its conflicts; null and none where that is not known.
    nlohmann::ordered_json at = nullptr;
    nlohmann::ordered_json conflicts = nlohmann::ordered_json::array();

    RecordedError(const nlohmann::ordered_json& runs, const std::string& error);
};

/// Whether the error that stands in the control record (its error_f and error_message) waits for a person.
bool errorWaits(const Configuration& configuration, const nlohmann::ordered_json& control,
                const nlohmann::ordered_json& runs);
