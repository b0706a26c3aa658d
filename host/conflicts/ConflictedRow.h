#pragma once

#include "Configuration.h"
#include "RowDecision.h"
#include "Session.h"
#include "SideNames.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// One record of replication_conflict.
struct ConflictRecord
{
    std::string id;
    /// An enumConflictType.
    long kind = 0;
    std::string keyInfo;
    /// The time of the run that found it; nothing for Null, as in the other dates.
    std::optional<DATE> found;
    std::optional<DATE> sourceDate;
    std::optional<DATE> destinationDate;
};

/// A side's copy of a row as it is today.
struct CopyToday
{
    RowCopy row;
    /// Its columns in their order, as columnValue has them.
    nlohmann::ordered_json columns = nlohmann::ordered_json::object();
    /// The same as the texts that conflict reporting records and compares, dates in the user's own form; null for Null.
    nlohmann::ordered_json texts = nlohmann::ordered_json::object();
};

enum class RowState
{
    Waits,
    /// Both copies agree, compared as conflict reporting does.
    Equal,
    /// Neither side has the row.
    Gone,
    /// A side cannot be read.
    Unknown,
};

/// A row with all conflicts that are about it: every run records it again, and one decision closes all of them.
struct ConflictedRow
{
    std::string table;
    std::string key;
    /// Whether the records name the row by a number: the component's statements do not address such a row.
    bool numericKey = false;
    /// Whether the configuration matches the table's rows by another column than `unid`, by which the component's
    /// statements address them.
    bool otherKey = false;
    /// The latest first; there is at least one.
    std::vector<ConflictRecord> records = {};
    RowState state = RowState::Unknown;
    CopyToday source = {};
    CopyToday destination = {};
    /// The names of the columns that hold dates today.
    std::set<std::string> dateColumns = {};
    NextRun next = NextRun::Unknown;
    /// By the rules alone; nothing where the configuration does not list the table, or the row is not known.
    std::optional<RowDecision> decision = {};

    const ConflictRecord& latest() const { return records.front(); }
    std::vector<std::string> ids() const;
    /// Whether a side lacked the row when it was found; then that side's date and values in the record mean nothing.
    bool sourceLackedIt() const;
    bool destinationLackedIt() const;

    nlohmann::ordered_json toJson() const;
};

/// The conflicts that a command is about.
struct ConflictFilter
{
    /// All records of the rows that these are about; any when empty.
    std::vector<std::string> ids = {};
    std::string table = {};
    /// One of kindWords(); empty for any.
    std::string kind = {};
    /// In the table's name, the kind or the description, in any case of letters.
    std::string contains = {};
    /// Only rows that were last found before this day, as 2026-11-21.
    std::string before = {};
    /// `contains` finds the kind by these names of the sides too.
    SideNames names = {};

    /// Whether a conflict fits the filter by table, kind, description and day; `day` as in `before`.
    bool fits(const std::string& tableName, long conflictKind, const std::string& keyInfo,
              const std::string& day) const;
    /// Raises HostError(kUsage) when `table` is neither the configuration's nor one of these.
    void requireTable(const Configuration& configuration, const std::vector<std::string>& tables) const;
    /// Raises HostError(kUsage) when `before` is no day.
    void requireDay() const;
};

/// Whether two names or keys are the same, in any case of letters.
bool sameName(const std::string& left, const std::string& right);

/// The word for a kind of conflict in filters, its name in results, and its name for people.
const char* kindWord(long kind);
const char* kindName(long kind);
std::string kindName(long kind, const SideNames& names);
/// The kind that a word stands for; 0 for none.
long kindOfWord(const std::string& word);
const std::vector<std::string>& kindWords();

/// All rows with conflicts, by table and description. Nobody has looked how they are today.
std::vector<ConflictedRow> recordedRows(Databases& databases);

/// The rows that the filter means, by table and description. Raises HostError(kUsage) for an id or a table that there
/// is none of, and for a day that is no date.
std::vector<ConflictedRow> conflictedRows(const Configuration& configuration, Databases& databases,
                                          const ConflictFilter& filter);

/// Leaves the rows that the filter means. Raises as conflictedRows does.
void filterRows(const Configuration& configuration, std::vector<ConflictedRow>& rows, const ConflictFilter& filter);

/// The recorded differences of a row, from its latest record: column, source and destination; null for a side that
/// lacked the row.
nlohmann::ordered_json recordedColumns(clsConn& local, const ConflictedRow& row);

/// Recorded differences for a result: a date, which the component records in the user's own form, as columnValue has
/// it where the column holds dates today.
nlohmann::ordered_json shownColumns(const ConflictedRow& row, nlohmann::ordered_json columns);

/// A sentence about the next run.
std::string nextRunText(NextRun next, const SideNames& names = {});
const char* stateName(RowState state);

/// The rows that these ids are about, those that are gone left out.
nlohmann::ordered_json conflictsWithIds(const Configuration& configuration, Databases& databases,
                                        const std::vector<std::string>& ids);

/// The ids as a list of SQL literals between parentheses.
std::wstring idList(const std::vector<std::string>& ids);
