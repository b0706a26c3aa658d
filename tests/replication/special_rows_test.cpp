#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class PatientRows : public PracticePair
{
protected:
    void addPatient(const PracticeSide& side, const std::wstring& values)
    {
        side.execute(L"insert into patient (unid, full_name, address1, lock_f, mod_date) values (5, " + values + L")");
    }

    static std::wstring patient(const PracticeSide& side)
    {
        return side.row(L"select unid, full_name, address1, lock_f, mod_date from patient");
    }
};

TEST_F(PatientRows, ArriveWithoutLockEmptyTextAndFractionOfASecond)
{
    addPatient(source(), L"'Zoë', '', 1, '2025-03-11T09:15:30.250'");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"patient"}), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(patient(destination()), L"5|Zoë|<Null>|False|2025-03-11 09:15:30.000");
}

TEST_F(PatientRows, KeepTheLockOfEachSide)
{
    for (const enumReplicationMethod method : {ONE_WAY, TWO_WAY}) {
        emptyTables();
        restoreControl();
        addPatient(source(), L"'Zoë', null, 0, '2025-03-11T09:15:30'");
        addPatient(destination(), L"'old', 'old', 1, '2025-02-01T08:30:00'");
        replicate({.method = method, .table = L"Patient"});
        EXPECT_EQ(patient(source()), L"5|Zoë|<Null>|False|2025-03-11 09:15:30.000");
        EXPECT_EQ(patient(destination()), L"5|Zoë|<Null>|True|2025-03-11 09:15:30.000");
    }
}

class ConflictRecords : public PracticePair
{
protected:
    std::wstring conflictDates()
    {
        return local().row(L"select unique_key, source_mod_date, destination_mod_date from replication_conflict");
    }
};

TEST_F(ConflictRecords, OfAMismatchHaveBothDatesAndTheDifferingColumns)
{
    addUser(source(), 7, L"Müller", kNew);
    addUser(destination(), 7, L"Muller", kNewer);
    replicate({.method = ONE_WAY, .table = L"users"});
    EXPECT_EQ(recordedError(),
              L"error: Changed on both databases - Destination(" + destination().name() + L") changes are not allowed");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|Müller"));
    EXPECT_THAT(conflictData(), ElementsAre(L"user_name|Müller|Muller"));
    EXPECT_EQ(conflictDates(), L"0|2025-03-11 09:15:00.000|2025-03-12 10:45:00.000");
    EXPECT_TRUE(logged(L": WARN : Replication Discrepancy (mismatch) on table: users --> Unid: 7\r\n"));
}

TEST_F(ConflictRecords, OfAMissingRowHaveEveryColumnAndTheOtherDateLastSeen)
{
    addUser(source(), 7, L"Müller", kOld);
    replicate({.method = ONE_WAY, .table = L"users"});
    EXPECT_EQ(conflictDates(), L"0|2025-03-01 08:30:00.000|<Null>");
    EXPECT_THAT(conflictData(), ElementsAre(L"access_level|1|<Null>", L"active_f|True|<Null>",
                                            L"initials|<Null>|<Null>", L"unid|7|<Null>", L"user_name|Müller|<Null>"));
    emptyTables();
    restoreControl();
    addUser(source(), 7, L"new", kNew);
    addUser(destination(), 8, L"Ada", kNewer);
    replicate({.method = ONE_WAY, .table = L"users"});
    EXPECT_EQ(conflictDates(), L"0|2025-03-11 09:15:00.000|2025-03-12 10:45:00.000");
}

using DependentRows = PracticePair;

TEST_F(DependentRows, GoWithTheirParents)
{
    const auto key = [](wchar_t digit) {
        return L"'{0F8FAD5B-D9CB-469F-A165-70867728950" + std::wstring{digit, L'}', L'\''};
    };
    const auto add = [&](const PracticeSide& side, wchar_t digit, const std::wstring& setting,
                         const wchar_t* modified) {
        side.execute(L"insert into chart_option_setting (chart_option_id, setting_name) values (" + key(digit) +
                     L", '" + setting + L"')");
        if (modified)
            side.execute(L"insert into chart_option (unid, option_name, mod_date) values (" + key(digit) +
                         L", 'colour', '" + modified + L"')");
    };
    add(source(), L'1', L"new", kNew);
    add(destination(), L'1', L"stale", nullptr);
    add(source(), L'2', L"rewritten", kNew);
    add(destination(), L'2', L"before", kOld);
    add(source(), L'3', L"unseen", kOld);
    add(destination(), L'3', L"as it was", kOld);
    add(destination(), L'4', L"gone", kOld);
    add(source(), L'5', L"of another option", nullptr);
    EXPECT_EQ(replicate({ONE_WAY_ALLOW_DELETES, L"chart_option", L"Chart_Option_Setting"}),
              (TableCounters{.destAdd = 1, .destUpdate = 1, .destDelete = 1}));
    EXPECT_THAT(destination().rows(L"select setting_name from chart_option_setting order by chart_option_id"),
                ElementsAre(L"new", L"rewritten", L"as it was"));
    const std::wstring copied =
        L"select * from chart_option_setting where setting_name in ('new', 'rewritten') order by setting_name";
    EXPECT_EQ(destination().rows(copied), source().rows(copied));
}

} // namespace
