#include "database_test.h"

#include "com/convert.h"
#include "value_conversion.h"

namespace adodb {
namespace {

struct ParameterCase
{
    const char* name;
    long type;
    long size;
    long precision;
    long scale;
    _variant_t value;
    const wchar_t* sqlType; ///< of PostgreSQL
    const wchar_t* text;    ///< what comes back, as text
};

void PrintTo(const ParameterCase& c, std::ostream* out)
{
    *out << c.name;
}

class ParameterOfType : public DatabaseTest, public testing::WithParamInterface<ParameterCase>
{
protected:
    com::Dispatch appendCase(const com::Dispatch& command, long direction, const _variant_t& value)
    {
        const ParameterCase& c = GetParam();
        const auto parameter = com::Dispatch::from(command.call(L"CreateParameter", {L"p", c.type, direction, c.size}));
        parameter.put(L"Precision", c.precision);
        parameter.put(L"NumericScale", c.scale);
        if (V_VT(&value) != VT_EMPTY)
            parameter.put(L"Value", value);
        com::Dispatch::from(command.property(L"Parameters")).call(L"Append", {object(parameter)});
        return parameter;
    }
    std::wstring asText(const _variant_t& value)
    {
        return V_VT(&value) == (VT_ARRAY | VT_UI1) ? std::to_wstring(bytesOfVariant(value).size()) + L" bytes"
                                                   : textOf(value);
    }
};

TEST_P(ParameterOfType, GoesInAndComesBackInAResult)
{
    createTable(std::wstring(L"v ") + GetParam().sqlType);
    const auto insert = command(L"insert into " + table + L" values (1, ?)");
    appendCase(insert, 1, GetParam().value);
    insert.call(L"Execute");
    EXPECT_EQ(asText(scalar(L"select v from " + table)), GetParam().text);
}

TEST_P(ParameterOfType, NullGoesIn)
{
    createTable(std::wstring(L"v ") + GetParam().sqlType);
    const auto insert = command(L"insert into " + table + L" values (1, ?)");
    _variant_t null;
    null.ChangeType(VT_NULL);
    appendCase(insert, 1, null);
    insert.call(L"Execute");
    EXPECT_EQ(textOf(scalar(L"select v from " + table)), L"<Null>");
}

TEST_P(ParameterOfType, ComesBackFromAProcedure)
{
    const std::wstring function = table + L"_out";
    createTable(std::wstring(L"v ") + GetParam().sqlType);
    const auto insert = command(L"insert into " + table + L" values (1, ?)");
    appendCase(insert, 1, GetParam().value);
    insert.call(L"Execute");
    execute(L"create function " + function + L"(out o " + GetParam().sqlType +
            L", k integer) language sql as 'select v from " + table + L" where key = k'");
    const auto call = command(function);
    call.put(L"CommandType", 4L);
    const auto output = appendCase(call, 2, {});
    append(call, L"k", 3, 1, 0, 1L);
    const com::Error error = errorOf([&] { call.call(L"Execute"); });
    execute(L"drop function " + function);
    ASSERT_EQ(error.number, 0) << error.description.c_str();
    EXPECT_EQ(asText(output.property(L"Value")), GetParam().text);
}

const _variant_t kDate{43890.551562500000, VT_DATE}; // 29 February 2020 13:14:15
const wchar_t kBracedGuid[] = L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}";

INSTANTIATE_TEST_SUITE_P(
    All, ParameterOfType,
    testing::Values(
        ParameterCase{"SmallInt", 2, 0, 0, 0, short{-7}, L"smallint", L"-7"},
        ParameterCase{"Integer", 3, 0, 0, 0, -70000L, L"integer", L"-70000"},
        ParameterCase{"Single", 4, 0, 0, 0, 1.5f, L"real", L"1.5"},
        ParameterCase{"Double", 5, 0, 0, 0, 0.1, L"float8", L"0.1"},
        ParameterCase{"Currency", 6, 0, 0, 0, _variant_t(L"-12.3456"), L"numeric(19,4)", L"-12.3456"},
        ParameterCase{"Date", 7, 0, 0, 0, kDate, L"timestamp", L"2/29/2020 1:14:15 PM"},
        ParameterCase{"Boolean", 11, 0, 0, 0, true, L"boolean", L"True"},
        ParameterCase{"Decimal", 14, 0, 10, 3, _variant_t(L"12.345"), L"numeric(10,3)", L"12.345"},
        ParameterCase{"Numeric", 131, 0, 10, 2, _variant_t(L"-0.05"), L"numeric(10,2)", L"-0.05"},
        ParameterCase{"TinyInt", 16, 0, 0, 0, short{-5}, L"smallint", L"-5"},
        ParameterCase{"UnsignedTinyInt", 17, 0, 0, 0, short{200}, L"smallint", L"200"},
        ParameterCase{"BigInt", 20, 0, 0, 0, _variant_t(L"9007199254740993"), L"bigint", L"9007199254740993"},
        ParameterCase{"Guid", 72, 0, 0, 0, kBracedGuid, L"uuid", kBracedGuid},
        ParameterCase{"GuidWithoutBraces", 72, 0, 0, 0, L"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11", L"uuid", kBracedGuid},
        ParameterCase{"Char", 129, 4, 0, 0, L"ab", L"char(4)", L"ab  "},
        ParameterCase{"WChar", 130, 4, 0, 0, L"\x0416", L"char(4)", L"\x0416   "},
        ParameterCase{"VarChar", 200, 20, 0, 0, L"O'Br\x00eb\x0416\x20acn", L"varchar(20)", L"O'Br\x00eb\x0416\x20acn"},
        ParameterCase{"EmptyVarChar", 200, 20, 0, 0, L"", L"varchar(20)", L""},
        ParameterCase{"VarWChar", 202, 20, 0, 0, L"\xd834\xdd1e", L"varchar(20)", L"\xd834\xdd1e"},
        ParameterCase{"LongVarChar", 201, 100000, 0, 0, L"\x0416 long", L"text", L"\x0416 long"},
        ParameterCase{"LongVarWChar", 203, 100000, 0, 0, L"\x0416 long", L"text", L"\x0416 long"},
        ParameterCase{"DBDate", 133, 0, 0, 0, _variant_t(43890.0, VT_DATE), L"date", L"2/29/2020"},
        ParameterCase{"DBTime", 134, 0, 0, 0, _variant_t(0.5, VT_DATE), L"time", L"12:00:00 PM"},
        ParameterCase{"DBTimeStamp", 135, 0, 0, 0, kDate, L"timestamp", L"2/29/2020 1:14:15 PM"},
        ParameterCase{"Binary", 128, 3, 0, 0, bytesVariant("\0\xff\x10", 3), L"bytea", L"3 bytes"},
        ParameterCase{"VarBinary", 204, 3, 0, 0, bytesVariant("\0\xff\x10", 3), L"bytea", L"3 bytes"},
        ParameterCase{"LongVarBinary", 205, 9000, 0, 0, bytesVariant("\0\xff\x10", 3), L"bytea", L"3 bytes"}),
    [](const auto& info) { return std::string(info.param.name); });

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
    EXPECT_EQ(errorOf([&] { append(text, L"p", 3, 9, 0); }).number, 3708) << "unknown direction";
}

