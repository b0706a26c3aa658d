#include "db/clsConn.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

constexpr long kKeyset = 1;
constexpr long kDynamic = 2;
constexpr long kStatic = 3;
constexpr long kOptimistic = 3;
constexpr long kPessimistic = 2;

class ClsConnTest : public ::testing::Test
{
protected:
    void open()
    {
        conn_.openConnection(L"office", L"secret");
        ado_.forget();
    }

    /// Lines of the command that every text statement starts with.
    Lines textCommand(const std::wstring& text, const Lines& rest)
    {
        Lines lines{L"create Command", L"Command.CommandTimeout = 300",
                    L"set Command.ActiveConnection = Connection(office)", L"Command(office).CommandType = 1",
                    L"Command(office).CommandText = \"" + text + L"\""};
        lines.insert(lines.end(), rest.begin(), rest.end());
        return lines;
    }

    /// The lines of a query that is opened and let go at once.
    Lines query(long lockType, long cursorType, long cursorLocation)
    {
        ado_.forget();
        conn_.execSqlRs(L"select", lockType, cursorType, cursorLocation);
        return ado_.calls();
    }

    /// The lines of a query that opens its recordset; `before` is done to it first.
    Lines opened(const std::wstring& openArguments, const Lines& before = {})
    {
        return queried(before, {L"Recordset.Open(Command(office), missing, " + openArguments + L", -1)",
                                L"release Command(office)", L"release Recordset"});
    }

    /// The lines of a query that is the command's own result; `before` is done to the recordset that is not needed.
    Lines executed(const Lines& before = {})
    {
        return queried(before, {L"Command(office).Execute(missing, missing, -1)", L"release Recordset",
                                L"release Command(office)", L"release Recordset"});
    }

    Lines queried(const Lines& before, const Lines& after)
    {
        Lines rest{L"create Recordset"};
        rest.insert(rest.end(), before.begin(), before.end());
        rest.insert(rest.end(), after.begin(), after.end());
        return textCommand(L"select", rest);
    }

    RecordingAdo ado_;
    clsConn conn_;
};

TEST_F(ClsConnTest, OpensWithTimeoutServerCursorAndFixedLogin)
{
    conn_.openConnection(L"office", L"se;cret");
    EXPECT_EQ(ado_.calls(),
              (Lines{L"create Connection", L"Connection.CursorLocation = 2", L"Connection.ConnectionTimeout = 20",
                     L"Connection.Open(\"DSN=office;UID=quinmarkapp_user;PWD=se;cret\", \"\", \"\", -1)"}));
}

TEST_F(ClsConnTest, OpeningAgainReleasesThePreviousConnection)
{
    conn_.openConnection(L"office", L"");
    conn_.openConnection(L"laptop", L"");
    EXPECT_EQ(ado_.liveObjects(), 1);
    EXPECT_EQ(conn_.getConn().state(), ado::adStateOpen);
}

TEST_F(ClsConnTest, RefusedConnectionRaisesTheDatabasesError)
{
    ado_.failMember(L"Connection.Open", {static_cast<HRESULT>(0x80040E4D), L"Login failed", L"Provider"});
    EXPECT_EQ(raised([&] { conn_.openConnection(L"office", L"wrong"); }),
              (Error{static_cast<long>(0x80040E4D), L"clsConnopenConnection", L"Login failed"}));
}

TEST_F(ClsConnTest, AdosOwnRefusalToOpenIsMovedAmongTheObjectsErrors)
{
    ado_.failMember(L"Connection.Open", {static_cast<HRESULT>(0x800A0E7A), L"Provider cannot be found", L"ADODB"});
    EXPECT_EQ(raised([&] { conn_.openConnection(L"office", L""); }),
              (Error{static_cast<long>(0x80040000) + 3706, L"clsConnopenConnection", L"Provider cannot be found"}));
}

TEST_F(ClsConnTest, EveryFailureOfOpeningHasTheSourceWithoutItsDot)
{
    for (size_t call = 1; call <= 4; ++call) {
        ado_.failCall(call, {E_FAIL, L"Provider's text"});
        EXPECT_EQ(raised([&] { conn_.openConnection(L"office", L""); }).source, L"clsConnopenConnection") << call;
    }
}

TEST_F(ClsConnTest, MissingAdoRaisesCannotCreateObject)
{
    ado_.failMember(L"create Connection", {REGDB_E_CLASSNOTREG, L""});
    EXPECT_EQ(raised([&] { conn_.openConnection(L"office", L""); }),
              (Error{429, L"clsConnopenConnection", L"ActiveX component can't create object"}));
}

TEST_F(ClsConnTest, HasNoConnectionUntilItIsOpened)
{
    EXPECT_FALSE(conn_.getConn());
    EXPECT_EQ(raised([&] { conn_.getConn().state(); }).number, 91);
}

TEST_F(ClsConnTest, UsesAConnectionHandedIn)
{
    ado::Connection handedIn = ado::Connection::create();
    handedIn.open(L"DSN=laptop");
    open();
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
        other.setConn(ado::Connection(), com::Dispatch(ado_.recordset({})));
        EXPECT_EQ(ado_.liveObjects(), 1);
    }
    EXPECT_EQ(ado_.liveObjects(), 0);
}

TEST_F(ClsConnTest, ForwardOnlyQueryIsTheCommandsOwnResult)
{
    open();
    EXPECT_EQ(query(ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer), executed());
}

TEST_F(ClsConnTest, ForwardOnlyQueryBelowDepthZeroIsTheCommandsOwnResult)
{
    open();
    conn_.Rollback(false);
    EXPECT_EQ(query(ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer), executed());
}

