#include "com/convert.h"
#include "conflicts/Collection.h"
#include "support/PracticePair.h"
#include "support/Raised.h"
#include "support/ScriptedObject.h"

#include <gmock/gmock.h>

using Microsoft::WRL::ComPtr;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const TablePlan kConfig{.method = ONE_WAY_DELETE_ALL, .table = L"config"};
const TablePlan kComputerType{.method = COMPUTER_TYPE, .table = L"any name"};
constexpr double kSecond = 1.0 / 86400;

class FullCopyRun : public PracticePair
{
protected:
    static void addConfig(const PracticeSide& side, const std::wstring& name, const std::wstring& text)
    {
        side.execute(L"insert into config (category, config_name, config_value) values ('run', '" + name + L"', " +
                     text + L")");
    }

    static void addComputerType(const PracticeSide& side, const std::wstring& key, const std::wstring& name)
    {
        side.execute(L"insert into computer_type (unid, type_name, screen_width) values ('" + key + L"', '" + name +
                     L"', 1024)");
        side.execute(L"insert into computer_type_setting (computer_type_id, setting_name) values ('" + key +
                     L"', 'colours')");
    }

    static std::vector<std::wstring> configRows(const PracticeSide& side)
    {
        return side.rows(L"select * from config order by config_name");
    }

    static std::vector<std::wstring> computerTypeRows(const PracticeSide& side)
    {
        return side.rows(L"select * from computer_type t join computer_type_setting s on s.computer_type_id = t.unid"
                         L" order by type_name");
    }

    DATE controlDate(const wchar_t* column)
    {
        return com::toDate(local().value(L"select " + std::wstring(column) +
                                         L" from replication_control where unique_key = " +
                                         std::to_wstring(static_cast<int>(host().site))));
    }

    static DATE nextReplicate(_clsReplicate& run)
    {
        DATE date = 0;
        com::checkCall(run.get_dNextReplicate(&date));
        return date;
    }

    static DATE lastReplicate(_clsReplicate& run)
    {
        DATE date = 0;
        com::checkCall(run.get_dLastReplicate(&date));
        return date;
    }
};

struct Place
{
    enumReplicationUniqueId site;
    const wchar_t* role;
};

void PrintTo(const Place& place, std::ostream* stream)
{
    *stream << (place.site == OFFICES ? "offices as " : "laptop as ") << testing::PrintToString(place.role);
}

class FullCopyRunAt : public FullCopyRun, public testing::WithParamInterface<Place>
{
protected:
    void SetUp() override
    {
        FullCopyRun::SetUp();
        if (!IsSkipped() && !HasFatalFailure())
            runAt(GetParam().site, GetParam().role);
    }
};

INSTANTIATE_TEST_SUITE_P(Places, FullCopyRunAt,
                         testing::Values(Place{OFFICES, L"SOURCE"}, Place{OFFICES, L"DESTINATION"},
                                         Place{LAPTOP, L"source"}, Place{LAPTOP, L"Destination"}),
                         [](const testing::TestParamInfo<Place>& info) {
                             return std::string(info.param.site == OFFICES ? "Offices" : "Laptop") +
                                    (com::upperCase(info.param.role) == L"SOURCE" ? "AsSource" : "AsDestination");
                         });

