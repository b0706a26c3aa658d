#include "BadInput.h"
#include "support/Sabotage.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const TablePlan kUsers{.method = ONE_WAY_ALLOW_DELETES, .table = L"users"};

/// A run in which a connection ends in the middle of a statement.
class CutRun : public NeedsPostgreSql<BadInput>
{
protected:
    /// Two rows to update, to insert and to delete.
    void addRows()
    {
        for (const int key : {7, 8}) {
            addUser(source(), key, L"changed", kNew);
            addUser(destination(), key, L"before", kOld);
        }
        for (const int key : {9, 10})
            addUser(source(), key, L"new", kNew);
        for (const int key : {11, 12})
            addUser(destination(), key, L"gone", kOld);
    }

    void expectFailedRun(const TablePlan& plan)
    {
        const com::Error error = runFailure({plan});
        EXPECT_LT(error.number, 0);
        EXPECT_EQ(error.source, L"clsReplicate.go");
        EXPECT_THAT(error.description, Not(IsEmpty()));
        EXPECT_EQ(local().row(L"select last_timestamp from replication_control where unique_key = 0"),
                  L"2025-03-10 12:00:00.000");
    }

    /// The next run, on new connections, brings both sides together.
    void expectRepaired()
    {
        resetError(local());
        replicate(kUsers);
        EXPECT_EQ(destination().rows(L"select * from users order by unid"),
                  source().rows(L"select * from users order by unid"));
        EXPECT_THAT(users(destination()), ElementsAre(L"7|changed", L"8|changed", L"9|new", L"10|new"));
        EXPECT_EQ(recordedError(), L"none");
        EXPECT_TRUE(local().hasPatientKey());
        EXPECT_TRUE(controlRecord().starts_with(L"False|False|"));
        EXPECT_THAT(conflicts(), IsEmpty());
    }
};

/// The point at which the connection ends: the first `event` of a row of `table` that fits `condition`. The other
/// members are the state after it: the destination's users, whether the run's error is recorded, and whether the tables
/// are done (their counts written and the patients' foreign key restored).
struct CutPoint
{
    const char* name;
    const wchar_t* table;
    const wchar_t* event;
    const wchar_t* condition;
    std::vector<std::wstring> left;
    bool isRecorded;
    bool tablesAreDone;
};

void PrintTo(const CutPoint& point, std::ostream* stream)
{
    *stream << point.name;
}

const std::vector<std::wstring> kAllCopied = {L"7|changed", L"8|changed", L"9|new", L"10|new"};

class CutAt : public CutRun, public testing::WithParamInterface<CutPoint>
{
protected:
    /// The control tables are the source's, the office's own.
    const PracticeSide& side() const { return GetParam().table == std::wstring(L"users") ? destination() : source(); }
};

INSTANTIATE_TEST_SUITE_P(Points, CutAt,
                         testing::Values(CutPoint{"Update",
                                                  L"users",
                                                  L"update",
                                                  L"new.unid = 8",
                                                  {L"7|changed", L"8|before", L"11|gone", L"12|gone"},
                                                  true,
                                                  false},
                                         CutPoint{"Insert",
                                                  L"users",
                                                  L"insert",
                                                  L"new.unid = 10",
                                                  {L"7|changed", L"8|changed", L"9|new", L"11|gone", L"12|gone"},
                                                  true,
                                                  false},
                                         CutPoint{"Delete",
                                                  L"users",
                                                  L"delete",
                                                  L"old.unid = 12",
                                                  {L"7|changed", L"8|changed", L"9|new", L"10|new", L"12|gone"},
                                                  true,
                                                  false},
                                         CutPoint{"Counts", L"replication_counts", L"insert",
                                                  L"new.count_name = 'users errors'", kAllCopied, false, false},
                                         CutPoint{"ControlRecord", L"replication_control", L"update",
                                                  L"new.last_timestamp <> old.last_timestamp", kAllCopied, false,
                                                  true}),
                         [](const auto& info) { return info.param.name; });

TEST_P(CutAt, FailsTheRunKeepsTheRowsBeforeAndIsRepairedByTheNext)
{
    const CutPoint& point = GetParam();
    addRows();
    {
        const CutConnection cut(side(), point.table, point.event, point.condition);
        expectFailedRun(kUsers);
    }
    EXPECT_EQ(users(destination()), point.left);
    EXPECT_THAT(recordedError(),
                StartsWith(point.isRecorded ? L"error: clsReplicateTable.replicateOneWay: " : L"none"));
    EXPECT_EQ(local().hasPatientKey(), point.tablesAreDone);
    EXPECT_EQ(counts().empty(), !point.tablesAreDone);
    expectRepaired();
}

TEST_F(CutRun, InAFullCopyLeavesTheDestinationEmptyUntilTheNextRun)
{
    source().execute(L"insert into config (category, config_name) values ('run', 'a'), ('run', 'b')");
    destination().execute(L"insert into config (category, config_name) values ('run', 'stale')");
    {
        const CutConnection cut(destination(), L"config", L"insert", L"new.config_name = 'b'");
        expectFailedRun(kConfig);
    }
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_FALSE(local().hasPatientKey());
    expectGoodRun();
}

TEST_F(CutRun, InAConflictLeavesNoPartOfIt)
{
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNewer);
    {
        const CutConnection cut(local(), L"replication_conflict", L"insert", L"new.conflict_type = 1");
        expectFailedRun(kUsers);
    }
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(replicate(kUsers), (TableCounters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|source"));
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(CutRun, InAnyStepOfTwoWayIsRepairedByTheNextRun)
{
    const TablePlan twoWay{.method = TWO_WAY, .table = L"users"};
    for (const auto& [side, event, condition] :
         {std::tuple(&destination(), L"update", L"new.unid = 8"), std::tuple(&source(), L"update", L"new.unid = 7"),
          std::tuple(&destination(), L"insert", L"new.unid = 9"), std::tuple(&source(), L"insert", L"new.unid = 10")})
    {
        SCOPED_TRACE(condition);
        emptyTables();
        restoreControl();
        addUser(source(), 7, L"before", kOld);
        addUser(destination(), 7, L"changed", kNew);
        addUser(source(), 8, L"changed", kNew);
        addUser(destination(), 8, L"before", kOld);
        addUser(source(), 9, L"new", kNew);
        addUser(destination(), 10, L"new", kNew);
        {
            const CutConnection cut(*side, L"users", event, condition);
            expectFailedRun(twoWay);
        }
        EXPECT_FALSE(local().hasPatientKey());
        EXPECT_EQ(recordedError(), L"none");
        EXPECT_EQ(replicate(twoWay), TableCounters{});
        EXPECT_EQ(users(source()), kAllCopied);
        EXPECT_EQ(users(destination()), kAllCopied);
        EXPECT_TRUE(local().hasPatientKey());
    }
}

TEST_F(CutRun, RowThatVanishesBetweenListingAndReadingEndsTheTableAndKeepsTheRowsBefore)
{
    addRows();
    {
        // Row 8 goes away while 7, which comes first, is written.
        const Sabotage takenAway(destination(),
                                 trigger(L"users", L"update", L"new.unid = 7",
                                         L"delete from " + host().sourcePrefix + L"users where unid = 8;"));
        expectFailedRun(kUsers);
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"7|changed", L"8|before", L"11|gone", L"12|gone"));
    EXPECT_FALSE(local().hasPatientKey());
    addUser(source(), 8, L"changed", kNew);
    expectRepaired();
}

} // namespace
