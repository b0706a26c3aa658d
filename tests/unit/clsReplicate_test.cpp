#include "control/clsReplicate.h"

#include "com/collection.h"
#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "support/recording_table.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

constexpr DATE kLast = 46341;  // 15 November 2026
constexpr DATE kNow = 46342.5; // the next day at noon
constexpr short kFrequency = 90;

constexpr wchar_t kProgramSql[] = L"Select * from Control Where Type = 'ReplicationVersion'";
constexpr wchar_t kVersionsSql[] = L"Select [id] from control where type in ('PatInfoVer', 'Version') order by type";
constexpr wchar_t kClockSql[] = L"select top 1 getdate() from control";
constexpr wchar_t kDropKey[] = L"IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient drop "
                               L"constraint FK_patient_dentist";
constexpr wchar_t kAddKey[] = L"alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY (dc_id, dentist_id) "
                              L"REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION";

class ReplicateTest : public RecordingTest
{
protected:
    ReplicateTest() { connectAt(0); }

    /// Connects as a site whose control record is ready and without error.
    void connectAt(long site, const std::wstring& role = L"SOURCE")
    {
        releaseConnections();
        ConnectOptions options;
        options.site = site;
        options.role = role;
        connectedSettings(options);
        site_ = std::to_wstring(site);
        local_ = role == L"SOURCE" ? L"source" : L"destination";
    }

    std::wstring flagsSql() const
    {
        return L"select ready_f, error_f, error_message from replication_control where unique_key = " + site_;
    }
    std::wstring recordSql() const { return L"select * from replication_control where unique_key = " + site_; }
    std::wstring advanceSql() const
    {
        return L"update replication_control set last_timestamp = '11/16/2026 12:00:00 PM' where unique_key = " + site_;
    }
    std::wstring nextSql() const
    {
        return L"update replication_control set next_timestamp = dateadd(s,90,getdate()) where unique_key = " + site_;
    }
    std::wstring clearReadySql() const
    {
        return L"update replication_control set ready_f = 0 where unique_key = " + site_;
    }
    std::wstring clearCountsSql() const { return L"delete from replication_counts where unique_key = " + site_; }

    void flags(const _variant_t& ready, const _variant_t& error, const _variant_t& message)
    {
        ado().answer(
            flagsSql(),
            {{{{L"ready_f", 11}, {L"error_f", 11}, {L"error_message", 200}}, {{ready, error, message}}}, 0, {}});
    }

    void lastTimestamp(const _variant_t& value)
    {
        ado().answer(recordSql(), {{{{L"unique_key", 2}, {L"last_timestamp", 135}}, {{0L, value}}}, 0, {}});
        ado().answer(kClockSql, {{{{L"", 135}}, {{_variant_t(kNow, VT_DATE)}}}, 0, {}});
    }

    /// A control record that is ready, without error, and whose updates find their one row.
    void goodRecord()
    {
        ado().answer(kProgramSql, adoTexts(L"id", {L"3.46"}));
        flags(true, false, adoNull());
        lastTimestamp(_variant_t(kLast, VT_DATE));
        ado().answer(advanceSql(), adoAffected(1));
        ado().answer(nextSql(), adoAffected(1));
    }

    void initialise() { replicate_.initNextRun(kFrequency, L"3.46"); }

    /// A run object whose interval is loaded.
    void ready()
    {
        goodRecord();
        initialise();
        ado().forget();
    }

    Error initError()
    {
        return raised([&] { initialise(); });
    }

    /// A failure of initNextRun under its own name, which also stands in its members.
    void expectInitFailure(long number, const std::wstring& description)
    {
        EXPECT_EQ(initError(), (Error{number, L"clsReplicate.initNextRun", description}));
        EXPECT_TRUE(replicate_.bError());
        EXPECT_EQ(replicate_.sErrorMessage(),
                  L"clsReplicate.initNextRun: " + std::to_wstring(number) + L": " + description);
    }

    static Microsoft::WRL::ComPtr<RecordingTable> table() { return com::makeObject<RecordingTable>(); }

