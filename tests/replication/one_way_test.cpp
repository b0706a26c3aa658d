#include "com/convert.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const TablePlan kUsers{.method = ONE_WAY, .table = L"users"};
const TablePlan kUsersWithDeletes{.method = ONE_WAY_ALLOW_DELETES, .table = L"users"};

class OneWay : public PracticePair
{
protected:
    void addToBoth(int key, const std::wstring& name)
    {
        addUser(source(), key, name, kOlder);
        addUser(destination(), key, name, kOlder);
    }

    std::wstring conflictDates()
    {
        return local().row(L"select unique_key, source_mod_date, destination_mod_date from replication_conflict");
    }

    static std::vector<std::wstring> countsOf(const Counters& counters)
    {
        return {L"users adds=" + std::to_wstring(counters.destAdd),
                L"users conflicts=" + std::to_wstring(counters.conflict),
                L"users deletes=" + std::to_wstring(counters.destDelete),
                L"users errors=" + std::to_wstring(counters.error),
                L"users updates=" + std::to_wstring(counters.destUpdate)};
    }

    std::wstring changesNotAllowed()
    {
        return L"error: Changed on both databases - Destination(" + destination().name() + L") changes are not allowed";
    }
};

class OneWayAtOffices : public OneWay
{
};

class OneWayAtLaptop : public OneWay
{
protected:
    void SetUp() override
    {
        OneWay::SetUp();
        runAt(LAPTOP);
    }
};

