#include "database_test.h"

namespace adodb {
namespace {

class CommandTest : public DatabaseTest
{
protected:
    void createSample()
    {
        createTable(L"name varchar(20)");
        execute(L"insert into " + table + L" values (1, 'one'), (2, 'two'), (3, null)");
    }
};

TEST_F(CommandTest, RowsAffectedComeBack)
{
    createSample();
    EXPECT_EQ(affectedBy(command(L"update " + table + L" set name = 'x' where id < 3")), 2);
    EXPECT_EQ(affectedBy(command(L"select 1")), -1);
}

TEST_F(CommandTest, RowsAffectedGoIntoATypedVariableToo)
{
    createSample();
    long rows = 0;
    _variant_t byReference;
    V_VT(&byReference) = VT_BYREF | VT_I4;
    V_I4REF(&byReference) = &rows;
    command(L"delete from " + table).call(L"Execute", {byReference});
    EXPECT_EQ(rows, 3);
}

TEST_F(CommandTest, PreparedRunsAgainWithOtherValues)
{
    createSample();
    const auto select = command(L"select name from " + table + L" where id = ?");
    select.put(L"Prepared", true);
    const auto key = append(select, L"key", 3, 1, 0, 1L);
    EXPECT_EQ(textOf(field(com::Dispatch::from(select.call(L"Execute")), 0L)), L"one");
    key.put(L"Value", 2L);
    const auto open = com::Dispatch::from(select.call(L"Execute"));
    key.put(L"Value", 3L);
    EXPECT_EQ(textOf(field(com::Dispatch::from(select.call(L"Execute")), 0L)), L"<Null>");
    EXPECT_EQ(textOf(field(open, 0L)), L"two");
}

TEST_F(CommandTest, PreparedFailureCanBeRepeated)
{
    createSample();
    const auto insert = command(L"insert into " + table + L" (id) values (?)");
    insert.put(L"Prepared", true);
    const auto key = append(insert, L"key", 3, 1, 0, 1L);
    for (int attempt = 0; attempt < 2; ++attempt)
        EXPECT_EQ(numberOf([&] { insert.call(L"Execute"); }), kConstraintFailed);
    key.put(L"Value", 9L);
    EXPECT_EQ(affectedBy(insert), 1);
}

TEST_F(CommandTest, ExecuteTakesValuesInAnArray)
{
    createSample();
    const auto select = command(L"select id from " + table + L" where name = ? or id = ?");
    append(select, L"name", 200, 1, 20);
    append(select, L"key", 3, 1, 0, 9L);
    SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    static_cast<VARIANT*>(array->pvData)[0] = _variant_t(L"two").Detach();
    _variant_t values;
    V_VT(&values) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(&values) = array;
    const auto rows = com::Dispatch::from(select.call(L"Execute", {com::missing(), values}));
    EXPECT_EQ(long(field(rows, 0L)), 2);
}

TEST_F(CommandTest, ProcedureWithInputAndOutputs)
{
    const auto call = procedure(L"(out id uuid, out n integer, a integer, name varchar) language sql as "
                                L"'select ''a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11''::uuid, a + length(name)'",
                                L"@id uniqueidentifier output, @n int output, @a int, @name nvarchar(20) as "
                                L"select @id = 'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11', @n = @a + len(@name)");
    const auto id = append(call, L"id", 72, 2, 0);
    const auto n = append(call, L"n", 3, 2, 0);
    append(call, L"a", 3, 1, 0, 40L);
    append(call, L"name", 200, 1, 20, L"\x00e9\x0416");
    call.call(L"Execute");
    EXPECT_EQ(textOf(id.property(L"Value")), L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}");
    EXPECT_EQ(long(n.property(L"Value")), 42);
}

TEST_F(CommandTest, ProcedureWithReturnValue)
{
    const auto call =
        procedure(L"(a integer) returns integer language sql as 'select a * 2'", L"@a int as return @a * 2");
    const auto result = append(call, L"result", 3, 4, 0);
    append(call, L"a", 3, 1, 0, 21L);
    call.call(L"Execute");
    EXPECT_EQ(long(result.property(L"Value")), 42);
}

TEST_F(CommandTest, ProcedureWithoutResult)
{
    createSample();
    const auto call = procedure(L"(k integer) returns void language sql as 'delete from " + table + L" where id = k'",
                                L"@k int as delete from " + table + L" where id = @k");
    append(call, L"k", 3, 1, 0, 2L);
    call.call(L"Execute");
    EXPECT_EQ(long(scalar(L"select count(*) from " + table)), 2);
}

TEST_F(CommandTest, ActiveConnectionIsTheSameObjectUntilItIsTakenAway)
{
    const auto select = command(L"select 1");
    EXPECT_EQ(com::Dispatch::from(select.property(L"ActiveConnection")).get(), connection.get());
    select.putReference(L"ActiveConnection", com::Dispatch());
    EXPECT_EQ(numberOf([&] { select.call(L"Execute"); }), 3709);
}

TEST_F(CommandTest, ActiveConnectionTakesAConnectionString)
{
    const auto select = createCommand();
    select.put(L"ActiveConnection", connectionString().c_str());
    select.put(L"CommandText", L"select 5");
    EXPECT_EQ(long(field(com::Dispatch::from(select.call(L"Execute")), 0L)), 5);
}

TEST_F(CommandTest, TimeoutStopsTheStatement)
{
    const auto holder = openConnection();
    const auto update = command(waitingUpdate(holder));
    update.put(L"CommandTimeout", 1L);
    EXPECT_EQ(numberOf([&] { update.call(L"Execute"); }), kTimedOut);
}

TEST_F(CommandTest, NonAsciiTextInTheStatement)
{
    EXPECT_EQ(textOf(scalar(L"select N'O''Br\x00eb\x0416\x20ac'")), L"O'Br\x00eb\x0416\x20ac");
}

} // namespace
} // namespace adodb