    static _variant_t tables(std::initializer_list<RecordingTable*> items)
    {
        const auto collection = com::makeObject<com::Collection>();
        for (RecordingTable* item : items)
            collection->add(_variant_t(static_cast<IDispatch*>(item)));
        return _variant_t(static_cast<IDispatch*>(collection.Get()));
    }

    Statements onLocal(const Lines& texts) const
    {
        Statements statements;
        for (const std::wstring& text : texts)
            statements.emplace_back(local_, text);
        return statements;
    }

    Lines officesRun() const
    {
        return {clearCountsSql(), kDropKey, kAddKey, advanceSql(), nextSql(), clearReadySql(), flagsSql()};
    }

    clsReplicate replicate_;
    std::wstring site_;
    std::wstring local_;
};

TEST_F(ReplicateTest, SetReadyMarksEverySite)
{
    replicate_.SetReady();
    EXPECT_EQ(ado().statements(), onLocal({L"update replication_control set ready_f = 1"}));
}

TEST_F(ReplicateTest, FailedSetReadyStandsInItsMembers)
{
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([&] { replicate_.SetReady(); }), (Error{E_FAIL, L"clsReplicate.SetReady", L"Connection lost"}));
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"clsReplicate.SetReady: -2147467259: Connection lost");
}

TEST_F(ReplicateTest, InitChecksAndLoadsTheInterval)
{
    goodRecord();
    initialise();
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kProgramSql},
                                              {L"source", kVersionsSql},
                                              {L"destination", kVersionsSql},
                                              {L"source", flagsSql()},
                                              {L"source", recordSql()},
                                              {L"source", kClockSql}}));
    EXPECT_TRUE(replicate_.bReady());
    EXPECT_FALSE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"");
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
    EXPECT_EQ(replicate_.dNextReplicate(), kNow);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReplicateTest, InitReadsTheLocalRecordWhateverTheRole)
{
    connectAt(1, L"DESTINATION");
    goodRecord();
    initialise();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", kProgramSql},
                                              {L"source", kVersionsSql},
                                              {L"destination", kVersionsSql},
                                              {L"destination", flagsSql()},
                                              {L"destination", recordSql()},
                                              {L"destination", kClockSql}}));
}

TEST_F(ReplicateTest, LaptopProgramSkipsTheProgramVersionInAnyCase)
{
    goodRecord();
    for (const wchar_t* program : {L"LAPTOP", L"laptop", L"LapTop"}) {
        ado().forget();
        replicate_.initNextRun(kFrequency, program);
        EXPECT_EQ(ado().statements().front(), AdoStatement(L"source", kVersionsSql));
    }
}

TEST_F(ReplicateTest, WrongProgramVersionStopsInit)
{
    goodRecord();
    const std::wstring text = L"The version of the program does not match the version of the database.\r\n"
                              L"Program version:  3.45  Database Version: 3.46";
    EXPECT_EQ(raised([&] { replicate_.initNextRun(kFrequency, L"3.45"); }),
              (Error{kCheckFailed, L"clsReplicate.initNextRun", text}));
    EXPECT_EQ(replicate_.sErrorMessage(), L"clsReplicate.initNextRun: -2147221504: " + text);
    EXPECT_EQ(ado().statements(), onLocal({kProgramSql, L"SetReplicationError(0, 1, \"" + text + L"\")"}));
}

TEST_F(ReplicateTest, DifferentVersionsStopInit)
{
    goodRecord();
    ado().answerOn(L"source", kVersionsSql, adoTexts(L"id", {L"5", L"1"}));
    ado().answerOn(L"destination", kVersionsSql, adoTexts(L"id", {L"6", L"1"}));
    expectInitFailure(kCheckFailed, L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 6");
}

TEST_F(ReplicateTest, RecordThatIsNotReadyIsPutOff)
{
    flags(false, false, adoNull());
    goodRecord();
    initialise();
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_EQ(ado().statements().back(), AdoStatement(L"source", nextSql()));
    EXPECT_EQ(ado().statements().size(), 7U);
}

TEST_F(ReplicateTest, RecordInErrorIsPutOffAndTellsItsError)
{
    flags(true, true, L"Disk full");
    goodRecord();
    initialise();
    EXPECT_TRUE(replicate_.bReady());
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Disk full");
    EXPECT_EQ(ado().statements().back(), AdoStatement(L"source", nextSql()));
}

TEST_F(ReplicateTest, NullFlagsReadAsFalse)
{
    flags(adoNull(), adoNull(), L"ignored");
    goodRecord();
    initialise();
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_FALSE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"");
}

