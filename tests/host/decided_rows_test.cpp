// A row of each kind that the rules tell apart, by each method at each site: what is said of the next run is what it
// does.
#include "Quinrep.h"

#include "RowDecision.h"
#include "com/error.h"
#include "conflicts/rows_today.h"
#include "conflicts/why.h"
#include "control/settings.h"
#include "support/MessageBoxes.h"
#include "support/Sabotage.h"
#include "text.h"

#include <map>
#include <optional>
#include <set>

namespace {

const bool kAttached = quinmark::attachComponent(nullptr);

struct Method
{
    enumReplicationMethod method;
    enumReplicateDeletes deletes = UNKNOWN;
};

constexpr Method kMethods[] = {{ONE_WAY_DELETE_ALL},
                               {ONE_WAY},
                               {ONE_WAY_ALLOW_DELETES},
                               {TWO_WAY},
                               {TWO_WAY_NO_DELETES},
                               {ONE_WAY_WITH_PK_FIELD, DELETE_WITH_UPDATES},
                               {ONE_WAY_WITH_PK_FIELD, SKIP_DELETES},
                               {ONE_WAY_WITH_PK_FIELD, ONLY_DELETES}};

constexpr char kNone[] = "none";
constexpr char kUndated[] = "null";
/// Among them the last run's own time, two dates of one second, and two dates at most two seconds apart.
constexpr const char* kDates[] = {kNone,
                                  kUndated,
                                  "'2025-02-01T08:30:00'",
                                  "'2025-03-01T08:30:00'",
                                  "'2025-03-10T12:00:00'",
                                  "'2025-03-11T09:15:00'",
                                  "'2025-03-11T09:15:00.300'",
                                  "'2025-03-11T09:15:02'",
                                  "'2025-03-12T10:45:00'"};

/// A row by its dates on the two sides, and whether the copies agree in all else.
struct Cell
{
    const char* source;
    const char* destination;
    bool agrees;
};

/// No run gets past a row without a date that one side alone has.
bool endsTheRun(const Cell& cell)
{
    return (cell.source == kUndated && cell.destination == kNone) ||
           (cell.source == kNone && cell.destination == kUndated);
}

std::vector<Cell> cells()
{
    std::vector<Cell> cells;
    for (const bool agrees : {false, true})
        for (const char* source : kDates)
            for (const char* destination : kDates)
                if (const Cell cell{source, destination, agrees}; !endsTheRun(cell))
                    cells.push_back(cell);
    return cells;
}

/// The rows of both sides by their keys, and the keys that conflicts are about.
struct State
{
    std::map<std::wstring, std::wstring> source;
    std::map<std::wstring, std::wstring> destination;
    std::set<std::wstring> conflicts;
};

std::wstring at(const std::map<std::wstring, std::wstring>& rows, const std::wstring& key)
{
    const auto row = rows.find(key);
    return row == rows.end() ? L"" : row->second;
}

/// The action of a run, as its effect on the row shows it.
NextRun effect(const State& before, const State& after, const std::wstring& key)
{
    if (after.conflicts.contains(key))
        return NextRun::ReportsIt;
    if (at(before.source, key) != at(after.source, key))
        return at(before.source, key).empty() ? NextRun::InsertsIntoSource : NextRun::OverwritesSource;
    if (at(before.destination, key) == at(after.destination, key))
        return NextRun::LeavesIt;
    if (at(after.destination, key).empty())
        return NextRun::DeletesAtDestination;
    return at(before.destination, key).empty() ? NextRun::InsertsIntoDestination : NextRun::OverwritesDestination;
}

class DecidedRows : public Quinrep
{
protected:
    const std::vector<Cell> cells_ = cells();
    std::set<std::string> rulesMet_;

    Configuration configuration(const Method& method)
    {
        const HostSettings& settings = host();
        Configuration made;
        made.site = settings.site;
        made.localIsSource = settings.role == L"SOURCE";
        made.source = {toUtf8(settings.sourceDsn), toUtf8(settings.sourcePrefix), "", settings.sourcePassword};
        made.destination = {toUtf8(settings.destinationDsn), toUtf8(settings.destinationPrefix), "",
                            settings.destinationPassword};
        made.tables = {
            {.name = "users", .method = method.method, .dependent = "", .key = "unid", .deletes = method.deletes}};
        return made;
    }

    TablePlan plan(const Method& method) const
    {
        const bool byKey = method.method == ONE_WAY_WITH_PK_FIELD;
        return {.method = method.method,
                .table = L"users",
                .dependentTable = L"",
                .keyField = byKey ? L"unid" : L"",
                .deletes = method.deletes};
    }

