#include "support/RunFixture.h"

namespace {

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
    EXPECT_EQ(closedResults(), 6);
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
    EXPECT_EQ(closedResults(), 4);
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
