#include "support/MessageBoxes.h"
#include "support/PracticeNeeds.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const TablePlan kUsers{.method = TWO_WAY, .table = L"users"};
const TablePlan kUsersNoDeletes{.method = TWO_WAY_NO_DELETES, .table = L"users"};

constexpr const wchar_t* kZeroCounts[] = {L"users adds=0",   L"users adds=0",    L"users deletes=0", L"users deletes=0",
                                          L"users errors=0", L"users updates=0", L"users updates=0"};

struct Place
{
    enumReplicationUniqueId site;
    TablePlan plan;
};

void PrintTo(const Place& place, std::ostream* stream)
{
    *stream << (place.site == OFFICES ? "offices" : "laptop") << ", method " << place.plan.method;
}

/// Copies that need nobody to answer: the same at both sites and for both methods. They report no counter.
class TwoWay : public PracticePair, public testing::WithParamInterface<Place>
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        runAt(GetParam().site);
    }

    Counters run()
    {
        const MessageBoxes boxes;
        const Counters counters = replicate(GetParam().plan);
        EXPECT_THAT(boxes.texts(), IsEmpty());
        return counters;
    }
};

INSTANTIATE_TEST_SUITE_P(Places, TwoWay,
                         testing::Values(Place{OFFICES, kUsers}, Place{OFFICES, kUsersNoDeletes}, Place{LAPTOP, kUsers},
                                         Place{LAPTOP, kUsersNoDeletes}),
                         [](const testing::TestParamInfo<Place>& info) {
                             return std::string(info.param.site == OFFICES ? "Offices" : "Laptop") +
                                    (info.param.plan.method == TWO_WAY ? "" : "NoDeletes");
                         });