TEST_P(FullCopyRunAt, LeavesTheDestinationWithExactlyTheSourcesRows)
{
    addConfig(source(), L"colour", L"'green'");
    addConfig(source(), L"language", L"null");
    addConfig(destination(), L"stale", L"'gone'");
    addComputerType(source(), L"{11111111-2222-3333-4444-555555555555}", L"reception");
    addComputerType(destination(), L"{99999999-2222-3333-4444-555555555555}", L"stale");
    const std::vector<std::wstring> config = configRows(source());
    const std::vector<std::wstring> types = computerTypeRows(source());

    const std::vector<Counters> counters = replicate({kConfig, kComputerType});

    EXPECT_EQ(configRows(source()), config);
    EXPECT_EQ(configRows(destination()), config);
    EXPECT_EQ(computerTypeRows(source()), types);
    EXPECT_EQ(computerTypeRows(destination()), types);
    EXPECT_EQ(counters.front(), (Counters{.destAdd = 2}));
    EXPECT_EQ(counters.back(), (Counters{.destAdd = 1}));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_P(FullCopyRunAt, MovesTheIntervalAtTheOfficesOnly)
{
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    const DATE end = nextReplicate(*run.Get());
    EXPECT_NEAR(end, com::toDate(local().value(L"select getdate()")), 60 * kSecond);
    go(*run.Get(), {createTable(kConfig)});
    if (host().site == OFFICES) {
        EXPECT_NEAR(controlDate(L"last_timestamp"), end, kSecond);
        EXPECT_NEAR(controlDate(L"next_timestamp"), end + kFrequencySeconds * kSecond, 30 * kSecond);
        EXPECT_EQ(lastReplicate(*run.Get()), end);
    }
    else {
        EXPECT_EQ(controlRecord(), L"False|False|<Null>|2025-03-10 12:00:00.000");
        EXPECT_EQ(local().row(L"select next_timestamp from replication_control where unique_key = 1"),
                  L"2025-03-10 12:00:00.000");
        EXPECT_NEAR(lastReplicate(*run.Get()), controlDate(L"last_timestamp"), kSecond);
    }
}

TEST_P(FullCopyRunAt, ClearsTheReadyFlagOfThisSiteAndNoOther)
{
    replicate(kConfig);
    const enumReplicationUniqueId other = host().site == OFFICES ? LAPTOP : OFFICES;
    EXPECT_TRUE(controlRecord().starts_with(L"False|False|<Null>|"));
    EXPECT_EQ(controlRecord(other), L"True|False|<Null>|2025-03-10 12:00:00.000");
    EXPECT_THAT(remote().rows(L"select ready_f, error_f from replication_control"),
                ElementsAre(L"True|False", L"True|False"));
}

TEST_P(FullCopyRunAt, ClearsTheCountsOfThisSiteAndWritesNone)
{
    for (const wchar_t* site : {L"0", L"1"})
        local().execute(L"insert into replication_counts (unique_key, count_name, count_value) values (" +
                        std::wstring(site) + L", 'earlier adds', 7)");
    replicate({kConfig, kComputerType});
    EXPECT_THAT(counts(), IsEmpty());
    runAt(host().site == OFFICES ? LAPTOP : OFFICES, host().role);
    EXPECT_THAT(counts(), ElementsAre(L"earlier adds=7"));
}

TEST_P(FullCopyRunAt, RestoresTheForeignKeyThatItDropped)
{
    replicate(kConfig);
    EXPECT_TRUE(source().hasPatientKey());
    EXPECT_TRUE(destination().hasPatientKey());
}

TEST_F(FullCopyRun, CopiesParentsAfterChildrenWhileTheForeignKeyIsDropped)
{
    source().execute(L"insert into dentist (dc_id, dentist_id, last_name) values (1, 1, 'Quillfeather')");
    source().execute(L"insert into patient (unid, full_name, dc_id, dentist_id) values (5, 'Birkfelder, Ada', 1, 1)");
    runAt(LAPTOP);
    const std::vector<Counters> counters = replicate(
        {{.method = ONE_WAY_DELETE_ALL, .table = L"patient"}, {.method = ONE_WAY_DELETE_ALL, .table = L"dentist"}});
    EXPECT_THAT(counters, ElementsAre(Counters{.destAdd = 1}, Counters{.destAdd = 1}));
    EXPECT_EQ(destination().rows(L"select * from patient"), source().rows(L"select * from patient"));
    EXPECT_TRUE(destination().hasPatientKey());
}

TEST_F(FullCopyRun, LogsItsStatementsAndSummariesInOrder)
{
    addConfig(source(), L"colour", L"'green'");
    replicate({kConfig, kComputerType});
    const std::wstring text = log();
    const std::wstring source = host().sourcePrefix;
    const std::wstring destination = host().destinationPrefix;
    size_t at = 0;
    for (const std::wstring& entry :
         {std::wstring(L": DEBUG: IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient drop "
                       L"constraint FK_patient_dentist\r\n"),
          std::wstring(L": DEBUG: ConnDestination: Delete from config\r\n"),
          L": DEBUG: ConnLocal: insert into " + destination + L"config select * from " + source + L"config\r\n",
          std::wstring(L": DEBUG: Replicated table: config\r\n\tDeletes/Adds to destination: 1\tErrors: 0\r\n"),
          std::wstring(L": DEBUG: ConnDestination: Delete from computer_type_setting; delete from computer_type\r\n"),
          L": DEBUG: ConnDestination: insert into " + destination + L"computer_type select * from " + source +
              L"computer_type;insert into " + destination + L"computer_type_setting select * from " + source +
              L"computer_type_setting;\r\n",
          std::wstring(L": DEBUG: Replicated table: computer_type\r\n\tDeletes/Adds to destination: 0\tErrors: 0\r\n"),
          std::wstring(L": DEBUG: alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY (dc_id, "
                       L"dentist_id) REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION\r\n")})
    {
        const size_t found = text.find(entry, at);
        ASSERT_NE(found, std::wstring::npos) << entry << " in\n" << text;
        at = found + entry.size();
    }
    EXPECT_EQ(at, text.size());
}

TEST_F(FullCopyRun, AboveItsLevelWritesNoLog)
{
    addConfig(source(), L"colour", L"'green'");
    host().logLevel = 2;
    EXPECT_EQ(replicate(kConfig), (Counters{.destAdd = 1}));
    EXPECT_EQ(log(), L"");
}

TEST_F(FullCopyRun, OfAnEmptySourceEmptiesTheDestination)
{
    addConfig(destination(), L"stale", L"'gone'");
    addComputerType(destination(), L"{99999999-2222-3333-4444-555555555555}", L"stale");
    EXPECT_THAT(replicate({kConfig, kComputerType}), ElementsAre(Counters{}, Counters{}));
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_EQ(destination().count(L"computer_type"), 0);
    EXPECT_EQ(destination().count(L"computer_type_setting"), 0);
}

TEST_F(FullCopyRun, ASecondTimeCopiesTheRowsAsTheyAreThen)
{
    addConfig(source(), L"colour", L"'green'");
    EXPECT_EQ(replicate(kConfig), (Counters{.destAdd = 1}));
    addConfig(source(), L"language", L"'de'");
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    EXPECT_NEAR(lastReplicate(*run.Get()), controlDate(L"last_timestamp"), kSecond);
    disconnect();
    EXPECT_EQ(replicate(kConfig), (Counters{.destAdd = 2}));
    EXPECT_EQ(configRows(destination()), configRows(source()));
}

TEST_F(FullCopyRun, WithoutTablesStillClosesTheRun)
{
    EXPECT_THAT(replicate(std::vector<TablePlan>{}), IsEmpty());
    EXPECT_TRUE(controlRecord().starts_with(L"False|False|<Null>|"));
    EXPECT_TRUE(local().hasPatientKey());
    EXPECT_TRUE(logged(L"alter table patient ADD CONSTRAINT"));
}

TEST_F(FullCopyRun, TakesItsTablesFromAnythingEnumerable)
{
    addConfig(source(), L"colour", L"'green'");
    connect();
    const TableObject table = createTable(kConfig);
    const ComPtr<quinmark::Collection> items = com::makeObject<quinmark::Collection>();
    items->add(_variant_t(static_cast<IDispatch*>(table.Get())));
    const ComPtr<ScriptedObject> collection = com::makeObject<ScriptedObject>();
    collection->answers[DISPID_NEWENUM] = [&](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        result->vt = VT_UNKNOWN;
        return items->get__NewEnum(&result->punkVal);
    };
    const RunObject run = createRun();
    initNextRun(*run.Get());
    goCollection(*run.Get(), _variant_t(static_cast<IDispatch*>(collection.Get())));
    EXPECT_EQ(countersOf(*table.Get()), (Counters{.destAdd = 1}));
    EXPECT_EQ(configRows(destination()), configRows(source()));
}

TEST_F(FullCopyRun, OfAnotherProgramVersionIsRefused)
{
    connect();
    const RunObject run = createRun();
    const com::Error error = raised([&] { initNextRun(*run.Get(), L"3.45"); });
    const std::wstring reason = L"The version of the program does not match the version of the database.\r\n"
                                L"Program version:  3.45  Database Version: 3.46";
    EXPECT_EQ(error.number, static_cast<long>(0x80040000));
    EXPECT_EQ(error.source, L"clsReplicate.initNextRun");
    EXPECT_EQ(error.description, reason);
    EXPECT_EQ(recordedError(), L"error: " + reason);
    _bstr_t message;
    com::checkCall(run->get_sErrorMessage(message.GetAddress()));
    EXPECT_EQ(std::wstring(message), L"clsReplicate.initNextRun: -2147221504: " + reason);
}

TEST_F(FullCopyRun, OfALaptopProgramNeedsNoVersion)
{
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get(), L"LapTop");
    VARIANT_BOOL ready = VARIANT_FALSE;
    VARIANT_BOOL error = VARIANT_TRUE;
    com::checkCall(run->get_bReady(&ready));
    com::checkCall(run->get_bError(&error));
    EXPECT_EQ(ready, VARIANT_TRUE);
    EXPECT_EQ(error, VARIANT_FALSE);
}

} // namespace
