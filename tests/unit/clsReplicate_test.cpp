#include "control/clsReplicate.h"

#include "conflicts/Collection.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "support/recording_table.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

constexpr DATE kLast = 46341;  // 15 November 2026
constexpr DATE kNow = 46342.5; // the next day at noon

constexpr wchar_t kProgram[] = L"Select * from Control Where Type = 'ReplicationVersion'";
constexpr wchar_t kVersions[] = L"Select [id] from control where type in ('PatInfoVer', 'Version') order by type";
constexpr wchar_t kClock[] = L"select top 1 getdate() from control";
constexpr wchar_t kFlags[] = L"select ready_f, error_f, error_message from replication_control where unique_key = 0";
constexpr wchar_t kDropKey[] = L"IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient drop "
                               L"constraint FK_patient_dentist";
constexpr wchar_t kAddKey[] = L"alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY (dc_id, dentist_id) "
                              L"REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION";
const Lines kRun{L"delete from replication_counts where unique_key = 0",
                 kDropKey,
                 kAddKey,
                 L"update replication_control set last_timestamp = '11/16/2026 12:00:00 PM' where unique_key = 0",
                 L"update replication_control set next_timestamp = dateadd(s,90,getdate()) where unique_key = 0",
                 L"update replication_control set ready_f = 0 where unique_key = 0",
                 kFlags};

/// A run object at OFFICES, whose program is of version 3.46 and whose control record is ready, without error, and last
/// replicated at kLast. A record is updated once.
class ReplicateTest : public RecordingTest
{
protected:
    ReplicateTest() { connectAt(0, L"SOURCE"); }

    void connectAt(long site, const std::wstring& role)
    {
        releaseConnections();
        connectedSettings({.site = site, .role = role});
        ado().answer(kProgram, adoTexts(L"id", {L"3.46"}));
        ado().answer(kClock, {adoRow({{L"", _variant_t(kNow, VT_DATE)}}), 0, {}});
        ado().answerOthers([this](const auto&, const auto& statement) { return answerTo(statement); });
    }

    void initialise(const std::wstring& sPgmVersion = L"3.46") { replicate_.initNextRun(90, sPgmVersion); }

    void go(const std::vector<_variant_t>& items = {})
    {
        const auto collection = com::makeObject<quinmark::Collection>();
        for (const _variant_t& item : items)
            collection->add(item);
        replicate_.go(_variant_t(static_cast<IDispatch*>(collection.Get())));
    }

    /// The statements of one connection.
    Lines sent(const std::wstring& connection = L"source")
    {
        Lines lines;
        for (const auto& [label, statement] : ado().statements())
            if (label == connection)
                lines.push_back(statement);
        return lines;
    }

    /// A failure of initNextRun under its own name, which also stands in its members.
    void expectInitFailure(long number, const std::wstring& description, const std::wstring& sPgmVersion = L"3.46")
    {
        EXPECT_EQ(raised([&] { initialise(sPgmVersion); }), (Error{number, L"clsReplicate.initNextRun", description}));
        EXPECT_TRUE(replicate_.bError());
        EXPECT_EQ(replicate_.sErrorMessage(),
                  L"clsReplicate.initNextRun: " + std::to_wstring(number) + L": " + description);
        EXPECT_EQ(ado().liveObjects(), 2);
    }

    /// A failure of a run after so many statements, whose description also stands in its member.
    void expectRunFailure(long number, const std::wstring& description, size_t statements)
    {
        initialise();
        ado().forget();
        EXPECT_EQ(raised([&] { go({table_.Get(), table_.Get()}); }), (Error{number, L"clsReplicate.go", description}));
        EXPECT_EQ(replicate_.sErrorMessage(), description);
        EXPECT_EQ(sent(), Lines(kRun.begin(), kRun.begin() + static_cast<std::ptrdiff_t>(statements)));
        EXPECT_EQ(ado().liveObjects(), 2);
    }

