#include "com/convert.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t kKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
constexpr wchar_t kOtherKey[] = L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}";

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

TEST_F(PatientRows, InConflictShowNoLock)
{
    addPatient(source(), L"'Kaja', null, 1, '2025-03-01T08:30:00'");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"patient"}), (TableCounters{.conflict = 1, .error = 1}));
    EXPECT_TRUE(logged(L"\r\nactive_f            True\r\nmod_date            "));
    EXPECT_TRUE(local().rows(L"select * from replication_conflict_data where field_name = 'lock_f'").empty());
}

class ConflictRecords : public PracticePair
{
protected:
    std::wstring conflictDates()
    {
        return local().row(L"select unique_key, source_mod_date, destination_mod_date from replication_conflict");
    }

    /// The component's own text of a row's date.
    static std::wstring dateOf(const PracticeSide& side)
    {
        return com::toText(side.value(L"select mod_date from users"));
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
    const auto column = [](std::wstring text, size_t width) {
        text.resize(width, L' ');
        return text;
    };
    EXPECT_TRUE(logged(L": WARN : Replication Discrepancy (mismatch) on table: users --> Unid: 7\r\n" +
                       column(L"Field", 20) + column(L"Primary", 50) + L"Secondary\r\n------------------- " +
                       column(L"----------", 50) + L"----------\r\n" + column(L"user_name", 20) +
                       column(L"Muller", 50) + column(L"Müller", 50) + L"\r\n" + column(L"mod_date", 20) +
                       column(dateOf(destination()), 50) + column(dateOf(source()), 50) + L"\r\n\r\n"))
        << log();
}

TEST_F(ConflictRecords, OfAMissingRowHaveEveryColumnAndTheOtherDateLastSeen)
{
    addUser(source(), 7, L"Müller", kOld);
    replicate({.method = ONE_WAY, .table = L"users"});
    EXPECT_EQ(conflictDates(), L"0|2025-03-01 08:30:00.000|<Null>");
    EXPECT_THAT(conflictData(), ElementsAre(L"access_level|1|<Null>", L"active_f|True|<Null>",
                                            L"initials|<Null>|<Null>", L"unid|7|<Null>", L"user_name|Müller|<Null>"));
    EXPECT_TRUE(logged(L": WARN : Replication Discrepancy (delete) on table: users --> Unid: 7\r\nField               "
                       L"Data\r\n------------------- ----------\r\nunid                7\r\n"
                       L"user_name           Müller\r\ninitials            \r\naccess_level        1\r\n"
                       L"active_f            True\r\nmod_date            " +
                       dateOf(source()) + L"\r\n\r\n"))
        << log();
    emptyTables();
    restoreControl();
    addUser(source(), 7, L"new", kNew);
    addUser(destination(), 8, L"Ada", kNewer);
    replicate({.method = ONE_WAY, .table = L"users"});
    EXPECT_EQ(conflictDates(), L"0|2025-03-11 09:15:00.000|2025-03-12 10:45:00.000");
}

class DependentRows : public PracticePair
{
protected:
    const TablePlan kOptions{
        .method = ONE_WAY_ALLOW_DELETES, .table = L"chart_option", .dependentTable = L"Chart_Option_Setting"};

    static void addOption(const PracticeSide& side, const std::wstring& modified)
    {
        side.execute(L"insert into chart_option (unid, option_name, mod_date) values ('" + std::wstring(kKey) +
                     L"', 'colour', '" + modified + L"')");
    }

    static void addSetting(const PracticeSide& side, const std::wstring& option, const std::wstring& name)
    {
        side.execute(L"insert into chart_option_setting (chart_option_id, setting_name) values ('" + option + L"', '" +
                     name + L"')");
    }

    static std::vector<std::wstring> settings(const PracticeSide& side)
    {
        return side.rows(L"select setting_name from chart_option_setting order by setting_name");
    }
};

TEST_F(DependentRows, ComeWithANewParent)
{
    addOption(source(), kNew);
    addSetting(source(), kKey, L"blue");
    addSetting(source(), kOtherKey, L"of another option");
    addSetting(destination(), kKey, L"stale");
    EXPECT_EQ(replicate(kOptions), (TableCounters{.destAdd = 1}));
    EXPECT_THAT(settings(destination()), ElementsAre(L"blue"));
    EXPECT_EQ(destination().rows(L"select * from chart_option_setting"),
              source().rows(L"select * from chart_option_setting where setting_name = 'blue'"));
}

TEST_F(DependentRows, AreRewrittenWithAChangedParent)
{
    addOption(source(), kNew);
    addOption(destination(), kOld);
    addSetting(source(), kKey, L"blue");
    addSetting(destination(), kKey, L"stale");
    addSetting(destination(), kOtherKey, L"of another option");
    EXPECT_EQ(replicate(kOptions), (TableCounters{.destUpdate = 1}));
    EXPECT_THAT(settings(destination()), ElementsAre(L"blue", L"of another option"));
}

TEST_F(DependentRows, GoWithADeletedParent)
{
    addOption(destination(), kOld);
    addSetting(destination(), kKey, L"stale");
    EXPECT_EQ(replicate(kOptions), (TableCounters{.destDelete = 1}));
    EXPECT_THAT(settings(destination()), IsEmpty());
}

TEST_F(DependentRows, StayWithAnUnchangedParent)
{
    addOption(source(), kOld);
    addOption(destination(), kOld);
    addSetting(source(), kKey, L"blue");
    EXPECT_EQ(replicate(kOptions), TableCounters{});
    EXPECT_THAT(settings(destination()), IsEmpty());
}

} // namespace