TEST_F(ClsConnTest, ClientCursorOfAForwardOnlyQueryIsSetInVain)
{
    open();
    EXPECT_EQ(query(ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseClient),
              executed({L"Recordset.CursorLocation = 3"}));
}

TEST_F(ClsConnTest, ForwardOnlyQueryInATransactionIsAKeysetWithoutLockType)
{
    open();
    conn_.BeginTrans();
    EXPECT_EQ(query(ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer), opened(L"1, -1"));
    conn_.CommitTrans();
    EXPECT_EQ(query(ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer).size(), 10U);
}

TEST_F(ClsConnTest, UpdatableLockMakesAKeysetWhateverTheCursor)
{
    open();
    EXPECT_EQ(query(kOptimistic, ado::adOpenForwardOnly, ado::adUseServer), opened(L"1, 3"));
    EXPECT_EQ(query(kPessimistic, kStatic, ado::adUseServer), opened(L"1, 2"));
}

TEST_F(ClsConnTest, OtherCursorsAreOpenedAsAsked)
{
    open();
    EXPECT_EQ(query(ado::adLockReadOnly, kStatic, ado::adUseServer), opened(L"3, 1"));
    EXPECT_EQ(query(ado::adLockReadOnly, kDynamic, ado::adUseServer), opened(L"2, 1"));
    EXPECT_EQ(query(ado::adLockUnspecified, kKeyset, ado::adUseServer), opened(L"1, -1"));
}

TEST_F(ClsConnTest, ClientCursorIsSetBeforeOpening)
{
    open();
    EXPECT_EQ(query(ado::adLockReadOnly, kStatic, ado::adUseClient),
              opened(L"3, 1", {L"Recordset.CursorLocation = 3"}));
}

TEST_F(ClsConnTest, QueryDeliversItsRowsAndKeepsNothingAlive)
{
    open();
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

TEST_F(ClsConnTest, EveryFailureOfAQueryIsRaisedUnderItsName)
{
    open();
    ado_.forget();
    conn_.execSqlRs(L"select", ado::adLockReadOnly, kStatic, ado::adUseClient);
    const size_t calls = ado_.callCount();
    EXPECT_EQ(calls, 8U);
    for (size_t call = 1; call <= calls; ++call) {
        ado_.failCall(call, {static_cast<HRESULT>(0x80040E14), L"Syntax error"});
        const Error error = raised([&] { conn_.execSqlRs(L"select", ado::adLockReadOnly, kStatic, ado::adUseClient); });
        EXPECT_EQ(error.source, L"clsConn.execSqlRS") << call;
        EXPECT_EQ(error.number, static_cast<long>(0x80040E14)) << call;
        EXPECT_EQ(ado_.liveObjects(), 1) << call;
    }
}

TEST_F(ClsConnTest, StatementWithoutConnectionRaisesAdosRefusal)
{
    constexpr long kRefused = static_cast<long>(0x80040000) + 3709;
    const std::wstring text =
        L"The connection cannot be used to perform this operation. It is either closed or invalid in this context.";
    EXPECT_EQ(raised([&] { conn_.execSqlRs(L"select", 1, 0, 2); }), (Error{kRefused, L"clsConn.execSqlRS", text}));
    EXPECT_EQ(raised([&] { conn_.execute(L"update", false); }), (Error{kRefused, L"clsConn.execute", text}));
}

TEST_F(ClsConnTest, EmptyStatementTouchesNothing)
{
    EXPECT_EQ(conn_.execute(L"", true), 0);
    EXPECT_EQ(ado_.callCount(), 0U);
}

TEST_F(ClsConnTest, ExecuteWithCountReturnsTheRowsAffected)
{
    open();
    ado_.answer(L"update", adoAffected(3));
    EXPECT_EQ(conn_.execute(L"update", true), 3);
    EXPECT_EQ(ado_.calls(), textCommand(L"update", {L"Command(office).Execute(ref 0, missing, -1)",
                                                    L"release Recordset", L"release Command(office)"}));
}

TEST_F(ClsConnTest, ExecuteWithoutCountReturnsZero)
{
    open();
    ado_.answer(L"update", adoAffected(3));
    EXPECT_EQ(conn_.execute(L"update", false), 0);
    EXPECT_EQ(ado_.calls(), textCommand(L"update", {L"Command(office).Execute(missing, missing, -1)",
                                                    L"release Recordset", L"release Command(office)"}));
}

TEST_F(ClsConnTest, ExecuteIgnoresPendingParameters)
{
    open();
    conn_.Parameters(0, ado::adInteger, ado::adParamInput, 1L);
    conn_.execute(L"update", false);
    EXPECT_EQ(ado_.statements(), (Statements{{L"office", L"update"}}));
}

TEST_F(ClsConnTest, EveryFailureOfExecuteIsRaisedUnderItsName)
{
    open();
    conn_.execute(L"update", true);
    const size_t calls = ado_.callCount();
    EXPECT_EQ(calls, 6U);
    for (size_t call = 1; call <= calls; ++call) {
        ado_.failCall(call, {static_cast<HRESULT>(0x80040E14), L"Syntax error"});
        const Error error = raised([&] { conn_.execute(L"update", true); });
        EXPECT_EQ(error.source, L"clsConn.execute") << call;
        EXPECT_EQ(error.number, static_cast<long>(0x80040E14)) << call;
        EXPECT_EQ(conn_.retrieveCommandParms(), call == 1 ? L"" : L",'No Parms'") << call;
        EXPECT_EQ(ado_.liveObjects(), 1) << call;
    }
}

} // namespace