    _variant_t ready_ = true;
    _variant_t error_ = false;
    _variant_t message_ = adoNull();
    _variant_t last_ = _variant_t(kLast, VT_DATE);
    /// The rows that an update of that column finds.
    long advanced_ = 1;
    long rescheduled_ = 1;
    clsReplicate replicate_;
    Microsoft::WRL::ComPtr<RecordingTable> table_ = com::makeObject<RecordingTable>();

private:
    AdoAnswer answerTo(const std::wstring& statement)
    {
        if (statement.starts_with(L"select ready_f"))
            return {adoRow({{L"ready_f", ready_}, {L"error_f", error_}, {L"error_message", message_}}), 0, {}};
        if (statement.starts_with(L"select * from replication_control"))
            return {adoRow({{L"unique_key", 0L}, {L"last_timestamp", last_}}), 0, {}};
        if (statement.find(L" set last_timestamp = ") != std::wstring::npos)
            return adoAffected(advanced_);
        return adoAffected(statement.find(L" set next_timestamp = ") == std::wstring::npos ? 0 : rescheduled_);
    }
};

TEST_F(ReplicateTest, SetReadyMarksEverySite)
{
    replicate_.SetReady();
    EXPECT_EQ(sent(), Lines{L"update replication_control set ready_f = 1"});
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([&] { replicate_.SetReady(); }), (Error{E_FAIL, L"clsReplicate.SetReady", L"Connection lost"}));
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"clsReplicate.SetReady: -2147467259: Connection lost");
}

TEST_F(ReplicateTest, InitChecksAndLoadsTheIntervalOfTheLocalRecord)
{
    connectAt(1, L"DESTINATION");
    initialise();
    EXPECT_EQ(ado().statements(),
              (std::vector<AdoStatement>{
                  {L"destination", kProgram},
                  {L"source", kVersions},
                  {L"destination", kVersions},
                  {L"destination", L"select ready_f, error_f, error_message from replication_control where unique_key "
                                   L"= 1"},
                  {L"destination", L"select * from replication_control where unique_key = 1"},
                  {L"destination", kClock}}));
    EXPECT_TRUE(replicate_.bReady());
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
    EXPECT_EQ(replicate_.dNextReplicate(), kNow);
    EXPECT_EQ(closedResults(), 6);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReplicateTest, FailedChecksStopInitWhichLooksAtNoVersionOfALaptopProgram)
{
    const std::wstring text = L"The version of the program does not match the version of the database.\r\n"
                              L"Program version:  3.45  Database Version: 3.46";
    expectInitFailure(kCheckFailed, text, L"3.45");
    EXPECT_EQ(sent(), (Lines{kProgram, L"SetReplicationError(0, 1, \"" + text + L"\")"}));
    ado().answerOn(L"source", kVersions, adoTexts(L"id", {L"5", L"1"}));
    ado().forget();
    expectInitFailure(kCheckFailed, L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = ",
                      L"LapTop");
    EXPECT_EQ(sent().front(), kVersions);
}

TEST_F(ReplicateTest, RecordThatIsNotReadyOrInErrorIsPutOff)
{
    ready_ = adoNull();
    error_ = adoNull();
    message_ = L"ignored";
    initialise();
    EXPECT_EQ(sent().back(), kRun[4]);
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_FALSE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"");
    ready_ = true;
    error_ = true;
    message_ = L"Disk full";
    replicate_.initNextRun(-5, L"3.46");
    EXPECT_EQ(sent().back(),
              L"update replication_control set next_timestamp = dateadd(s,-5,getdate()) where unique_key = 0");
    EXPECT_TRUE(replicate_.bReady());
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Disk full");
    rescheduled_ = 2;
    expectInitFailure(kOwnErrorRaised, L"Replication control error - updated 2 row(s)");
    message_ = adoNull();
    expectInitFailure(94, L"Invalid use of Null");
}

TEST_F(ReplicateTest, MissingControlRecordStopsInit)
{
    ado().answer(L"select * from replication_control where unique_key = 0", adoAffected(0));
    expectInitFailure(kOwnErrorRaised, L"Last Replicate Date record missing from control table");
    ado().forget();
    ado().answer(kFlags, adoAffected(0));
    expectInitFailure(kOwnErrorRaised, L"Replication control error - control record missing");
    EXPECT_EQ(sent().back(), kFlags);
    EXPECT_EQ(closedResults(), 4);
}

TEST_F(ReplicateTest, LastTimestampHasToReadAsADate)
{
    last_ = L"11/15/2026";
    initialise();
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
    for (const _variant_t& value : {adoNull(), _variant_t(L"soon")}) {
        last_ = value;
        expectInitFailure(kOwnErrorRaised, L"Replication Control Error - Last Replication Date not a valid date");
    }
}

