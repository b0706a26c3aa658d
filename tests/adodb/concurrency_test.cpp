#include "database_test.h"

#include "support/ServerSql.h"

#include <psapi.h>

namespace adodb {
namespace {

class ConcurrencyTest : public DatabaseTest
{
protected:
    long backend() const { return scalar(sessionQuery()); }
    com::Dispatch rowsUpTo(int last) const { return query(L"select n from " + numbers(last)); }
    static long remaining(const com::Dispatch& rows)
    {
        long count = 0;
        for (; !bool(rows.property(L"EOF")); ++count)
            rows.call(L"MoveNext");
        return count;
    }
};

TEST_F(ConcurrencyTest, StatementBesideAnOpenResultRunsOnAFurtherConnection)
{
    const long first = backend();
    const auto open = rowsUpTo(10);
    const long second = backend();
    EXPECT_NE(second, first);
    EXPECT_EQ(backend(), second) << "kept and used again";
    EXPECT_EQ(remaining(open), 10);
    EXPECT_EQ(backend(), first) << "free after the last row";
}

TEST_F(ConcurrencyTest, SeveralResultsAreReadInTurns)
{
    const auto a = rowsUpTo(1000);
    const auto b = rowsUpTo(1000);
    const auto c = rowsUpTo(1000);
    for (long n = 1; n <= 1000; ++n) {
        ASSERT_EQ(long(field(a, 0L)), n);
        ASSERT_EQ(long(field(b, 0L)), n);
        ASSERT_EQ(long(field(c, 0L)), n);
        for (const auto& rows : {a, b, c})
            rows.call(L"MoveNext");
    }
    EXPECT_TRUE(bool(c.property(L"EOF")));
}

TEST_F(ConcurrencyTest, TableCanBeChangedWhileItIsRead)
{
    createTable(L"v integer");
    execute(L"insert into " + table + L" select n, 0 from " + numbers(300));
    const auto rows = query(L"select id from " + table + L" order by id");
    for (; !bool(rows.property(L"EOF")); rows.call(L"MoveNext"))
        execute(L"update " + table + L" set v = id where id = " + std::to_wstring(long(field(rows, 0L))));
    EXPECT_EQ(long(scalar(L"select count(*) from " + table + L" where v = id")), 300);
}

TEST_F(ConcurrencyTest, TransactionUsesOneConnection)
{
    createTable(L"");
    connection.call(L"BeginTrans");
    const long first = backend();
    execute(L"insert into " + table + L" select n from " + numbers(500));
    const auto open = query(L"select id from " + table + L" order by id");
    EXPECT_EQ(backend(), first);
    execute(L"insert into " + table + L" values (501)");
    EXPECT_EQ(remaining(open), 500);
    connection.call(L"RollbackTrans");
    EXPECT_EQ(long(scalar(L"select count(*) from " + table)), 0);
}

TEST_F(ConcurrencyTest, ResultSurvivesTheEndOfItsTransaction)
{
    connection.call(L"BeginTrans");
    const auto committed = rowsUpTo(700);
    connection.call(L"CommitTrans");
    EXPECT_EQ(remaining(committed), 700);
    connection.call(L"BeginTrans");
    const auto rolledBack = rowsUpTo(700);
    connection.call(L"RollbackTrans");
    EXPECT_EQ(remaining(rolledBack), 700);
}

TEST_F(ConcurrencyTest, TransactionBesideAnOpenResult)
{
    createTable(L"");
    execute(L"insert into " + table + L" select n from " + numbers(500));
    const auto open = query(L"select id from " + table + L" order by id");
    connection.call(L"BeginTrans");
    execute(L"delete from " + table);
    connection.call(L"CommitTrans");
    EXPECT_EQ(remaining(open), 500);
}

TEST_F(ConcurrencyTest, CloseOfTheConnectionClosesItsRecordsets)
{
    const auto streaming = rowsUpTo(10);
    const auto kept = query(L"select 1", 3);
    connection.call(L"Close");
    EXPECT_EQ(long(streaming.property(L"State")), 0);
    EXPECT_EQ(long(kept.property(L"State")), 0);
    EXPECT_EQ(numberOf([&] { streaming.call(L"MoveNext"); }), 3704);
}

TEST_F(ConcurrencyTest, RecordsetKeepsItsConnectionAlive)
{
    const auto rows = rowsUpTo(10);
    connection = {};
    EXPECT_EQ(remaining(rows), 10);
    connection = openConnection();
}

TEST_F(ConcurrencyTest, ManyRowsAreReadWithoutHoldingThem)
{
    const auto workingSet = [] {
        PROCESS_MEMORY_COUNTERS counters = {};
        K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
        return counters.WorkingSetSize;
    };
    remaining(rowsUpTo(1000));
    const size_t before = workingSet();
    const auto rows =
        query(L"select n, cast(" + repeated(L"'x'", 500) + L" as varchar(500)) as t from " + numbers(200000));
    for (long n = 1; n < 100000; ++n)
        rows.call(L"MoveNext");
    const size_t halfway = workingSet();
    EXPECT_GT(before, 0u);
    EXPECT_LT(halfway > before ? halfway - before : 0, 8u * 1024 * 1024);
    EXPECT_EQ(remaining(rows), 100001);
}

} // namespace
} // namespace adodb
