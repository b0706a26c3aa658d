#pragma once

#include "Session.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// Why a run does not begin.
enum class StopReason
{
    /// A table would lose more of its rows than it may.
    Deletes,
    /// More of its rows would be overwritten than may be.
    Updates,
    /// A row that waits for a decision would be deleted or overwritten.
    WaitingConflict,
    /// The table would end in an error.
    WillFail,
    /// A row was changed between the last run of these databases and the beginning of the interval.
    Interval,
    /// Message boxes would wait for somebody to close them.
    MessageBoxes,
    /// The command that the configuration names for the time before a run failed.
    Hook,
};

/// One reason, with the rows that it is about.
struct RunStop
{
    StopReason reason;
    std::string table;
    /// The consequence, and advice.
    std::string text;
    /// Each with its key; the first also with their descriptions, where they have one.
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();

    nlohmann::ordered_json toJson() const;
};

/// The word for a reason in JSON.
const char* reasonName(StopReason reason);

/// Whether the options of a run let it pass this reason.
bool isPassed(StopReason reason, bool force, bool attended);

/// The stops of one table: one for each reason and text, in the order in which they are met.
class TableStops
{
public:
    TableStops(Databases& databases, std::string table) : databases_(databases), table_(std::move(table)) {}

    /// Adds a row to the stop of that reason and text. `key` is the value of the column by which the table's rows are
    /// matched.
    void addRow(StopReason reason, const std::string& text, const _variant_t& key);
    /// A stop of the table as a whole.
    void add(StopReason reason, const std::string& text) { find(reason, text); }

    std::vector<RunStop> take() { return std::move(stops_); }

private:
    RunStop& find(StopReason reason, const std::string& text);

    Databases& databases_;
    std::string table_;
    std::vector<RunStop> stops_;
};

/// A row in words, as the destination has it, else the source; empty where its table has no description.
std::string describeRow(Databases& databases, const std::string& table, const _variant_t& key);

/// Rows by their keys, the first also with their descriptions.
nlohmann::ordered_json listRows(Databases& databases, const std::string& table, const std::vector<_variant_t>& keys);

/// Whether a key can be written into a statement: an apostrophe would end it, and what follows would be run.
bool isSafeKey(const _variant_t& key);