TEST_F(ReplicateTest, EveryFailureOfInitIsRaisedUnderItsName)
{
    ready_ = false;
    initialise();
    const size_t calls = ado().callCount();
    ASSERT_GT(calls, 40U);
    for (size_t call = 1; call <= calls; ++call) {
        clsReplicate fresh;
        ado().failCall(call, connectionLost());
        EXPECT_EQ(raised([&] { fresh.initNextRun(90, L"3.46"); }).source, L"clsReplicate.initNextRun") << call;
        EXPECT_TRUE(fresh.bError()) << call;
        EXPECT_TRUE(fresh.sErrorMessage().starts_with(L"clsReplicate.initNextRun: ")) << call;
        EXPECT_EQ(ado().liveObjects(), 2) << call;
    }
}

TEST_F(ReplicateTest, TablesRunInOrderBetweenTheKeyStatementsOnTheRunsOwnDates)
{
    const auto second = com::makeObject<RecordingTable>();
    Lines atFirst;
    table_->whenRun = [&](DATE& last, DATE&) {
        atFirst = sent();
        last += 1;
    };
    second->whenRun = [&](DATE&, DATE&) { EXPECT_EQ(table_->calls.size(), 1U); };
    ado().whenExecuting(kDropKey, [&] { EXPECT_EQ(logEntries(), Lines{L"DEBUG: " + kRun[1]}); });
    initialise();
    ado().forget();
    go({table_.Get(), second.Get()});
    EXPECT_EQ(atFirst, Lines(kRun.begin(), kRun.begin() + 2));
    EXPECT_EQ(table_->calls, Lines{L"go(11/15/2026, 11/16/2026 12:00:00 PM)"});
    EXPECT_EQ(second->calls, Lines{L"go(11/16/2026, 11/16/2026 12:00:00 PM)"});
    EXPECT_EQ(sent(), kRun);
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: " + kRun[1], L"DEBUG: " + kRun[2]}));
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
    EXPECT_EQ(replicate_.dNextReplicate(), kNow);
}

TEST_F(ReplicateTest, LaptopRunLeavesTheIntervalAloneAndReloadsTheFlagsOfItsOwnDatabase)
{
    connectAt(1, L"DESTINATION");
    initialise();
    ado().forget();
    ready_ = false;
    error_ = true;
    message_ = L"Row lost";
    go();
    EXPECT_EQ(sent(L"destination"),
              (Lines{L"delete from replication_counts where unique_key = 1", kDropKey, kAddKey,
                     L"update replication_control set ready_f = 0 where unique_key = 1",
                     L"select ready_f, error_f, error_message from replication_control where unique_key = 1"}));
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Row lost");
}

TEST_F(ReplicateTest, CollectionHasToBeOneOfTables)
{
    const _variant_t nothing(static_cast<IDispatch*>(nullptr));
    EXPECT_EQ(raised([&] { replicate_.go(nothing); }).number, 91);
    const auto stranger = com::makeObject<quinmark::Collection>();
    for (const _variant_t& item : {_variant_t(12L), _variant_t(L"patient"), nothing, _variant_t(stranger.Get())})
        EXPECT_EQ(raised([&] { go({item}); }), (Error{13, L"clsReplicate.go", L"Type mismatch"}));
}

TEST_F(ReplicateTest, FailingTableOrOtherThanOneUpdatedRecordStopsTheRunWhereItStands)
{
    advanced_ = 0;
    expectRunFailure(kOwnErrorRaised, L"Replication control error - updated 0 row(s)", 4);
    table_->whenRun = [](DATE&, DATE&) { throw Error{E_FAIL, L"clsReplicateTable.go", L"Row lost"}; };
    expectRunFailure(E_FAIL, L"Row lost", 2);
    EXPECT_EQ(table_->calls.size(), 3U) << "the next table does not run";
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
    table_->whenRun = nullptr;
    advanced_ = 1;
    rescheduled_ = 2;
    expectRunFailure(kOwnErrorRaised, L"Replication control error - updated 2 row(s)", 5);
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
}

TEST_F(ReplicateTest, EveryFailedStatementOfARunLeavesItsDescriptionAndTheErrorOfTheRecord)
{
    for (const bool error : {false, true}) {
        error_ = error;
        message_ = L"Disk full";
        initialise();
        for (const std::wstring& statement : kRun) {
            ado().failStatement(statement, connectionLost());
            EXPECT_EQ(raised([&] { go(); }), (Error{E_FAIL, L"clsReplicate.go", L"Connection lost"}));
            EXPECT_EQ(replicate_.sErrorMessage(), L"Connection lost");
            EXPECT_EQ(replicate_.bError(), error);
        }
    }
}

} // namespace
