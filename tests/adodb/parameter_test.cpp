#include "database_test.h"
#include "support/ServerSql.h"

namespace adodb {
namespace {

class ParameterTest : public DatabaseTest
{
};

TEST_F(ParameterTest, VariableLengthNeedsASize)
{
    const auto text = createCommand();
    for (const long type : {200L, 129L, 201L, 204L, 0L, 9999L}) {
        const com::Error error = errorOf([&] { append(text, L"p", type, 1, 0); });
        EXPECT_EQ(error.number, 3708) << type;
        EXPECT_EQ(error.description, L"Parameter object is improperly defined. Inconsistent or incomplete information "
                                     L"was provided.");
    }
    EXPECT_EQ(numberOf([&] { append(text, L"p", 3, 9, 0); }), 3708) << "unknown direction";
}

TEST_F(ParameterTest, ValueMustFitTypeAndSize)
{
    const auto text = createCommand();
    for (const auto& [type, size, value] :
         {std::tuple(200L, 3L, _variant_t(L"four")), std::tuple(3L, 0L, _variant_t(L"x")),
          std::tuple(2L, 0L, _variant_t(70000L)), std::tuple(72L, 0L, _variant_t(L"no guid")),
          std::tuple(204L, 9L, _variant_t(L"no bytes"))})
        EXPECT_EQ(numberOf([&] { append(text, L"p", type, 1, size, value); }), 3421) << type;
    const auto parameter = append(text, L"p", 200, 1, 3, L"abc");
    EXPECT_EQ(numberOf([&] { parameter.put(L"Value", L"abcd"); }), 3421);
    EXPECT_EQ(textOf(parameter.property(L"Value")), L"abc");
}

TEST_F(ParameterTest, DigitsBeyondPrecisionOrScaleAreRefused)
{
    for (const wchar_t* value : {L"1.234", L"1234.5"}) {
        const auto select = command(L"select cast(? as numeric)");
        const auto parameter = append(select, L"p", 131, 1, 0, value);
        parameter.put(L"Precision", 5L);
        parameter.put(L"NumericScale", 2L);
        EXPECT_EQ(numberOf([&] { select.call(L"Execute"); }), 3421) << value;
    }
}

TEST_F(ParameterTest, NegativeTinyIntIsRefusedWhereItHasNoSign)
{
    createTable(L"v smallint");
    const auto insert = command(L"insert into " + table + L" values (1, ?)");
    append(insert, L"v", 16, 1, 0, short{-5});
    EXPECT_EQ(numberOf([&] { insert.call(L"Execute"); }), isPostgreSql() ? 0 : 3421);
}

TEST_F(ParameterTest, TextBeyondTheCodePageOfItsColumnArrivesWithQuestionMarks)
{
    createTable(L"v varchar(20)");
    const auto insert = command(L"insert into " + table + L" values (1, ?)");
    append(insert, L"v", 200, 1, 20, L"\x00eb \x0416");
    insert.call(L"Execute");
    EXPECT_EQ(textOf(scalar(L"select v from " + table)), isPostgreSql() ? L"\x00eb \x0416" : L"\x00eb ?");
}

TEST_F(ParameterTest, InputWithoutValueIsRefused)
{
    const auto select = command(L"select cast(? as integer)");
    append(select, L"p", 3, 1, 0);
    EXPECT_EQ(numberOf([&] { select.call(L"Execute"); }), kNoValue);
}

TEST_F(ParameterTest, OutputTextMayUseItsWholeSizeAndNoMore)
{
    const auto call = procedure(L"(out o varchar, n integer) language sql as 'select repeat(''\x0416'', n)'",
                                L"@o nvarchar(4000) output, @n int as set @o = replicate(N'\x0416', @n)");
    const auto output = append(call, L"o", 202, 2, 10);
    const auto count = append(call, L"n", 3, 1, 0, 10L);
    call.call(L"Execute");
    EXPECT_EQ(textOf(output.property(L"Value")), std::wstring(10, L'\x0416'));
    count.put(L"Value", 4000L);
    if (!isPostgreSql())
        return; // SQL Server itself cuts the value
    EXPECT_NE(numberOf([&] { call.call(L"Execute"); }), 0);
}

TEST_F(ParameterTest, CollectionFindsCountsAndDeletes)
{
    const auto text = createCommand();
    append(text, L"first", 3, 1, 0, 1L);
    append(text, L"second", 3, 1, 0, 2L);
    const auto parameters = com::Dispatch::from(text.property(L"Parameters"));
    EXPECT_EQ(long(parameters.property(L"Count")), 2);
    EXPECT_EQ(textOf(com::Dispatch::from(parameters.property(L"Item", {1L})).property(L"Name")), L"second");
    EXPECT_EQ(long(com::Dispatch::from(text.property(L"Parameters", {L"FIRST"})).property(L"Value")), 1);
    EXPECT_EQ(numberOf([&] { parameters.property(L"Item", {L"third"}); }), 3265);
    parameters.call(L"Delete", {L"first"});
    EXPECT_EQ(long(parameters.property(L"Count")), 1);
    EXPECT_EQ(numberOf([&] { parameters.call(L"Delete", {5L}); }), 3265);
    EXPECT_EQ(numberOf([&] { parameters.call(L"Refresh"); }), 3251);
    EXPECT_EQ(numberOf([&] { parameters.call(L"Append", {object(connection)}); }), 3001);
}

} // namespace
} // namespace adodb
