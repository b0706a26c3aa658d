#include "BadInput.h"
#include "support/MessageBoxes.h"
#include "support/Sabotage.h"

#include <list>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr long kStatementFailed = static_cast<long>(0x80040E14);
constexpr long kConstraintFailed = static_cast<long>(0x80040E2F);
constexpr long kNoStatement = static_cast<long>(0x80040000 + 3001);
constexpr long kNoCurrentRow = static_cast<long>(0x80040000 + 3021);

const TablePlan kUsers{.method = ONE_WAY, .table = L"users"};
const TablePlan kChairTypes{.method = ONE_WAY, .table = L"chair_type"};
const TablePlan kOwnTable{.method = ONE_WAY, .table = L"replication_test"};

class BadRows : public NeedsDisplay<BadInput>
{
protected:
    void TearDown() override
    {
        undoChanges();
        BadInput::TearDown();
    }

    void change(const PracticeSide& side, const Change& change)
    {
        changes_.push_front(std::make_unique<Sabotage>(side, change));
    }

    /// The last one first.
    void undoChanges() { changes_.clear(); }

    /// A table of the test's own in both databases, addressed by the prefixes like any other.
    void createOwnTable(const std::wstring& columns)
    {
        const Change table{L"create table replication_test (" + columns + L")", L"drop table replication_test"};
        change(source(), table);
        change(destination(), table);
        change(destination(), knownTable(host().sourcePrefix, kOwnTable.table));
        change(source(), knownTable(host().destinationPrefix, kOwnTable.table));
    }

    static void addOwnRow(const PracticeSide& side, const std::wstring& values)
    {
        side.execute(L"insert into replication_test values (" + values + L")");
    }

    /// The same two columns, in another order on each side.
    void addColumnsInAnotherOrder()
    {
        const Change a{L"alter table chair_type add a int", L"alter table chair_type drop column a"};
        const Change b{L"alter table chair_type add b int", L"alter table chair_type drop column b"};
        change(source(), a);
        change(source(), b);
        change(destination(), b);
        change(destination(), a);
        source().execute(L"insert into chair_type (unid, chair_type_name, a, b, mod_date) values"
                         L" (7, 's', 1, 2, '2025-03-11T09:15:00')");
    }

    /// A failed one-way routine: the error that it raises, and its record of it.
    void expectOneWayFailure(const TablePlan& plan, long number, const testing::Matcher<std::wstring>& reason)
    {
        const com::Error error = runFailure({plan});
        const std::wstring routine = L"clsReplicateTable.replicateOneWay";
        EXPECT_THAT(error, isError(number, L"clsReplicate.go", StartsWith(routine + L"(" + plan.table + L"): ")));
        const std::wstring text = error.description.substr(routine.size() + plan.table.size() + 4);
        EXPECT_THAT(text, reason);
        EXPECT_EQ(recordedError(), L"error: " + routine + L": " + text);
        EXPECT_FALSE(local().hasPatientKey());
        EXPECT_TRUE(controlRecord().starts_with(L"True|True|"));
        EXPECT_FALSE(logged(L"Replicated table: " + plan.table));
    }

private:
    std::list<std::unique_ptr<Sabotage>> changes_;
};

TEST_F(BadRows, OfATableWithoutKeyOrModificationDateAreNotReplicated)
{
    for (const auto& [columns, missing] :
         {std::pair(L"name varchar(20), mod_date " + dateType(), L"unid"),
          std::pair(std::wstring(L"unid int not null primary key, name varchar(20)"), L"mod_date")})
    {
        restoreControl();
        createOwnTable(columns);
        addOwnRow(source(), missing == std::wstring(L"unid") ? L"'a', '2025-03-11T09:15:00'" : L"7, 'a'");
        expectOneWayFailure(kOwnTable, kStatementFailed, HasSubstr(missing));
        EXPECT_EQ(destination().count(kOwnTable.table), 0);
        undoChanges();
    }
}