    void addCells(const std::vector<Cell>& rows) const
    {
        std::string sourceRows;
        std::string destinationRows;
        for (size_t index = 0; index < rows.size(); ++index) {
            const auto add = [&](std::string& list, const char* date, const char* name) {
                if (date != kNone)
                    list +=
                        (list.empty() ? "(" : ", (") + std::to_string(index + 1) + ", '" + name + "', " + date + ")";
            };
            add(sourceRows, rows[index].source, "S");
            add(destinationRows, rows[index].destination, rows[index].agrees ? "S" : "D");
        }
        for (const auto& [side, list] : {std::pair(&source(), sourceRows), std::pair(&destination(), destinationRows)})
            if (!list.empty())
                side->execute(L"insert into users (unid, user_name, mod_date) values " + toWide(list));
    }

    State state() const
    {
        State now;
        const auto read = [](const PracticeSide& side, std::map<std::wstring, std::wstring>& rows) {
            for (const std::wstring& row : side.rows(L"select unid, user_name, mod_date from users"))
                rows[row.substr(0, row.find(L'|'))] = row;
        };
        read(source(), now.source);
        read(destination(), now.destination);
        for (const std::wstring& key : local().rows(L"select patient_id from replication_conflict"))
            now.conflicts.insert(key);
        return now;
    }

    std::vector<ConflictedRow> explained(const Method& method, size_t rows)
    {
        std::vector<ConflictedRow> explained;
        for (size_t index = 0; index < rows; ++index)
            explained.push_back({.table = "users", .key = std::to_string(index + 1)});
        const Configuration made = configuration(method);
        Databases databases(made);
        lookAtRowsToday(made, databases, explained);
        for (const ConflictedRow& row : explained)
            for (const AppliedRule& rule : appliedRules(row))
                rulesMet_.insert(rule.id);
        return explained;
    }

    void fresh(const std::vector<Cell>& rows) const
    {
        emptyTables();
        restoreControl();
        addCells(rows);
    }

    void expectForetold(const Method& method)
    {
        fresh(cells_);
        const State before = state();
        const std::vector<ConflictedRow> rows = explained(method, cells_.size());
        size_t boxes = 0;
        const UnshownBoxes answered([&boxes](const wchar_t*) { ++boxes; }, L"QuinmarkRepDLL.dll");
        replicate(plan(method));
        const State after = state();
        size_t announced = 0;
        for (size_t index = 0; index < cells_.size(); ++index) {
            const ConflictedRow& row = rows[index];
            const Cell& cell = cells_[index];
            SCOPED_TRACE(std::to_string(method.method) + " " + std::to_string(method.deletes) + " at " +
                         std::to_string(host().site) + ": " + cell.source + " " + cell.destination +
                         (cell.agrees ? " alike: " : ": ") + whyText(row));
            ASSERT_TRUE(row.decision);
            const NextRun done = effect(before, after, toWide(row.key));
            EXPECT_EQ(static_cast<int>(done), static_cast<int>(row.next));
            const NextRun said = entryOf(row.decision->rule).action;
            EXPECT_TRUE(said == done || said == NextRun::Unknown || (said == NextRun::ReportsIt && cell.agrees));
            announced += row.decision->announced ? 1 : 0;
        }
        EXPECT_EQ(boxes, announced);
    }
};

TEST_F(DecidedRows, AreTreatedByTheNextRunAsItIsSaid)
{
    ASSERT_TRUE(kAttached);
    Change undated = nullableColumn(L"users", L"mod_date", dateType());
    undated.undo = L"delete from users; " + undated.undo;
    std::optional<Sabotage> atSource;
    std::optional<Sabotage> atDestination;
    if (!tryOrSkip(L"a change of a column", [&] {
            atSource.emplace(source(), undated);
            atDestination.emplace(destination(), undated);
        }))
        return;
    for (const enumReplicationUniqueId site : {OFFICES, LAPTOP})
        for (const Method& method : kMethods) {
            runAt(site);
            expectForetold(method);
        }
    fresh({{kUndated, kNone, false}});
    EXPECT_EQ(explained({ONE_WAY}, 1).front().next, NextRun::Fails);
    EXPECT_THROW(replicate(plan({ONE_WAY})), com::Error);
    std::set<std::string> all;
    for (const RuleEntry& entry : allRules())
        all.insert(entry.id);
    EXPECT_EQ(rulesMet_, all);
}

} // namespace
