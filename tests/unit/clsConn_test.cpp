#include "ConnectionFixture.h"
#include "ado/constants.h"
#include "com/convert.h"

namespace {

class ClsConnTest : public ConnectionTest
{
protected:
    /// Lines of the command that every text statement starts with, and what follows them.
    static Lines textCommand(const std::wstring& text, const Lines& rest)
    {
        Lines lines{L"create Command", L"Command.CommandTimeout = 300",
                    L"set Command.ActiveConnection = Connection(office)", L"Command(office).CommandType = 1",
                    L"Command(office).CommandText = \"" + text + L"\""};
        lines.insert(lines.end(), rest.begin(), rest.end());
        return lines;
    }
};

TEST_F(ClsConnTest, OpensWithTimeoutServerCursorAndFixedLogin)
{
    clsConn().openConnection(L"office", L"se;cret");
    EXPECT_EQ(ado_.calls(),
              (Lines{L"create Connection", L"Connection.CursorLocation = 2", L"Connection.ConnectionTimeout = 20",
                     L"Connection.Open(\"DSN=office;UID=quinmarkapp_user;PWD=se;cret\", \"\", \"\", -1)",
                     L"release Connection(office)"}));
}

TEST_F(ClsConnTest, OpeningAgainReleasesThePreviousConnection)
{
    conn_.openConnection(L"laptop", L"");
    EXPECT_EQ(ado_.liveObjects(), 1);
    EXPECT_EQ(conn_.getConn().state(), ado::adStateOpen);
}

struct OpenFailure
{
    const wchar_t* member;
    AdoFailure failure;
    long number;
    const wchar_t* description;
};

TEST_F(ClsConnTest, FailureToOpenIsRaisedUnderTheNameWithoutItsDot)
{
    const OpenFailure failures[] = {
        {L"create Connection", {REGDB_E_CLASSNOTREG, L""}, 429, L"ActiveX component can't create object"},
        {L"Connection.CursorLocation", {E_FAIL, L"No cursor"}, E_FAIL, L"No cursor"},
        {L"Connection.ConnectionTimeout", {E_FAIL, L"No timeout"}, E_FAIL, L"No timeout"},
        {L"Connection.Open", {E_FAIL, L"Login failed"}, E_FAIL, L"Login failed"},
        // ADO's own refusal is moved among the objects' errors
        {L"Connection.Open", {static_cast<HRESULT>(0x800A0E7A), L"No provider"}, -2147221504 + 3706, L"No provider"},
    };
    for (const auto& [member, failure, number, description] : failures) {
        ado_.failMember(member, failure);
        EXPECT_EQ(raised([&] { conn_.openConnection(L"office", L""); }),
                  (Error{number, L"clsConnopenConnection", description}));
    }
}

TEST_F(ClsConnTest, HasNoConnectionUntilItIsOpened)
{
    const clsConn conn;
    EXPECT_FALSE(conn.getConn());
    EXPECT_EQ(raised([&] { conn.getConn().state(); }).number, 91);
}

TEST_F(ClsConnTest, UsesAConnectionHandedIn)
{
    ado::Connection handedIn = ado::Connection::create();
    handedIn.open(L"DSN=laptop");
    conn_.setConn(handedIn, com::Dispatch());
    EXPECT_EQ(ado_.liveObjects(), 1);
    EXPECT_EQ(conn_.getConn().object().get(), handedIn.object().get());
    conn_.execute(L"update", false);
    EXPECT_EQ(ado_.statements(), (Statements{{L"laptop", L"update"}}));
}

TEST_F(ClsConnTest, KeepsTheCompanionAsLongAsTheConnection)
{
    {
        clsConn other;
        other.setConn(ado::Connection(), ado_.recordset({}));
        EXPECT_EQ(ado_.liveObjects(), 2);
    }
    EXPECT_EQ(ado_.liveObjects(), 1);
}

/// A query at a depth of transactions, and how its recordset is opened; empty when it is the command's own result.
struct Query
{
    long lockType;
    long cursorType;
    long cursorLocation;
    int depth;
    std::wstring opened;
};

TEST_F(ClsConnTest, QueryIsTheCommandsOwnResultWhenItReadsForwardOutsideATransaction)
{
    constexpr long kKeyset = 1, kDynamic = 2, kStatic = 3, kPessimistic = 2, kOptimistic = 3;
    using namespace ado;
    const Query queries[] = {
        {adLockReadOnly, adOpenForwardOnly, adUseServer, 0, L""},
        {adLockReadOnly, adOpenForwardOnly, adUseServer, -1, L""},
        {adLockReadOnly, adOpenForwardOnly, adUseClient, 0, L""}, // a client cursor is set in vain
        // in a transaction a keyset without a lock type
        {adLockReadOnly, adOpenForwardOnly, adUseServer, 1, L"1, -1"},
        // an updatable lock makes a keyset whatever the cursor
        {kOptimistic, adOpenForwardOnly, adUseServer, 0, L"1, 3"},
        {kPessimistic, kStatic, adUseServer, 0, L"1, 2"},
        // other cursors are opened as asked
        {adLockReadOnly, kStatic, adUseServer, 0, L"3, 1"},
        {adLockReadOnly, kDynamic, adUseServer, 0, L"2, 1"},
        {adLockUnspecified, kKeyset, adUseServer, 0, L"1, -1"},
        {adLockReadOnly, kStatic, adUseClient, 0, L"3, 1"},
    };
    for (const auto& [lockType, cursorType, cursorLocation, depth, opened] : queries) {
        clsConn conn;
        conn.openConnection(L"office", L"");
        if (depth > 0)
            conn.BeginTrans();
        if (depth < 0)
            conn.Rollback(false);
        ado_.forget();
        conn.execSqlRs(L"select", lockType, cursorType, cursorLocation);
        Lines rest{L"create Recordset"};
        if (cursorLocation == adUseClient)
            rest.push_back(L"Recordset.CursorLocation = 3");
        if (opened.empty())
            rest.insert(rest.end(), {L"Command(office).Execute(missing, missing, -1)", L"release Recordset"});
        else
            rest.push_back(L"Recordset.Open(Command(office), missing, " + opened + L", -1)");
        rest.insert(rest.end(), {L"release Command(office)", L"release Recordset"});
        EXPECT_EQ(ado_.calls(), textCommand(L"select", rest)) << lockType << cursorType << cursorLocation << depth;
    }
}

TEST_F(ClsConnTest, QueryDeliversItsRowsAndKeepsNothingAlive)
{
    ado_.answer(L"select", adoTexts(L"id", {L"a", L"b"}));
    {
        ado::Recordset rs = conn_.execSqlRs(L"select", ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer);
        EXPECT_EQ(com::toText(rs.value(L"id")), L"a");
        rs.moveNext();
        EXPECT_EQ(com::toText(rs.value(L"id")), L"b");
        EXPECT_EQ(ado_.liveObjects(), 3) << "connection, recordset and its fields";
    }
    EXPECT_EQ(ado_.liveObjects(), 1);
}

TEST_F(ClsConnTest, StatementWithoutConnectionRaisesAdosRefusal)
{
    clsConn conn;
    constexpr long kRefused = static_cast<long>(0x80040000) + 3709;
    const std::wstring text =
        L"The connection cannot be used to perform this operation. It is either closed or invalid in this context.";
    EXPECT_EQ(raised([&] { conn.execSqlRs(L"select", 1, 0, 2); }), (Error{kRefused, L"clsConn.execSqlRS", text}));
    EXPECT_EQ(raised([&] { conn.execute(L"update", false); }), (Error{kRefused, L"clsConn.execute", text}));
}

TEST_F(ClsConnTest, EmptyStatementTouchesNothing)
{
    EXPECT_EQ(conn_.execute(L"", true), 0);
    EXPECT_EQ(ado_.callCount(), 0U);
}

TEST_F(ClsConnTest, ExecuteReturnsTheRowsAffectedOnlyWhenAskedFor)
{
    ado_.answer(L"update", adoAffected(3));
    EXPECT_EQ(conn_.execute(L"update", true), 3);
    EXPECT_EQ(ado_.calls(), textCommand(L"update", {L"Command(office).Execute(ref 0, missing, -1)",
                                                    L"release Recordset", L"release Command(office)"}));
    ado_.forget();
    EXPECT_EQ(conn_.execute(L"update", false), 0);
    EXPECT_EQ(ado_.calls(), textCommand(L"update", {L"Command(office).Execute(missing, missing, -1)",
                                                    L"release Recordset", L"release Command(office)"}));
}

TEST_F(ClsConnTest, ExecuteIgnoresPendingParameters)
{
    conn_.Parameters(0, ado::adInteger, ado::adParamInput, 1L);
    conn_.execute(L"update", false);
    EXPECT_EQ(ado_.statements(), (Statements{{L"office", L"update"}}));
}

TEST_F(ClsConnTest, EveryFailureIsRaisedUnderTheOperationsName)
{
    expectEveryFailureFrom(L"clsConn.execSqlRS", 8, [&] { conn_.execSqlRs(L"select", 1, 3, 3); });
    expectEveryFailureFrom(L"clsConn.execute", 6, [&] { conn_.execute(L"update", true); });
}

class TransactionsTest : public ConnectionTest
{
protected:
    /// Takes steps on a connection: (B)egin, (C)ommit, (R)ollback if open, (U)nguarded rollback.
    static void take(clsConn& conn, const std::string& steps)
    {
        for (const char step : steps) {
            if (step == 'B')
                conn.BeginTrans();
            else if (step == 'C')
                conn.CommitTrans();
            else
                conn.Rollback(step == 'R');
        }
    }

