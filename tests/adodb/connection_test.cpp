#include "database_test.h"

#include "connection.h"
#include "support/ServerSql.h"

namespace adodb {
namespace {

class ConnectionTest : public DatabaseTest
{
};

TEST_F(ConnectionTest, OpenShowsStateAndDatabaseButNoPassword)
{
    EXPECT_EQ(long(connection.property(L"State")), 1);
    EXPECT_EQ(textOf(connection.property(L"DefaultDatabase")), textOf(scalar(databaseQuery())));
    EXPECT_EQ(textOf(connection.property(L"ConnectionString")), L"DSN=" + dsn + L";UID=quinmarkapp_user");
    EXPECT_EQ(numberOf([&] { connection.call(L"Open"); }), 3705);
    EXPECT_EQ(numberOf([&] { connection.put(L"ConnectionTimeout", 3L); }), 3705);
}

TEST_F(ConnectionTest, ClosedCanBeOpenedAgain)
{
    connection.call(L"Close");
    EXPECT_EQ(long(connection.property(L"State")), 0);
    EXPECT_EQ(numberOf([&] { connection.property(L"DefaultDatabase"); }), 3704);
    connection.call(L"Open", {(L"DSN=" + dsn).c_str(), L"quinmarkapp_user", password.c_str()});
    EXPECT_EQ(long(connection.property(L"State")), 1);
}

TEST_F(ConnectionTest, WrongPasswordIsRefused)
{
    const auto other = com::Dispatch(com::makeObject<Connection>().Get());
    const com::Error error = errorOf([&] {
        other.call(L"Open", {(L"DSN=" + dsn).c_str(), L"quinmarkapp_user", L"wr;on}g"});
    });
    EXPECT_EQ(error.number, kLogonRefused);
    EXPECT_EQ(error.description.find(L"wr;on"), std::wstring::npos);
    EXPECT_EQ(long(other.property(L"State")), 0);
}

TEST_F(ConnectionTest, FailureCarriesTheDriversTextAndFillsErrors)
{
    const com::Error error = errorOf([&] { execute(L"drop table dbo.no_such_table"); });
    EXPECT_EQ(error.number, kNoSuchTable);
    EXPECT_EQ(error.source, L"Microsoft OLE DB Provider for ODBC Drivers");
    EXPECT_NE(error.description.find(L"no_such_table"), std::wstring::npos);
    const auto errors = com::Dispatch::from(connection.property(L"Errors"));
    ASSERT_EQ(long(errors.property(L"Count")), 1);
    const auto first = com::Dispatch::from(errors.property(L"Item", {0L}));
    EXPECT_EQ(textOf(first.property(L"SQLState")), isPostgreSql() ? L"42P01" : L"42S02");
    EXPECT_EQ(textOf(first.property(L"Description")), error.description);
    EXPECT_EQ(numberOf([&] { errors.property(L"Item", {1L}); }), 3265);
    errors.call(L"Clear");
    EXPECT_EQ(long(errors.property(L"Count")), 0);
}

TEST_F(ConnectionTest, StatementErrorsHaveTheirNumbers)
{
    createTable(L"");
    execute(L"insert into " + table + L" values (1)");
    EXPECT_EQ(numberOf([&] { execute(L"selec 1"); }), kStatementFailed);
    EXPECT_EQ(numberOf([&] { execute(L"insert into " + table + L" values (1)"); }), kConstraintFailed);
    EXPECT_EQ(numberOf([&] { execute(L"select 1 / 0"); }), kFailed);
}

TEST_F(ConnectionTest, CommandTimeoutStopsTheStatement)
{
    const auto holder = openConnection();
    const std::wstring update = waitingUpdate(holder);
    connection.put(L"CommandTimeout", 1L);
    EXPECT_EQ(numberOf([&] { execute(update); }), kTimedOut);
    if (!goesThrough(L"an end to a statement that waits for a lock", [&] { scalar(L"select 7"); }))
        return;
    EXPECT_EQ(long(scalar(L"select 7")), 7);
}

TEST_F(ConnectionTest, RowsAffectedOfABatchAreThoseOfItsFirstStatement)
{
    createTable(L"a integer");
    const auto run = [&](const std::wstring& sql) { return affectedBy(connection, {sql.c_str()}); };
    EXPECT_EQ(run(L"insert into " + table + L" values (1, 1), (2, 2), (3, 3)"), 3);
    EXPECT_EQ(run(L"delete from " + table + L" where id > 1; insert into " + table + L" values (9, 9)"), 2);
    EXPECT_EQ(run(L"delete from " + table + L" where id = 77"), 0);
    EXPECT_EQ(run(L"select * from " + table), -1);
}

TEST_F(ConnectionTest, LaterFailureInABatchIsRaised)
{
    createTable(L"");
    const com::Error error =
        errorOf([&] { execute(L"insert into " + table + L" values (1); insert into " + table + L" values (1)"); });
    EXPECT_EQ(error.number, kConstraintFailed);
}

TEST_F(ConnectionTest, CommittedStaysAndRolledBackGoes)
{
    createTable(L"");
    EXPECT_EQ(long(connection.call(L"BeginTrans")), 1);
    execute(L"insert into " + table + L" values (1)");
    EXPECT_EQ(numberOf([&] { connection.call(L"BeginTrans"); }), kTransactionIsOpen);
    EXPECT_EQ(numberOf([&] { connection.call(L"Close"); }), 3246);
    connection.call(L"CommitTrans");
    connection.call(L"BeginTrans");
    execute(L"insert into " + table + L" values (2)");
    connection.call(L"RollbackTrans");
    EXPECT_EQ(long(scalar(L"select max(id) from " + table)), 1);
}

TEST_F(ConnectionTest, EndOfNoTransactionIsAnError)
{
    for (const wchar_t* method : {L"CommitTrans", L"RollbackTrans"}) {
        const com::Error error = errorOf([&] { connection.call(method); });
        EXPECT_EQ(error.number, kNotInTransaction);
        EXPECT_EQ(error.description, L"No transaction is active.");
    }
}

TEST_F(ConnectionTest, FailedStatementLeavesTheTransactionUsable)
{
    createTable(L"");
    connection.call(L"BeginTrans");
    execute(L"insert into " + table + L" values (1)");
    EXPECT_NE(numberOf([&] { execute(L"insert into " + table + L" values (1)"); }), 0);
    execute(L"insert into " + table + L" values (2)");
    connection.call(L"CommitTrans");
    EXPECT_EQ(long(scalar(L"select max(id) from " + table)), 2);
}

TEST_F(ConnectionTest, ReleaseRollsBack)
{
    createTable(L"");
    connection.call(L"BeginTrans");
    execute(L"insert into " + table + L" values (1)");
    connection = openConnection();
    EXPECT_EQ(textOf(scalar(L"select max(id) from " + table)), L"<Null>");
}

TEST_F(ConnectionTest, StatementsOfSqlServerRun)
{
    createTable(L"[name] varchar(20), stamp " + dateType());
    execute(L"insert into " + table + L" values (1, 'a', '01/02/2020 03:04:05'), (2, 'b', '01/02/2020')");
    EXPECT_EQ(textOf(scalar(L"select top 1 [name] from " + table + L" order by [id] desc")), L"b");
    EXPECT_EQ(long(scalar(L"select [id] from " + table + L" where stamp > dateadd(s, 10, '01/02/2020 03:00:00')")), 1);
    execute(L"IF OBJECT_ID('dbo.FK_none', 'F') IS NOT NULL alter table " + table + L" drop constraint FK_none");
}

} // namespace
} // namespace adodb
