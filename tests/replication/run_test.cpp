#include "com/convert.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const TablePlan kConfig{.method = ONE_WAY_DELETE_ALL, .table = L"config"};
const TablePlan kComputerType{.method = COMPUTER_TYPE, .table = L"any name"};
constexpr double kSecond = 1.0 / 86400;

/// Runs that copy whole tables, at either site and from either side.
class Run : public PracticePair
{
protected:
    static void addConfig(const PracticeSide& side, const wchar_t* name)
    {
        side.execute(L"insert into config (category, config_name, config_value) values ('run', '" + std::wstring(name) +
                     L"', null)");
    }

    static void addComputerType(const PracticeSide& side, const std::wstring& key)
    {
        side.execute(L"insert into computer_type (unid, type_name, screen_width) values ('" + key +
                     L"', 'desk', 1024); insert into computer_type_setting (computer_type_id, setting_name) values ('" +
                     key + L"', 'colours')");
    }

    static std::vector<std::wstring> contents(const PracticeSide& side)
    {
        std::vector<std::wstring> all = side.rows(L"select * from config order by config_name");
        for (const std::wstring& row :
             side.rows(L"select * from computer_type t join computer_type_setting s on s.computer_type_id = t.unid"))
            all.push_back(row);
        return all;
    }

    DATE controlDate(const wchar_t* column)
    {
        return com::toDate(local().value(L"select " + std::wstring(column) +
                                         L" from replication_control where unique_key = " +
                                         std::to_wstring(static_cast<int>(host().site))));
    }

    static DATE date(const RunObject& run, const wchar_t* member)
    {
        return com::toDate(com::Dispatch(run.Get()).property(member));
    }
};

/// At a site, on the machine of that side; in letters of either case.
class RunAt : public Run, public testing::WithParamInterface<std::tuple<enumReplicationUniqueId, const wchar_t*>>
{
protected:
    void SetUp() override
    {
        Run::SetUp();
        runAt(std::get<0>(GetParam()), std::get<1>(GetParam()));
    }
};

INSTANTIATE_TEST_SUITE_P(, RunAt,
                         testing::Combine(testing::Values(OFFICES, LAPTOP),
                                          testing::Values(L"SOURCE", L"Destination")));

TEST_P(RunAt, LeavesTheDestinationWithExactlyTheSourcesRows)
{
    addConfig(source(), L"colour");
    addConfig(source(), L"language");
    addConfig(destination(), L"stale");
    addComputerType(source(), L"{11111111-2222-3333-4444-555555555555}");
    addComputerType(destination(), L"{99999999-2222-3333-4444-555555555555}");
    const std::vector<std::wstring> before = contents(source());
    EXPECT_THAT(replicate({kConfig, kComputerType}),
                ElementsAre(TableCounters{.destAdd = 2}, TableCounters{.destAdd = 1}));
    EXPECT_EQ(contents(source()), before);
    EXPECT_EQ(contents(destination()), before);
    EXPECT_TRUE(source().hasPatientKey());
    EXPECT_TRUE(destination().hasPatientKey());
}

TEST_P(RunAt, ClosesItsOwnRecordAndMovesTheIntervalAtTheOfficesOnly)
{
    const bool atOffices = host().site == OFFICES;
    for (const wchar_t* site : {L"0", L"1"})
        local().execute(L"insert into replication_counts (unique_key, count_name, count_value) values (" +
                        std::wstring(site) + L", 'earlier adds', 7)");
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    const DATE end = date(run, L"dNextReplicate");
    EXPECT_NEAR(end, com::toDate(local().value(L"select getdate()")), 60 * kSecond);
    go(*run.Get(), {createTable(kConfig)});
    EXPECT_NEAR(date(run, L"dLastReplicate"), controlDate(L"last_timestamp"), kSecond);
    EXPECT_TRUE(controlRecord().starts_with(L"False|False|<Null>|"));
    if (atOffices) {
        EXPECT_NEAR(controlDate(L"last_timestamp"), end, kSecond);
        EXPECT_NEAR(controlDate(L"next_timestamp"), end + kFrequencySeconds * kSecond, 30 * kSecond);
    }
    else {
        EXPECT_EQ(local().row(L"select last_timestamp, next_timestamp from replication_control where unique_key = 1"),
                  L"2025-03-10 12:00:00.000|2025-03-10 12:00:00.000");
    }
    EXPECT_EQ(controlRecord(atOffices ? LAPTOP : OFFICES), L"True|False|<Null>|2025-03-10 12:00:00.000");
    EXPECT_THAT(remote().rows(L"select ready_f, error_f from replication_control"),
                ElementsAre(L"True|False", L"True|False"));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_EQ(local().count(L"replication_counts"), 1);
}

TEST_F(Run, CopiesParentsAfterChildrenWhileTheForeignKeyIsDropped)
{
    source().execute(L"insert into dentist (dc_id, dentist_id, last_name) values (1, 1, 'Quillfeather')");
    source().execute(L"insert into patient (unid, full_name, dc_id, dentist_id) values (5, 'Birkfelder, Ada', 1, 1)");
    runAt(LAPTOP);
    EXPECT_THAT(replicate({{.method = ONE_WAY_DELETE_ALL, .table = L"patient"},
                           {.method = ONE_WAY_DELETE_ALL, .table = L"dentist"}}),
                ElementsAre(TableCounters{.destAdd = 1}, TableCounters{.destAdd = 1}));
    EXPECT_EQ(destination().rows(L"select * from patient"), source().rows(L"select * from patient"));
    EXPECT_TRUE(destination().hasPatientKey());
}

} // namespace