TEST_F(ReplicateTest, ErrorWithoutMessageIsInvalidUseOfNull)
{
    flags(true, true, adoNull());
    goodRecord();
    expectInitFailure(94, L"Invalid use of Null");
}

TEST_F(ReplicateTest, MissingControlRecordStopsInit)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"3.46"}));
    expectInitFailure(kOwnErrorRaised, L"Replication control error - control record missing");
    EXPECT_EQ(ado().statements().back(), AdoStatement(L"source", flagsSql()));
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReplicateTest, RecordThatVanishesStopsInit)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"3.46"}));
    flags(true, false, adoNull());
    expectInitFailure(kOwnErrorRaised, L"Last Replicate Date record missing from control table");
}

TEST_F(ReplicateTest, NullLastTimestampIsNoValidDate)
{
    lastTimestamp(adoNull());
    goodRecord();
    expectInitFailure(kOwnErrorRaised, L"Replication Control Error - Last Replication Date not a valid date");
}

TEST_F(ReplicateTest, LastTimestampMayBeATextThatReadsAsADate)
{
    lastTimestamp(L"11/15/2026");
    goodRecord();
    initialise();
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, LastTimestampThatIsNoDateStopsInit)
{
    lastTimestamp(L"soon");
    goodRecord();
    expectInitFailure(kOwnErrorRaised, L"Replication Control Error - Last Replication Date not a valid date");
}

TEST_F(ReplicateTest, PuttingOffMoreThanOneRowStopsInit)
{
    flags(false, false, adoNull());
    ado().answer(nextSql(), adoAffected(2));
    goodRecord();
    expectInitFailure(kOwnErrorRaised, L"Replication control error - updated 2 row(s)");
}

TEST_F(ReplicateTest, EveryFailureOfInitIsRaisedUnderItsName)
{
    flags(false, false, adoNull());
    goodRecord();
    initialise();
    const size_t calls = ado().callCount();
    ASSERT_GT(calls, 40U);
    for (size_t call = 1; call <= calls; ++call) {
        clsReplicate fresh;
        flags(false, false, adoNull());
        ado().failCall(call, connectionLost());
        EXPECT_EQ(raised([&] { fresh.initNextRun(kFrequency, L"3.46"); }).source, L"clsReplicate.initNextRun") << call;
        EXPECT_TRUE(fresh.bError()) << call;
        EXPECT_EQ(fresh.sErrorMessage().substr(0, 26), L"clsReplicate.initNextRun: ") << call;
        EXPECT_EQ(ado().liveObjects(), 2) << call;
    }
}

TEST_F(ReplicateTest, OfficesRunAdvancesTheInterval)
{
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal(officesRun()));
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
    EXPECT_EQ(replicate_.dNextReplicate(), kNow);
}

TEST_F(ReplicateTest, LaptopRunLeavesTheIntervalAlone)
{
    connectAt(1);
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey, kAddKey, clearReadySql(), flagsSql()}));
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, RunUsesTheLocalConnectionWhateverTheRole)
{
    connectAt(0, L"DESTINATION");
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal(officesRun()));
}

TEST_F(ReplicateTest, ForeignKeyStatementsAreLoggedAtDebugBeforeTheyRun)
{
    ready();
    Lines before;
    ado().whenExecuting(kDropKey, [&] { before = logEntries(); });
    replicate_.go(tables({}));
    EXPECT_EQ(before, (Lines{std::wstring(L"DEBUG: ") + kDropKey}));
    EXPECT_EQ(logEntries(), (Lines{std::wstring(L"DEBUG: ") + kDropKey, std::wstring(L"DEBUG: ") + kAddKey}));
}

TEST_F(ReplicateTest, RunReloadsTheFlags)
{
    ready();
    flags(false, true, L"Row lost");
    replicate_.go(tables({}));
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Row lost");
}

