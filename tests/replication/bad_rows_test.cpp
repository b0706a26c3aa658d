#include "BadInput.h"
#include "support/Sabotage.h"
#include "support/MessageBoxes.h"
#include "support/PracticeNeeds.h"

#include <array>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr long kStatementFailed = static_cast<long>(0x80040E14);
constexpr long kConstraintFailed = static_cast<long>(0x80040E2F);
constexpr long kNoCurrentRow = static_cast<long>(0x80040000 + 3021);

const TablePlan kUsers{.method = ONE_WAY, .table = L"users"};
const TablePlan kOwnTable{.method = ONE_WAY, .table = L"replication_test"};

/// Columns of whole numbers behind a table's own.
class ExtraColumns
{
public:
    ExtraColumns(const PracticeSide& side, const std::wstring& table, const std::array<std::wstring, 2>& names)
        : first_(side, L"alter table " + table + L" add " + names[0] + L" int",
                 L"alter table " + table + L" drop column " + names[0]),
          second_(side, L"alter table " + table + L" add " + names[1] + L" int",
                  L"alter table " + table + L" drop column " + names[1])
    {
    }

private:
    Sabotage first_;
    Sabotage second_;
};

class BadRows : public BadInput
{
protected:
    OwnTable createOwnTable(const std::wstring& columns)
    {
        return {{source(), destination(), host().sourcePrefix, host().destinationPrefix, isPostgreSql()},
                kOwnTable.table,
                columns};
    }

    /// The type of a date and time here.
    static std::wstring dateType() { return isPostgreSql() ? L"timestamp(3)" : L"datetime"; }

    void addOwnRow(const PracticeSide& side, const std::wstring& columns, const std::wstring& values)
    {
        side.execute(L"insert into replication_test (" + columns + L") values (" + values + L")");
    }

    /// The errors of a failed one-way routine: what it raises, and what it records of it.
    void expectOneWayFailure(const com::Error& error, const std::wstring& table, long number,
                             const testing::Matcher<std::wstring>& reason)
    {
        const std::wstring routine = L"clsReplicateTable.replicateOneWay";
        EXPECT_THAT(error, isError(number, L"clsReplicate.go", StartsWith(routine + L"(" + table + L"): ")));
        const std::wstring text = error.description.substr(routine.size() + table.size() + 4);
        EXPECT_THAT(text, reason);
        EXPECT_EQ(recordedError(), L"error: " + routine + L": " + text);
        EXPECT_FALSE(local().hasPatientKey());
        EXPECT_TRUE(controlRecord().starts_with(L"True|True|"));
        EXPECT_FALSE(logged(L"Replicated table: " + table));
    }
};

TEST_F(BadRows, TableWithoutKeyColumnIsNotReplicated)
{
    const OwnTable table = createOwnTable(L"name varchar(20), mod_date " + dateType());
    addOwnRow(source(), L"name, mod_date", L"'a', '2025-03-11T09:15:00'");
    expectOneWayFailure(runFailure({kOwnTable}), kOwnTable.table, kStatementFailed, HasSubstr(L"unid"));
    EXPECT_EQ(destination().count(kOwnTable.table), 0);
}

TEST_F(BadRows, TableWithoutModificationDateIsNotReplicated)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, name varchar(20)");
    addOwnRow(source(), L"unid, name", L"7, 'a'");
    expectOneWayFailure(runFailure({kOwnTable}), kOwnTable.table, kStatementFailed, HasSubstr(L"mod_date"));
    EXPECT_EQ(destination().count(kOwnTable.table), 0);
}

TEST_F(BadRows, TwoWayTableWithoutModificationDateIsNotReplicated)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, name varchar(20)");
    addOwnRow(source(), L"unid, name", L"7, 'a'");
    EXPECT_THAT(runFailure({{.method = TWO_WAY, .table = kOwnTable.table}}),
                isError(kStatementFailed, L"clsReplicate.go", HasSubstr(L"mod_date")));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(BadRows, RowWithoutModificationDateEndsTheTable)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, mod_date " + dateType());
    addOwnRow(source(), L"unid, mod_date", L"7, null");
    expectOneWayFailure(runFailure({kOwnTable}), kOwnTable.table, 94, testing::Eq(L"Invalid use of Null"));
    source().execute(L"update replication_test set mod_date = '2025-03-11T09:15:00'");
    resetError(source());
    EXPECT_EQ(replicate(kOwnTable), (Counters{.destAdd = 1}));
}