TEST_P(TwoWay, RowChangedInTheSourceIsUpdatedInTheDestination)
{
    addUser(source(), 7, L"changed", kNew);
    addUser(destination(), 7, L"before", kOld);
    EXPECT_EQ(run(), Counters{});
    EXPECT_EQ(destination().rows(L"select * from users"), source().rows(L"select * from users"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|changed"));
}

TEST_P(TwoWay, RowChangedInTheDestinationIsUpdatedInTheSource)
{
    addUser(source(), 7, L"before", kOld);
    addUser(destination(), 7, L"changed", kNew);
    EXPECT_EQ(run(), Counters{});
    EXPECT_EQ(destination().rows(L"select * from users"), source().rows(L"select * from users"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|changed"));
}

TEST_P(TwoWay, NewRowsGoToTheOtherSide)
{
    addUser(source(), 7, L"of the source", kNew);
    addUser(destination(), 8, L"of the destination", kLastRun);
    EXPECT_EQ(run(), Counters{});
    EXPECT_THAT(users(source()), ElementsAre(L"7|of the source", L"8|of the destination"));
    EXPECT_EQ(destination().rows(L"select * from users order by unid"),
              source().rows(L"select * from users order by unid"));
}

TEST_P(TwoWay, RowsOfTheSameSecondAreLeft)
{
    addUser(source(), 7, L"source", L"2025-03-10T12:00:00.300");
    addUser(destination(), 7, L"destination", L"2025-03-10T12:00:00.000");
    EXPECT_EQ(run(), Counters{});
    EXPECT_THAT(users(source()), ElementsAre(L"7|source"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
}

TEST_P(TwoWay, RowsASecondApartAreCopied)
{
    addUser(source(), 7, L"source", L"2025-03-10T12:00:00");
    addUser(destination(), 7, L"destination", L"2025-03-10T12:00:01");
    EXPECT_EQ(run(), Counters{});
    EXPECT_THAT(users(source()), ElementsAre(L"7|destination"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
}

TEST_P(TwoWay, RowsOfTheSameDateOrFromBeforeTheLastRunAreLeft)
{
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNew);
    addUser(source(), 8, L"source", kOld);
    addUser(destination(), 8, L"destination", kOlder);
    EXPECT_EQ(run(), Counters{});
    EXPECT_THAT(users(source()), ElementsAre(L"7|source", L"8|source"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination", L"8|destination"));
}

TEST_P(TwoWay, CountsAndSummaryStayAtZeroAndNothingIsRecorded)
{
    addUser(source(), 7, L"of the source", kNew);
    EXPECT_EQ(run(), Counters{});
    EXPECT_THAT(counts(), ElementsAreArray(kZeroCounts));
    EXPECT_TRUE(logged(L": STAT : Replicated table: users\r\n\tAdds to source: 0\r\n\tUpdates to source: 0\r\n"
                       L"\tDeletes to source: 0\r\n\tAdds to destination: 0\r\n\tUpdates to destination: 0\r\n"
                       L"\tDeletes to destination: 0\r\n\tErrors: 0\r\n"));
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(recordedError(), L"none");
}

class TwoWayRows : public PracticePair
{
};

TEST_F(TwoWayRows, OfAGuidKeyKeepTheirValuesInBothDirections)
{
    const std::wstring columns = L"insert into chart_item (unid, chart_hdr_id, patient_id, proc_id, tooth, surface,"
                                 L" treatment_date, fee, hours, completed_f, mod_date) values ('";
    const std::wstring values = L"', '{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 5, null, 18, 'MOD',"
                                L" '2025-01-02T00:00:00', -12.3456, 0.25, 1, '2025-03-11T09:15:00')";
    source().execute(columns + L"{11111111-0000-0000-0000-000000000001}" + values);
    destination().execute(columns + L"{22222222-0000-0000-0000-000000000002}" + values);
    EXPECT_EQ(replicate({.method = TWO_WAY, .table = L"chart_item"}), Counters{});
    const std::wstring rest = L"|{7C9E6679-7425-40DE-944B-E07FC1F90AE7}|5|<Null>|18|MOD|2025-01-02 00:00:00.000|"
                              L"-12.3456|0.25|True|2025-03-11 09:15:00.000";
    for (const PracticeSide* side : {&source(), &destination()})
        EXPECT_THAT(side->rows(L"select * from chart_item order by unid"),
                    ElementsAre(L"{11111111-0000-0000-0000-000000000001}" + rest,
                                L"{22222222-0000-0000-0000-000000000002}" + rest));
}

TEST_F(TwoWayRows, OfPatientsKeepTheLockOfEachSide)
{
    source().execute(L"insert into patient (unid, full_name, lock_f, mod_date) values (5, 'Noël', 1, '" +
                     std::wstring(kNew) + L"')");
    destination().execute(L"insert into patient (unid, full_name, address1, lock_f, mod_date) values (5, 'Noel', 'x',"
                          L" 0, '" +
                          std::wstring(kOld) + L"')");
    EXPECT_EQ(replicate({.method = TWO_WAY, .table = L"patient"}), Counters{});
    EXPECT_EQ(destination().row(L"select unid, full_name, address1, lock_f from patient"), L"5|Noël|<Null>|False");
    EXPECT_EQ(source().row(L"select unid, full_name, address1, lock_f from patient"), L"5|Noël|<Null>|True");
}

class TwoWayNotices : public OnDisplay<PracticePair>
{
protected:
    std::vector<std::wstring> noticesOf(const TablePlan& plan)
    {
        const MessageBoxes boxes;
        EXPECT_EQ(replicate(plan), Counters{});
        for (const ShownBox& box : boxes.shown()) {
            EXPECT_EQ(box.title, L"QuinmarkRepDLL");
            EXPECT_EQ(box.buttons, std::vector<std::wstring>{L"OK"});
        }
        return boxes.texts();
    }
};

TEST_F(TwoWayNotices, RowChangedOnBothSidesIsAnnouncedAndTheLaterOneCopied)
{
    addUser(source(), 7, L"later", kNewer);
    addUser(destination(), 7, L"earlier", kNew);
    addUser(source(), 8, L"earlier", kNew);
    addUser(destination(), 8, L"later", kNewer);
    EXPECT_THAT(noticesOf(kUsers), ElementsAre(L"replication conflict", L"replication conflict"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|later", L"8|later"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|later", L"8|later"));
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_THAT(counts(), ElementsAreArray(kZeroCounts));
}

TEST_F(TwoWayNotices, RowChangedOnBothSidesInTheSameSecondIsAnnouncedAndLeft)
{
    addUser(source(), 7, L"source", L"2025-03-11T09:15:00.300");
    addUser(destination(), 7, L"destination", L"2025-03-11T09:15:00.000");
    EXPECT_THAT(noticesOf(kUsersNoDeletes), ElementsAre(L"replication conflict"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|source"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
}

TEST_F(TwoWayNotices, OldRowsOfOneSideAreAnnouncedForDeletionAndCopied)
{
    addUser(source(), 7, L"of the source", kOld);
    addUser(destination(), 8, L"of the destination", kOld);
    EXPECT_THAT(noticesOf(kUsers), ElementsAre(L"TODO: delete from Nrv", L"TODO: delete from ZT"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|of the source", L"8|of the destination"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|of the source", L"8|of the destination"));
}

TEST_F(TwoWayNotices, OldRowsOfOneSideAreAnnouncedAsConflictsWithoutDeletesAndCopied)
{
    runAt(LAPTOP);
    addUser(source(), 7, L"of the source", kOld);
    addUser(destination(), 8, L"of the destination", kOld);
    EXPECT_THAT(noticesOf(kUsersNoDeletes),
                ElementsAre(L"replication conflict - new row on Nrv users table before last Replicate date",
                            L"replication conflict - new row on ZT users table before last Replicate date"));
    EXPECT_THAT(users(source()), ElementsAre(L"7|of the source", L"8|of the destination"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|of the source", L"8|of the destination"));
    EXPECT_THAT(counts(), ElementsAreArray(kZeroCounts));
}

} // namespace