    /// The calls that reached the database.
    std::wstring reached() const
    {
        std::wstring all;
        for (const std::wstring& call : ado_.calls())
            all += call.substr(call.find(L'.') + 1);
        return all;
    }
};

TEST_F(TransactionsTest, OnlyTheOutermostOneReachesTheDatabaseAndTheDepthIsNotGuarded)
{
    const std::pair<const char*, const wchar_t*> transactions[] = {
        {"BBC", L"BeginTrans()"},
        {"BBCC", L"BeginTrans()CommitTrans()"},
        {"BBR", L"BeginTrans()"},
        {"BBRR", L"BeginTrans()RollbackTrans()"},
        {"R", L""},
        {"C", L"CommitTrans()"},
        {"CBR", L"CommitTrans()BeginTrans()"},
        {"UBR", L"RollbackTrans()BeginTrans()"},
        {"UR", L"RollbackTrans()RollbackTrans()"},
    };
    for (const auto& [steps, expected] : transactions) {
        clsConn conn;
        conn.openConnection(L"office", L"");
        ado_.forget();
        take(conn, steps);
        EXPECT_EQ(reached(), expected) << steps;
    }
}

struct RefusedStep
{
    const wchar_t* member;
    const char* before;
    const char* refused;
    const char* after;
    const wchar_t* reached;
};

TEST_F(TransactionsTest, RefusalPassesAsItIsAndOnlyABeginIsNotCounted)
{
    const RefusedStep cases[] = {
        {L"Connection.BeginTrans", "", "B", "R", L"BeginTrans()"},
        {L"Connection.CommitTrans", "B", "C", "R", L"BeginTrans()CommitTrans()"},
        {L"Connection.RollbackTrans", "", "U", "BR", L"RollbackTrans()BeginTrans()"},
    };
    for (const auto& [member, before, refused, after, expected] : cases) {
        clsConn conn;
        conn.openConnection(L"office", L"");
        ado_.forget();
        take(conn, before);
        ado_.failMember(member, refused_);
        EXPECT_EQ(raised([&] { take(conn, refused); }), (Error{refused_.code, L"Provider", L"Refused"}));
        take(conn, after);
        EXPECT_EQ(reached(), expected);
    }
}

} // namespace