TEST_F(BadRows, CommonRowWithoutModificationDateIsNeverFound)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, mod_date " + dateType());
    addOwnRow(source(), L"unid, mod_date", L"7, null");
    addOwnRow(destination(), L"unid, mod_date", L"7, '2025-03-11T09:15:00'");
    EXPECT_EQ(replicate(kOwnTable), Counters{});
}

TEST_F(BadRows, ColumnsInAnotherOrderStopTheDumpAfterTheConflictIsSaved)
{
    const ExtraColumns inOrder(source(), L"chair_type", {L"extra_a", L"extra_b"});
    const ExtraColumns inAnother(destination(), L"chair_type", {L"extra_b", L"extra_a"});
    source().execute(
        L"insert into chair_type (unid, chair_type_name, mod_date) values (7, 's', '2025-03-11T09:15:00')");
    destination().execute(
        L"insert into chair_type (unid, chair_type_name, mod_date) values (7, 'd', '2025-03-12T09:15:00')");
    expectOneWayFailure(runFailure({{.method = ONE_WAY, .table = L"chair_type"}}), L"chair_type", kOwnError,
                        testing::Eq(L"Replication Error: Fields out of sync on table: chair_type"));
    EXPECT_THAT(conflicts(), ElementsAre(L"chair_type|7|<Null>|1|s"));
}

TEST_F(BadRows, ColumnsInAnotherOrderAreCopiedByTheirNames)
{
    const ExtraColumns inOrder(source(), L"chair_type", {L"extra_a", L"extra_b"});
    const ExtraColumns inAnother(destination(), L"chair_type", {L"extra_b", L"extra_a"});
    source().execute(L"insert into chair_type (unid, chair_type_name, extra_a, extra_b, mod_date) values"
                     L" (7, 's', 1, 2, '2025-03-11T09:15:00')");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"chair_type"}), (Counters{.destAdd = 1}));
    EXPECT_EQ(destination().row(L"select unid, extra_a, extra_b from chair_type"), L"7|1|2");
}

TEST_F(BadRows, ConflictOnATableWithoutADescriptionIsNotSaved)
{
    destination().execute(L"insert into chart_option_setting (chart_option_id, setting_name, mod_date) values"
                          L" ('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'blue', '2025-03-11T09:15:00')");
    const com::Error error = runFailure({{.method = ONE_WAY, .table = L"chart_option_setting"}});
    expectOneWayFailure(error, L"chart_option_setting", error.number, Not(IsEmpty()));
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(destination().count(L"chart_option_setting"), 1);
}