TEST_F(ParameterTest, ValueMustFitTypeAndSize)
{
    const auto text = createCommand();
    EXPECT_EQ(errorOf([&] { append(text, L"p", 200, 1, 3, L"four"); }).number, 3421);
    EXPECT_EQ(errorOf([&] { append(text, L"p", 3, 1, 0, L"x"); }).number, 3421);
    EXPECT_EQ(errorOf([&] { append(text, L"p", 2, 1, 0, 70000L); }).number, 3421);
    EXPECT_EQ(errorOf([&] { append(text, L"p", 72, 1, 0, L"no guid"); }).number, 3421);
    EXPECT_EQ(errorOf([&] { append(text, L"p", 204, 1, 9, L"no bytes"); }).number, 3421);
    const auto parameter = append(text, L"p", 200, 1, 3, L"abc");
    EXPECT_EQ(errorOf([&] { parameter.put(L"Value", L"abcd"); }).number, 3421);
    EXPECT_EQ(textOf(parameter.property(L"Value")), L"abc");
}

TEST_F(ParameterTest, DigitsBeyondPrecisionOrScaleAreRefused)
{
    for (const wchar_t* value : {L"1.234", L"1234.5"}) {
        const auto select = command(L"select ?::numeric");
        const auto parameter = append(select, L"p", 131, 1, 0, value);
        parameter.put(L"Precision", 5L);
        parameter.put(L"NumericScale", 2L);
        EXPECT_EQ(errorOf([&] { select.call(L"Execute"); }).number, 3421) << value;
    }
}

TEST_F(ParameterTest, InputWithoutValueIsRefused)
{
    const auto select = command(L"select ?::integer");
    append(select, L"p", 3, 1, 0);
    EXPECT_EQ(static_cast<unsigned long>(errorOf([&] { select.call(L"Execute"); }).number), 0x80040E10);
}

TEST_F(ParameterTest, FractionsOfASecondGoIn)
{
    const auto select = command(L"select ?::timestamp");
    append(select, L"p", 135, 1, 0, _variant_t(43832.0 + 5.123456 / 86400, VT_DATE));
    const auto rows = com::Dispatch::from(select.call(L"Execute"));
    const _variant_t value = field(rows, 0L);
    EXPECT_NEAR((V_DATE(&value) - 43832.0) * 86400, 5.123456, 2e-6);
}

TEST_F(ParameterTest, OutputTextMayUseItsWholeSizeAndNoMore)
{
    const std::wstring function = table + L"_out";
    execute(L"create or replace function " + function +
            L"(out o varchar, n integer) language sql as 'select repeat(''\x0416'', n)'");
    const auto call = command(function);
    call.put(L"CommandType", 4L);
    const auto output = append(call, L"o", 200, 2, 10);
    const auto count = append(call, L"n", 3, 1, 0, 10L);
    const com::Error fits = errorOf([&] { call.call(L"Execute"); });
    const _variant_t text = output.property(L"Value");
    count.put(L"Value", 5000L);
    const com::Error tooLong = errorOf([&] { call.call(L"Execute"); });
    execute(L"drop function " + function);
    EXPECT_EQ(fits.number, 0) << fits.description.c_str();
    EXPECT_EQ(textOf(text), std::wstring(10, L'\x0416'));
    EXPECT_NE(tooLong.number, 0);
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
    EXPECT_EQ(errorOf([&] { parameters.property(L"Item", {L"third"}); }).number, 3265);
    EXPECT_EQ(itemsOf(parameters).size(), 2u);
    parameters.call(L"Delete", {L"first"});
    EXPECT_EQ(long(parameters.property(L"Count")), 1);
    EXPECT_EQ(errorOf([&] { parameters.call(L"Delete", {5L}); }).number, 3265);
    EXPECT_EQ(errorOf([&] { parameters.call(L"Refresh"); }).number, 3251);
    EXPECT_EQ(errorOf([&] { parameters.call(L"Append", {object(connection)}); }).number, 3001);
}

} // namespace
} // namespace adodb
