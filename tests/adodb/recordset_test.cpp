#include "database_test.h"
#include "support/ServerSql.h"

namespace adodb {
namespace {

class RecordsetTest : public DatabaseTest
{
protected:
    static bool isEof(const com::Dispatch& recordset) { return recordset.property(L"EOF"); }
    static std::wstring rowsUpTo(int last) { return L"select n from " + numbers(last); }
};

TEST_F(RecordsetTest, WalksForwardThroughItsRows)
{
    const auto rows = query(rowsUpTo(3));
    EXPECT_EQ(long(rows.property(L"State")), 1);
    EXPECT_EQ(long(rows.property(L"RecordCount")), -1);
    for (long expected = 1; expected <= 3; ++expected) {
        ASSERT_FALSE(isEof(rows));
        EXPECT_EQ(long(field(rows, L"N")), expected);
        rows.call(L"MoveNext");
    }
    EXPECT_TRUE(isEof(rows));
    EXPECT_FALSE(bool(rows.property(L"BOF")));
    EXPECT_EQ(numberOf([&] { rows.call(L"MoveNext"); }), 3021);
    EXPECT_EQ(numberOf([&] { field(rows, 0L); }), 3021);
    rows.call(L"Close");
    EXPECT_EQ(long(rows.property(L"State")), 0);
    EXPECT_EQ(numberOf([&] { rows.call(L"Close"); }), 3704);
}

TEST_F(RecordsetTest, EmptyIsAtBothEnds)
{
    for (const long cursorType : {0L, 3L}) {
        const auto rows = query(rowsUpTo(0), cursorType);
        EXPECT_TRUE(isEof(rows));
        EXPECT_TRUE(bool(rows.property(L"BOF")));
        EXPECT_EQ(long(rows.property(L"RecordCount")), cursorType == 0 ? -1 : 0);
        EXPECT_EQ(numberOf([&] { rows.call(L"MoveFirst"); }), 3021);
        EXPECT_EQ(com::Dispatch::from(rows.property(L"Fields")).property(L"Count"), _variant_t(1L));
    }
}

TEST_F(RecordsetTest, ForwardOnlyDoesNotGoBack)
{
    const auto rows = query(rowsUpTo(2));
    rows.call(L"MoveFirst");
    rows.call(L"MoveNext");
    const com::Error error = errorOf([&] { rows.call(L"MoveFirst"); });
    EXPECT_EQ(error.number, kCannotGoBack);
}

TEST_F(RecordsetTest, OtherCursorsGoBackAndCount)
{
    for (const long cursorType : {1L, 2L, 3L}) {
        const auto rows = query(rowsUpTo(3), cursorType);
        EXPECT_EQ(long(rows.property(L"CursorType")), cursorType);
        EXPECT_EQ(long(rows.property(L"RecordCount")), 3);
        while (!isEof(rows))
            rows.call(L"MoveNext");
        rows.call(L"MoveFirst");
        EXPECT_EQ(long(field(rows, 0L)), 1);
    }
}

TEST_F(RecordsetTest, ClientSideConnectionGivesStaticRecordsets)
{
    connection.put(L"CursorLocation", 3L);
    const auto rows = execute(rowsUpTo(4));
    EXPECT_EQ(long(rows.property(L"CursorType")), 3);
    EXPECT_EQ(long(rows.property(L"CursorLocation")), 3);
    EXPECT_EQ(long(rows.property(L"RecordCount")), 4);
}

TEST_F(RecordsetTest, StatementWithoutRowsLeavesItClosed)
{
    createTable(L"");
    const auto rows = execute(L"insert into " + table + L" values (1)");
    EXPECT_EQ(long(rows.property(L"State")), 0);
    EXPECT_EQ(long(com::Dispatch::from(rows.property(L"Fields")).property(L"Count")), 0);
    EXPECT_EQ(numberOf([&] { rows.property(L"EOF"); }), 3704);
}

TEST_F(RecordsetTest, OpenRefusesASecondOpen)
{
    const auto rows = query(rowsUpTo(2));
    EXPECT_EQ(numberOf([&] { rows.call(L"Open", {L"select 1"}); }), 3705);
    EXPECT_EQ(numberOf([&] { rows.put(L"CursorType", 3L); }), 3705);
    rows.call(L"Close");
    rows.call(L"Open", {L"select 5"});
    EXPECT_EQ(long(field(rows, 0L)), 5);
}

TEST_F(RecordsetTest, OpensACommandWithoutConnection)
{
    const auto source = command(L"select ? + 1");
    append(source, L"n", 3, 1, 0, 41L);
    const auto rows = createRecordset();
    rows.call(L"Open", {object(source), com::missing(), 3L, 1L});
    EXPECT_EQ(long(field(rows, 0L)), 42);
    EXPECT_EQ(long(rows.property(L"RecordCount")), 1);
    rows.call(L"Close");
    EXPECT_EQ(numberOf([&] { rows.call(L"Open", {object(source), object(connection)}); }), 3707);
}

TEST_F(RecordsetTest, ItemsAreFoundByNameAndNumberOnly)
{
    const auto rows = query(L"select 1 as a, 2 as \"B c\"");
    EXPECT_EQ(long(field(rows, L"b C")), 2);
    EXPECT_EQ(long(field(rows, 1L)), 2);
    for (_variant_t variable : {_variant_t(L"b C"), _variant_t(1L), _variant_t(1.0)}) {
        _variant_t reference;
        reference.pvarVal = &variable;
        reference.vt = VT_BYREF | VT_VARIANT;
        EXPECT_EQ(long(field(rows, reference)), 2);
    }
    for (const _variant_t& index : {_variant_t(L"x"), _variant_t(2L), _variant_t(-1L)}) {
        const com::Error error = errorOf([&] { field(rows, index); });
        EXPECT_EQ(error.number, 3265);
        EXPECT_EQ(error.description,
                  L"Item cannot be found in the collection corresponding to the requested name or ordinal.");
    }
}

TEST_F(RecordsetTest, FieldFollowsTheCurrentRow)
{
    const auto rows = query(rowsUpTo(2));
    const auto n = com::Dispatch::from(rows.property(L"Fields", {0L}));
    EXPECT_EQ(long(n.property(L"Value")), 1);
    rows.call(L"MoveNext");
    EXPECT_EQ(long(n.property(L"Value")), 2);
    rows.call(L"Close");
    EXPECT_EQ(numberOf([&] { n.property(L"Value"); }), 3704);
}

TEST_F(RecordsetTest, UpdatingIsRefused)
{
    const auto rows = query(rowsUpTo(1));
    EXPECT_EQ(numberOf([&] { rows.call(L"AddNew"); }), 3251);
    EXPECT_EQ(numberOf([&] { rows.call(L"Update"); }), 3251);
    EXPECT_EQ(numberOf([&] { com::Dispatch::from(rows.property(L"Fields", {0L})).put(L"Value", 1L); }), 3251);
    EXPECT_EQ(numberOf([&] { rows.call(L"NextRecordset"); }), 3251);
}

TEST_F(RecordsetTest, CloseBeforeALaterFailureLeavesTheConnectionUsable)
{
    createTable(L"");
    execute(L"insert into " + table + L" values (1)");
    // A server that runs the whole batch at once raises the failure here.
    errorOf([&] { query(L"select 1 as a; insert into " + table + L" values (1)").call(L"Close"); });
    EXPECT_EQ(long(scalar(L"select 7")), 7);
}

TEST_F(RecordsetTest, FailureInALaterRowIsRaised)
{
    const auto rows = createRecordset();
    const com::Error error = errorOf([&] {
        rows.call(L"Open", {com::textVariant(L"select 1 / (3000 - n) from " + numbers(5000)), object(connection)});
        while (!isEof(rows))
            rows.call(L"MoveNext");
    });
    EXPECT_NE(error.description.find(L"zero"), std::wstring::npos) << error.description.c_str();
}

} // namespace
} // namespace adodb