TEST_F(BadRows, OfATwoWayTableWithoutModificationDateAreNotReplicatedNorRecorded)
{
    createOwnTable(L"unid int not null primary key, name varchar(20)");
    addOwnRow(source(), L"7, 'a'");
    EXPECT_THAT(runFailure({{.method = TWO_WAY, .table = kOwnTable.table}}),
                isError(kStatementFailed, L"clsReplicate.go", HasSubstr(L"mod_date")));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(BadRows, WithoutModificationDateEndTheTableUnlessBothSidesHaveThem)
{
    createOwnTable(L"unid int not null primary key, mod_date " + dateType());
    addOwnRow(source(), L"7, null");
    expectOneWayFailure(kOwnTable, 94, testing::Eq(L"Invalid use of Null"));
    resetError(source());
    addOwnRow(destination(), L"7, '2025-03-11T09:15:00'");
    EXPECT_EQ(replicate(kOwnTable), TableCounters{});
}

TEST_F(BadRows, OfAnUnsupportedTypeAreShownAndFailTheTableUnlessTheyAreNull)
{
    createOwnTable(L"unid int not null primary key, share real, mod_date " + dateType());
    addOwnRow(source(), L"7, 0.5, '2025-03-11T09:15:00'");
    const MessageBoxes boxes;
    expectOneWayFailure(kOwnTable, kStatementFailed, Not(IsEmpty()));
    EXPECT_THAT(boxes.texts(), ElementsAre(L"ado type not coded, see debug"));
    EXPECT_EQ(destination().count(kOwnTable.table), 0);
    source().execute(L"update replication_test set share = null");
    resetError(source());
    EXPECT_EQ(replicate(kOwnTable), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(destination().row(L"select unid, share from replication_test"), L"7|<Null>");
    EXPECT_EQ(boxes.texts().size(), 1U);
}

TEST_F(BadRows, WithColumnsInAnotherOrderAreCopiedByTheirNames)
{
    addColumnsInAnotherOrder();
    EXPECT_EQ(replicate(kChairTypes), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(destination().row(L"select unid, a, b from chair_type"), L"7|1|2");
}

TEST_F(BadRows, WithColumnsInAnotherOrderStopTheDumpAfterTheConflictIsSaved)
{
    addColumnsInAnotherOrder();
    destination().execute(
        L"insert into chair_type (unid, chair_type_name, mod_date) values (7, 'd', '2025-03-12T09:15:00')");
    expectOneWayFailure(kChairTypes, kOwnError,
                        testing::Eq(L"Replication Error: Fields out of sync on table: chair_type"));
    EXPECT_THAT(conflicts(), ElementsAre(L"chair_type|7|<Null>|1|s"));
}

TEST_F(BadRows, ThatCannotBeDescribedMakeNoConflict)
{
    change(destination(), nullableColumn(L"procs", L"proc_name", L"varchar(60)"));
    for (const auto& [table, row, number] :
         {std::tuple(L"chart_option_setting",
                     L"(chart_option_id, setting_name, mod_date) values ('{0F8FAD5B-D9CB-469F-A165-70867728950E}', "
                     L"'without a description', '2025-03-11T09:15:00')",
                     kNoStatement),
          std::tuple(L"procs", L"(unid, proc_name, mod_date) values (7, null, '2025-03-11T09:15:00')", 94L),
          std::tuple(L"patient_dates",
                     L"(unid, patient_id, date_type, mod_date) values (7, 5, 'of nobody', '2025-03-11T09:15:00')",
                     kNoCurrentRow)})
    {
        emptyTables();
        restoreControl();
        destination().execute(L"insert into " + std::wstring(table) + L" " + row);
        expectOneWayFailure({.method = ONE_WAY, .table = table}, number, Not(IsEmpty()));
        EXPECT_THAT(conflicts(), IsEmpty());
        EXPECT_EQ(destination().count(table), 1);
    }
    emptyTables();
}

TEST_F(BadRows, WhoseConflictCannotBeInsertedEndTheTable)
{
    addUser(source(), 6, L"changed", kNew);
    addUser(destination(), 6, L"before", kOld);
    addUser(destination(), 7, L"new", kNew);
    {
        const FailingRows failing(local(), L"replication_conflict", L"conflict_type = 3");
        expectOneWayFailure(kUsers, kConstraintFailed, Not(IsEmpty()));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"6|changed", L"7|new"));
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(replicate(kUsers), (TableCounters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|new"));
}

TEST_F(BadRows, WhoseColumnsCannotBeInsertedLeaveTheConflictsHeader)
{
    addUser(destination(), 7, L"new", kNew);
    const FailingRows failing(local(), L"replication_conflict_data", L"field_name = 'user_name'");
    expectOneWayFailure(kUsers, kConstraintFailed, Not(IsEmpty()));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|new"));
    EXPECT_THAT(conflictData(), ElementsAre(L"unid|<Null>|7"));
}

TEST_F(BadRows, WhoseErrorCannotBeRecordedEndTheRun)
{
    addUser(destination(), 7, L"new", kNew);
    const FailingRows failing(local(), L"replication_control", L"error_message is not null");
    EXPECT_THAT(runFailure({kUsers}), isError(kConstraintFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_FALSE(local().hasPatientKey());
}

TEST_F(BadRows, ThatTheDestinationRefusesLeaveTheRowsBeforeThem)
{
    addUser(source(), 6, L"changed", kNew);
    addUser(destination(), 6, L"before", kOld);
    addUser(source(), 7, L"refused", kNew);
    {
        const FailingRows failing(destination(), L"users", L"user_name = 'refused'");
        expectOneWayFailure(kUsers, kConstraintFailed, Not(IsEmpty()));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"6|changed"));
    resetError(source());
    EXPECT_EQ(replicate(kUsers), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(BadRows, ThatVanishBetweenListingAndReadingEndTheTable)
{
    addUser(source(), 7, L"vanishing", kNewer);
    addUser(destination(), 7, L"before", kNew);
    MessageBoxes boxes;
    boxes.whileShown([&] { source().execute(L"delete from users"); });
    EXPECT_THAT(runFailure({{.method = TWO_WAY, .table = L"users"}}),
                isError(kNoCurrentRow, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|before"));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
}

} // namespace