/// What is the same at both sites.
class OneWayAtBothSites : public OneWay, public testing::WithParamInterface<enumReplicationUniqueId>
{
protected:
    void SetUp() override
    {
        OneWay::SetUp();
        runAt(GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Sites, OneWayAtBothSites, testing::Values(OFFICES, LAPTOP),
                         [](const testing::TestParamInfo<enumReplicationUniqueId>& info) {
                             return info.param == OFFICES ? "Offices" : "Laptop";
                         });

TEST_P(OneWayAtBothSites, RowChangedInTheSourceIsUpdatedInTheDestination)
{
    addToBoth(7, L"Ada");
    changeUser(source(), 7, L"Bela", kNew);
    const Counters counters = replicate(kUsers);
    EXPECT_THAT(users(source()), ElementsAre(L"7|Bela"));
    EXPECT_EQ(destination().rows(L"select * from users"), source().rows(L"select * from users"));
    EXPECT_EQ(counters, (Counters{.destUpdate = 1}));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_P(OneWayAtBothSites, NewSourceRowIsInsertedEvenWithTheLastRunsOwnDate)
{
    addUser(source(), 7, L"Ada", kNew);
    addUser(source(), 8, L"Bela", kLastRun);
    const Counters counters = replicate(kUsers);
    EXPECT_EQ(destination().rows(L"select * from users order by unid"),
              source().rows(L"select * from users order by unid"));
    EXPECT_EQ(counters, (Counters{.destAdd = 2}));
    EXPECT_EQ(counts(), countsOf(counters));
}

TEST_P(OneWayAtBothSites, DatesUpToTwoSecondsApartCountAsEqual)
{
    addUser(source(), 7, L"left", L"2025-03-11T09:15:02");
    addUser(destination(), 7, L"Ada", L"2025-03-11T09:15:00");
    addUser(source(), 8, L"left", L"2025-03-11T09:15:00");
    addUser(destination(), 8, L"Bela", L"2025-03-11T09:15:01");
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada", L"8|Bela"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_P(OneWayAtBothSites, DatesThreeSecondsApartAreCopied)
{
    addUser(source(), 7, L"copied", L"2025-03-10T12:00:02");
    addUser(destination(), 7, L"Ada", L"2025-03-10T11:59:59");
    EXPECT_EQ(replicate(kUsers), (Counters{.destUpdate = 1}));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|copied"));
}

TEST_P(OneWayAtBothSites, RowsOfTheSameDateAreNotComparedFurther)
{
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNew);
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
}

TEST_P(OneWayAtBothSites, DifferencesFromBeforeTheLastRunAreLeft)
{
    addUser(source(), 7, L"source", kOld);
    addUser(destination(), 7, L"destination", kOlder);
    addUser(source(), 8, L"source", kLastRun);
    addUser(destination(), 8, L"destination", kOlder);
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination", L"8|destination"));
}

TEST_P(OneWayAtBothSites, RowChangedOnBothSidesIntoTheSameIsNoConflict)
{
    addUser(source(), 7, L"Ada", kNew);
    addUser(destination(), 7, L"Ada", kNewer);
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(OneWayAtOffices, RowChangedOnBothSidesIsReportedAndLeft)
{
    addToBoth(7, L"Ada");
    changeUser(source(), 7, L"source", kNew);
    changeUser(destination(), 7, L"destination", kNewer);
    const Counters counters = replicate(kUsers);
    EXPECT_THAT(users(source()), ElementsAre(L"7|source"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
    EXPECT_EQ(counters, (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), changesNotAllowed());
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|source"));
    EXPECT_THAT(conflictData(), ElementsAre(L"user_name|source|destination"));
    EXPECT_EQ(conflictDates(), L"0|2025-03-11 09:15:00.000|2025-03-12 10:45:00.000");
    EXPECT_TRUE(logged(L"Replication Discrepancy (mismatch) on table: users --> Unid: 7\r\n"));
}

TEST_F(OneWayAtLaptop, RowChangedOnBothSidesIsAConflictButNoError)
{
    addToBoth(7, L"Ada");
    changeUser(source(), 7, L"source", kNewer);
    changeUser(destination(), 7, L"destination", kNew);
    const Counters counters = replicate(kUsers);
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
    EXPECT_EQ(counters, (Counters{.conflict = 1}));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|source"));
    EXPECT_EQ(conflictDates(), L"1|2025-03-12 10:45:00.000|2025-03-11 09:15:00.000");
    EXPECT_TRUE(logged(L"Replication Discrepancy (mismatch) on table: users --> Unid: 7\r\n"));
}

TEST_F(OneWayAtOffices, RowChangedInTheDestinationIsAnErrorWithoutADump)
{
    addToBoth(7, L"Ada");
    changeUser(destination(), 7, L"destination", kNew);
    const Counters counters = replicate(kUsers);
    EXPECT_THAT(users(source()), ElementsAre(L"7|Ada"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
    EXPECT_EQ(counters, (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(recordedError(), changesNotAllowed());
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|4|destination"));
    EXPECT_THAT(conflictData(), ElementsAre(L"user_name|Ada|destination"));
    EXPECT_FALSE(logged(L"Replication Discrepancy"));
}

TEST_F(OneWayAtOffices, SourceRowOfTheLastRunsOwnDateCountsAsUnchanged)
{
    addUser(source(), 7, L"source", kLastRun);
    addUser(destination(), 7, L"destination", kNew);
    EXPECT_EQ(replicate(kUsers), (Counters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|4|destination"));
}

TEST_F(OneWayAtLaptop, RowChangedInTheDestinationIsLeftSilently)
{
    addToBoth(7, L"Ada");
    changeUser(destination(), 7, L"destination", kNew);
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(users(source()), ElementsAre(L"7|Ada"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(OneWayAtOffices, OldRowThatTheDestinationLacksWasDeletedThere)
{
    addUser(source(), 7, L"Ada", kOld);
    const Counters counters = replicate(kUsersWithDeletes);
    EXPECT_THAT(users(destination()), IsEmpty());
    EXPECT_EQ(counters, (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), L"error: Deleted in destination(" + destination().name() +
                                   L") - Destination deletes will not replicate properly");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|2|Ada"));
    EXPECT_THAT(conflictData(), ElementsAre(L"access_level|1|<Null>", L"active_f|True|<Null>",
                                            L"initials|<Null>|<Null>", L"unid|7|<Null>", L"user_name|Ada|<Null>"));
    EXPECT_EQ(conflictDates(), L"0|2025-03-01 08:30:00.000|<Null>");
    EXPECT_TRUE(logged(L"Replication Discrepancy (delete) on table: users --> Unid: 7\r\n"));
}

TEST_F(OneWayAtLaptop, OldRowThatTheDestinationLacksIsLeft)
{
    addUser(source(), 7, L"Ada", kOld);
    EXPECT_EQ(replicate(kUsersWithDeletes), Counters{});
    EXPECT_THAT(users(destination()), IsEmpty());
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(OneWayAtOffices, NewDestinationRowIsNotAllowed)
{
    addUser(destination(), 7, L"Ada", kNew);
    const Counters counters = replicate(kUsersWithDeletes);
    EXPECT_THAT(users(source()), IsEmpty());
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
    EXPECT_EQ(counters, (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(recordedError(),
              L"error: New in destination(" + destination().name() + L") - Destination adds are not allowed");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|Ada"));
    EXPECT_EQ(conflictDates(), L"0|<Null>|2025-03-11 09:15:00.000");
    EXPECT_TRUE(logged(L"Replication Discrepancy (delete) on table: users --> Unid: 7\r\n"));
}

TEST_F(OneWayAtLaptop, NewDestinationRowIsLeftSilently)
{
    addUser(destination(), 7, L"Ada", kLastRun);
    EXPECT_EQ(replicate(kUsers), Counters{});
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(OneWayAtOffices, OldDestinationRowIsDeletedWhereDeletesAreAllowed)
{
    addUser(destination(), 7, L"Ada", kOld);
    const Counters counters = replicate(kUsersWithDeletes);
    EXPECT_THAT(users(destination()), IsEmpty());
    EXPECT_EQ(counters, (Counters{.destDelete = 1}));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(OneWayAtOffices, OldDestinationRowIsReportedWhereDeletesAreNotAllowed)
{
    addUser(destination(), 7, L"Ada", kOld);
    EXPECT_EQ(replicate(kUsers), (Counters{.conflict = 1, .error = 1}));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
    EXPECT_EQ(recordedError(), L"error: New in destination(" + destination().name() + L") -OR- Deleted from source(" +
                                   source().name() + L")");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|Ada"));
}

TEST_F(OneWayAtLaptop, OldDestinationRowIsReportedWhateverTheDeletes)
{
    for (const TablePlan& plan : {kUsers, kUsersWithDeletes}) {
        emptyTables();
        restoreControl();
        addUser(destination(), 7, L"Ada", kOld);
        EXPECT_EQ(replicate(plan), (Counters{.conflict = 1, .error = 1}));
        EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
        EXPECT_EQ(recordedError(), L"error: Deleted from source(" + source().name() + L")");
        EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|5|Ada"));
    }
}

TEST_F(OneWayAtOffices, ConflictOfAMissingRowCarriesTheOtherDateLastSeen)
{
    addUser(source(), 7, L"new", kNew);
    addUser(destination(), 8, L"Ada", kNewer);
    EXPECT_EQ(replicate(kUsers), (Counters{.destAdd = 1, .conflict = 1, .error = 1}));
    EXPECT_EQ(conflictDates(), L"0|2025-03-11 09:15:00.000|2025-03-12 10:45:00.000");
}

TEST_F(OneWayAtOffices, SecondGoOfATableObjectKeepsCountingConflictsOnly)
{
    addUser(source(), 6, L"new", kNew);
    addUser(destination(), 7, L"Ada", kNew);
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    const TableObject table = createTable(kUsers);
    go(*run.Get(), {table, table});
    EXPECT_EQ(countersOf(*table.Get()), (Counters{.conflict = 2, .error = 1}));
}

TEST_F(OneWayAtOffices, SummaryNamesAllCounters)
{
    addUser(source(), 6, L"new", kNew);
    addUser(destination(), 7, L"gone", kOld);
    host().logLevel = 2;
    EXPECT_EQ(replicate(kUsersWithDeletes), (Counters{.destAdd = 1, .destDelete = 1}));
    EXPECT_TRUE(log().ends_with(L": STAT : Replicated table: users\r\n\tAdds to destination: 1\r\n\tUpdates to "
                                L"destination: 0\r\n\tDeletes to destination: 1\r\n\tConflicts: 0\r\n\tErrors: 0\r\n"));
}

} // namespace
