#include "BadInput.h"
#include "support/Sabotage.h"
#include "support/PracticeNeeds.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const TablePlan kUsers{.method = ONE_WAY_ALLOW_DELETES, .table = L"users"};

/// A run in which a connection ends in the middle of a statement.
class CutRun : public OnPostgreSql<BadInput>
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

    void expectFailedRun(const com::Error& error)
    {
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

TEST_F(CutRun, InAnUpdateFailsTheTableAndRecordsIt)
{
    addRows();
    {
        const CutConnection cut(destination(), L"users", L"update", L"new.unid = 8");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_EQ(destination().row(L"select user_name from users where unid = 8"), L"before");
    EXPECT_EQ(destination().row(L"select count(*) from users where unid > 8"), L"2");
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_THAT(counts(), IsEmpty());
    expectRepaired();
}

TEST_F(CutRun, InAnInsertKeepsTheUpdatesBeforeIt)
{
    addRows();
    {
        const CutConnection cut(destination(), L"users", L"insert", L"new.unid = 10");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_THAT(destination().rows(L"select unid, user_name from users where unid in (7, 8, 10) order by unid"),
                ElementsAre(L"7|changed", L"8|changed"));
    EXPECT_EQ(destination().row(L"select count(*) from users where user_name = 'gone'"), L"2");
    EXPECT_FALSE(local().hasPatientKey());
    expectRepaired();
}

TEST_F(CutRun, InADeleteKeepsTheUpdatesAndInsertsBeforeIt)
{
    addRows();
    {
        const CutConnection cut(destination(), L"users", L"delete", L"old.unid = 12");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_THAT(destination().rows(L"select unid, user_name from users where unid <> 11 order by unid"),
                ElementsAre(L"7|changed", L"8|changed", L"9|new", L"10|new", L"12|gone"));
    expectRepaired();
}

TEST_F(CutRun, InTheCountsKeepsAllRows)
{
    addRows();
    {
        const CutConnection cut(local(), L"replication_counts", L"insert", L"new.count_name = 'users errors'");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectRepaired();
}

TEST_F(CutRun, InTheControlRecordKeepsTheIntervalAndTheRestoredKey)
{
    addRows();
    {
        const CutConnection cut(local(), L"replication_control", L"update",
                                L"new.last_timestamp <> old.last_timestamp");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_TRUE(local().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectRepaired();
}

TEST_F(CutRun, InAFullCopyLeavesTheDestinationEmptyUntilTheNextRun)
{
    for (const wchar_t* name : {L"a", L"b"})
        source().execute(L"insert into config (category, config_name) values ('run', '" + std::wstring(name) + L"')");
    destination().execute(L"insert into config (category, config_name) values ('run', 'stale')");
    {
        const CutConnection cut(destination(), L"config", L"insert", L"new.config_name = 'b'");
        expectFailedRun(runFailure({kConfig}));
    }
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(replicate(kConfig), (Counters{.destAdd = 2}));
    EXPECT_EQ(destination().rows(L"select * from config order by config_name"),
              source().rows(L"select * from config order by config_name"));
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(CutRun, InAConflictLeavesNoPartOfIt)
{
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNewer);
    {
        const CutConnection cut(local(), L"replication_conflict", L"insert", L"new.conflict_type = 1");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(replicate(kUsers), (Counters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|source"));
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(CutRun, InAnyStepOfTwoWayIsRepairedByTheNextRun)
{
    const TablePlan twoWay{.method = TWO_WAY, .table = L"users"};
    struct Step
    {
        const PracticeSide& side;
        const wchar_t* event;
        const wchar_t* condition;
    };
    for (const Step& step :
         {Step{destination(), L"update", L"new.unid = 8"}, Step{source(), L"update", L"new.unid = 7"},
          Step{destination(), L"insert", L"new.unid = 9"}, Step{source(), L"insert", L"new.unid = 10"}})
    {
        SCOPED_TRACE(step.condition);
        emptyTables();
        restoreControl();
        addUser(source(), 7, L"before", kOld);
        addUser(destination(), 7, L"changed", kNew);
        addUser(source(), 8, L"changed", kNew);
        addUser(destination(), 8, L"before", kOld);
        addUser(source(), 9, L"new", kNew);
        addUser(destination(), 10, L"new", kNew);
        {
            const CutConnection cut(step.side, L"users", step.event, step.condition);
            expectFailedRun(runFailure({twoWay}));
        }
        EXPECT_FALSE(local().hasPatientKey());
        EXPECT_EQ(recordedError(), L"none");
        EXPECT_EQ(replicate(twoWay), Counters{});
        EXPECT_THAT(users(source()), ElementsAre(L"7|changed", L"8|changed", L"9|new", L"10|new"));
        EXPECT_EQ(users(destination()), users(source()));
        EXPECT_TRUE(local().hasPatientKey());
    }
}

TEST_F(CutRun, RowThatVanishesBetweenListingAndReadingEndsTheTableAndKeepsTheRowsBefore)
{
    addRows();
    {
        // The update of 7 or 8, whichever comes first, takes the new row 9 away from the source.
        const Sabotage function(destination(),
                                L"create or replace function take_away() returns trigger language plpgsql as 'begin "
                                L"delete from " +
                                    host().sourcePrefix + L"users where unid = 8; return new; end'",
                                L"drop function take_away()");
        const Sabotage trigger(destination(),
                               L"create trigger take_away before update on users for each row when (new.unid = 7) "
                               L"execute function take_away()",
                               L"drop trigger take_away on users");
        expectFailedRun(runFailure({kUsers}));
    }
    EXPECT_EQ(destination().row(L"select user_name from users where unid = 7"), L"changed");
    EXPECT_EQ(destination().row(L"select user_name from users where unid = 8"), L"before");
    EXPECT_FALSE(local().hasPatientKey());
    addUser(source(), 8, L"changed", kNew);
    expectRepaired();
}

class CutResolution : public CutRun
{
};

TEST_F(CutResolution, LeavesTheConflictToBeResolvedAgain)
{
    constexpr wchar_t kInsert[] = L"insert into shortcut (unid, item_name, mod_date) values"
                                  L" ('{0F8FAD5B-D9CB-469F-A165-70867728950E}', '";
    runAt(LAPTOP);
    source().execute(kInsert + std::wstring(L"of the source', '") + kNew + L"')");
    destination().execute(kInsert + std::wstring(L"of the destination', '") + kNewer + L"')");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"shortcut"}), (Counters{.conflict = 1}));
    const auto resolve = [&] {
        connect();
        const std::shared_ptr<void> connected(nullptr, [this](void*) { disconnect(); });
        const com::Dispatch recordset =
            com::Dispatch::from(local().connection().call(L"Execute", {L"select * from replication_conflict"}));
        _variant_t none;
        ConflictObject conflict;
        com::checkCall(factory().createConflict(&none, conflict.GetAddressOf()));
        const com::Dispatch late(conflict.Get());
        late.call(L"loadFromRs", {_variant_t(recordset.get())});
        recordset.call(L"Close");
        late.put(L"iResolutionType", static_cast<long>(USE_SOURCE));
        return com::toBool(late.call(L"resolve"));
    };
    {
        const CutConnection cut(destination(), L"shortcut", L"update", L"new.item_name = 'of the source'");
        EXPECT_EQ(raised(resolve).source, L"clsConflict.resolve");
    }
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"of the destination");
    EXPECT_EQ(conflicts().size(), 1U);
    EXPECT_TRUE(resolve());
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"of the source");
    EXPECT_THAT(conflicts(), IsEmpty());
}

} // namespace