TEST_F(ReplicateTest, TablesRunInOrderBetweenTheKeyStatements)
{
    ready();
    const auto first = table();
    const auto second = table();
    Statements atFirst;
    size_t firstsCalls = 0;
    first->whenRun = [&](DATE&, DATE&) { atFirst = ado().statements(); };
    second->whenRun = [&](DATE&, DATE&) { firstsCalls = first->calls.size(); };
    replicate_.go(tables({first.Get(), second.Get()}));
    EXPECT_EQ(atFirst, onLocal({clearCountsSql(), kDropKey}));
    EXPECT_EQ(firstsCalls, 1U);
    EXPECT_EQ(first->calls, (Lines{L"go(11/15/2026, 11/16/2026 12:00:00 PM)"}));
    EXPECT_EQ(second->calls, first->calls);
}

TEST_F(ReplicateTest, TablesGetTheRunsOwnDatesByReference)
{
    ready();
    const auto first = table();
    const auto second = table();
    first->whenRun = [](DATE& last, DATE&) { last += 1; };
    replicate_.go(tables({first.Get(), second.Get()}));
    EXPECT_EQ(second->calls, (Lines{L"go(11/16/2026, 11/16/2026 12:00:00 PM)"}));
}

TEST_F(ReplicateTest, FailingTableLeavesTheKeyDroppedAndTheRecordAsItWas)
{
    ready();
    const auto failing = table();
    const auto never = table();
    failing->whenRun = [](DATE&, DATE&) { throw Error{E_FAIL, L"clsReplicateTable.go", L"Row lost"}; };
    EXPECT_EQ(raised([&] {
                  replicate_.go(tables({failing.Get(), never.Get()}));
              }),
              (Error{E_FAIL, L"clsReplicate.go", L"Row lost"}));
    EXPECT_EQ(never->calls, Lines());
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey}));
    EXPECT_EQ(replicate_.sErrorMessage(), L"Row lost");
    EXPECT_FALSE(replicate_.bError());
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, ElementThatIsNoTableIsATypeMismatch)
{
    ready();
    const auto collection = com::makeObject<com::Collection>();
    collection->add(12L);
    EXPECT_EQ(raised([&] { replicate_.go(_variant_t(static_cast<IDispatch*>(collection.Get()))); }),
              (Error{13, L"clsReplicate.go", L"Type mismatch"}));
}

TEST_F(ReplicateTest, NothingInPlaceOfTheCollectionRaises91)
{
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(_variant_t(static_cast<IDispatch*>(nullptr))); }),
              (Error{91, L"clsReplicate.go", L"Object variable or With block variable not set"}));
}

TEST_F(ReplicateTest, AdvancingOtherThanOneRowStopsTheRun)
{
    ado().answer(advanceSql(), adoAffected(0));
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(tables({})); }),
              (Error{kOwnErrorRaised, L"clsReplicate.go", L"Replication control error - updated 0 row(s)"}));
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey, kAddKey, advanceSql()}));
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, ReschedulingTwoRowsStopsTheRun)
{
    ado().answer(nextSql(), adoAffected(2));
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(tables({})); }),
              (Error{kOwnErrorRaised, L"clsReplicate.go", L"Replication control error - updated 2 row(s)"}));
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
}

TEST_F(ReplicateTest, EveryFailedStatementOfARunLeavesItsDescription)
{
    ready();
    for (const std::wstring& statement : officesRun()) {
        ado().failStatement(statement, connectionLost());
        EXPECT_EQ(raised([&] { replicate_.go(tables({})); }), (Error{E_FAIL, L"clsReplicate.go", L"Connection lost"}));
        EXPECT_EQ(replicate_.sErrorMessage(), L"Connection lost");
        EXPECT_FALSE(replicate_.bError());
        EXPECT_EQ(ado().liveObjects(), 2);
    }
}

TEST_F(ReplicateTest, FrequencyMayBeNegative)
{
    flags(false, false, adoNull());
    goodRecord();
    ado().answer(L"update replication_control set next_timestamp = dateadd(s,-5,getdate()) where unique_key = 0",
                 adoAffected(1));
    replicate_.initNextRun(-5, L"3.46");
    EXPECT_EQ(ado().statements().back().second,
              L"update replication_control set next_timestamp = dateadd(s,-5,getdate()) where unique_key = 0");
}

} // namespace
