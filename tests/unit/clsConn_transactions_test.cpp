#include "db/clsConn.h"

#include "support/RecordingAdo.h"
#include "support/recording_error.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

class TransactionsTest : public ::testing::Test
{
protected:
    TransactionsTest()
    {
        conn_.openConnection(L"office", L"");
        ado_.forget();
    }

    RecordingAdo ado_;
    clsConn conn_;
};

TEST_F(TransactionsTest, OnlyTheOutermostTransactionReachesTheDatabase)
{
    conn_.BeginTrans();
    conn_.BeginTrans();
    conn_.CommitTrans();
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).BeginTrans()"}));
    conn_.CommitTrans();
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).BeginTrans()", L"Connection(office).CommitTrans()"}));
}

TEST_F(TransactionsTest, InnerRollbackOnlyCounts)
{
    conn_.BeginTrans();
    conn_.BeginTrans();
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).BeginTrans()"}));
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).BeginTrans()", L"Connection(office).RollbackTrans()"}));
}

TEST_F(TransactionsTest, GuardedRollbackWithoutTransactionDoesNothing)
{
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), Lines());
}

TEST_F(TransactionsTest, UnguardedRollbackWithoutTransactionReachesTheDatabaseAndLeavesTheDepthNegative)
{
    ado_.failMember(L"Connection.RollbackTrans", {E_FAIL, L"No transaction is active", L"Provider"});
    EXPECT_EQ(raised([&] { conn_.Rollback(false); }), (Error{E_FAIL, L"Provider", L"No transaction is active"}));
    conn_.BeginTrans();
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).RollbackTrans()", L"Connection(office).BeginTrans()"}));
}

TEST_F(TransactionsTest, DepthBelowZeroIsNotGuarded)
{
    conn_.Rollback(false);
    conn_.BeginTrans();
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).RollbackTrans()", L"Connection(office).BeginTrans()"}));
}

TEST_F(TransactionsTest, CommitWithoutTransactionReachesTheDatabase)
{
    conn_.CommitTrans();
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).CommitTrans()"}));
}

TEST_F(TransactionsTest, CommitWithoutTransactionLeavesTheDepthNegative)
{
    conn_.CommitTrans();
    conn_.BeginTrans();
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).CommitTrans()", L"Connection(office).BeginTrans()"}));
}

TEST_F(TransactionsTest, RefusedCommitCountsDown)
{
    conn_.BeginTrans();
    ado_.failMember(L"Connection.CommitTrans", {E_FAIL, L"commit", L"Provider"});
    raised([&] { conn_.CommitTrans(); });
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), (Lines{L"Connection(office).BeginTrans()", L"Connection(office).CommitTrans()"}));
}

TEST_F(TransactionsTest, GuardedRollbackBelowDepthZeroReachesTheDatabase)
{
    conn_.Rollback(false);
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), Lines(2, L"Connection(office).RollbackTrans()"));
}

TEST_F(TransactionsTest, TransactionFailuresPassAsTheyAre)
{
    ado_.failMember(L"Connection.BeginTrans", {E_FAIL, L"begin", L"Provider"});
    ado_.failMember(L"Connection.CommitTrans", {E_FAIL, L"commit", L"Provider"});
    EXPECT_EQ(raised([&] { conn_.BeginTrans(); }), (Error{E_FAIL, L"Provider", L"begin"}));
    EXPECT_EQ(raised([&] { conn_.CommitTrans(); }), (Error{E_FAIL, L"Provider", L"commit"}));
}

TEST_F(TransactionsTest, RefusedBeginLeavesTheDepthAlone)
{
    ado_.failMember(L"Connection.BeginTrans", {E_FAIL, L"begin", L"Provider"});
    raised([&] { conn_.BeginTrans(); });
    ado_.forget();
    conn_.Rollback(true);
    EXPECT_EQ(ado_.calls(), Lines());
}

} // namespace