TEST_F(BadRows, ConflictWhoseDescriptionIsNullIsNotSaved)
{
    const std::wstring change = isPostgreSql() ? L"alter table procs alter column proc_name drop not null"
                                               : L"alter table procs alter column proc_name varchar(60) null";
    const std::wstring back = isPostgreSql()
                                  ? L"delete from procs; alter table procs alter column proc_name set not null"
                                  : L"delete from procs; alter table procs alter column proc_name"
                                    L" varchar(60) not null";
    const Sabotage nullable(destination(), change, back);
    destination().execute(L"insert into procs (unid, proc_name, mod_date) values (7, null, '2025-03-11T09:15:00')");
    expectOneWayFailure(runFailure({{.method = ONE_WAY, .table = L"procs"}}), L"procs", 94,
                        testing::Eq(L"Invalid use of Null"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(BadRows, ConflictWhoseDescriptionHasNoRowIsNotSaved)
{
    destination().execute(L"insert into patient_dates (unid, patient_id, date_type, mod_date) values"
                          L" (7, 5, 'of nobody', '2025-03-11T09:15:00')");
    expectOneWayFailure(runFailure({{.method = ONE_WAY, .table = L"patient_dates"}}), L"patient_dates", kNoCurrentRow,
                        Not(IsEmpty()));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(BadRows, ConflictThatCannotBeInsertedEndsTheTable)
{
    addUser(source(), 6, L"changed", kNew);
    addUser(destination(), 6, L"before", kOld);
    addUser(destination(), 7, L"new", kNew);
    {
        const FailingRows failing(local(), L"replication_conflict", L"conflict_type = 3");
        expectOneWayFailure(runFailure({kUsers}), L"users", kConstraintFailed, Not(IsEmpty()));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"6|changed", L"7|new"));
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(replicate(kUsers), (Counters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|new"));
}

TEST_F(BadRows, ConflictWhoseColumnsCannotBeInsertedLeavesItsHeader)
{
    addUser(destination(), 7, L"new", kNew);
    const FailingRows failing(local(), L"replication_conflict_data", L"field_name = 'user_name'");
    expectOneWayFailure(runFailure({kUsers}), L"users", kConstraintFailed, Not(IsEmpty()));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|new"));
    EXPECT_THAT(conflictData(), ElementsAre(L"unid|<Null>|7"));
}

TEST_F(BadRows, ErrorThatCannotBeRecordedEndsTheRun)
{
    addUser(destination(), 7, L"new", kNew);
    const FailingRows failing(local(), L"replication_control", L"error_message is not null");
    EXPECT_THAT(runFailure({kUsers}), isError(kConstraintFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_FALSE(local().hasPatientKey());
}

TEST_F(BadRows, RowThatTheDestinationRefusesLeavesTheRowsBeforeIt)
{
    addUser(source(), 6, L"changed", kNew);
    addUser(destination(), 6, L"before", kOld);
    addUser(source(), 7, L"refused", kNew);
    {
        const FailingRows failing(destination(), L"users", L"user_name = 'refused'");
        expectOneWayFailure(runFailure({kUsers}), L"users", kConstraintFailed, Not(IsEmpty()));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"6|changed"));
    resetError(source());
    EXPECT_EQ(replicate(kUsers), (Counters{.destAdd = 1}));
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_TRUE(local().hasPatientKey());
}

class BadRowsOnDisplay : public OnDisplay<BadRows>
{
};

TEST_F(BadRowsOnDisplay, ColumnTypeThatIsNotSupportedIsShownAndFailsTheTable)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, share real, mod_date " + dateType());
    addOwnRow(source(), L"unid, share, mod_date", L"7, 0.5, '2025-03-11T09:15:00'");
    const MessageBoxes boxes;
    expectOneWayFailure(runFailure({kOwnTable}), kOwnTable.table, kStatementFailed, Not(IsEmpty()));
    EXPECT_THAT(boxes.texts(), ElementsAre(L"ado type not coded, see debug"));
    EXPECT_EQ(destination().count(kOwnTable.table), 0);
}

TEST_F(BadRowsOnDisplay, NullOfAnUnsupportedTypeIsCopied)
{
    const OwnTable table = createOwnTable(L"unid int not null primary key, share real, mod_date " + dateType());
    addOwnRow(source(), L"unid, share, mod_date", L"7, null, '2025-03-11T09:15:00'");
    const MessageBoxes boxes;
    EXPECT_EQ(replicate(kOwnTable), (Counters{.destAdd = 1}));
    EXPECT_THAT(boxes.texts(), IsEmpty());
    EXPECT_EQ(destination().row(L"select unid, share from replication_test"), L"7|<Null>");
}

TEST_F(BadRowsOnDisplay, RowThatVanishesBetweenListingAndReadingEndsTheTable)
{
    addUser(source(), 7, L"vanishing", kNewer);
    addUser(destination(), 7, L"before", kNew);
    MessageBoxes boxes;
    boxes.whileShown([&] { source().execute(L"delete from users"); });
    EXPECT_THAT(runFailure({{.method = TWO_WAY, .table = L"users"}}),
                isError(kNoCurrentRow, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_THAT(boxes.texts(), ElementsAre(L"replication conflict"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|before"));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
}

} // namespace
