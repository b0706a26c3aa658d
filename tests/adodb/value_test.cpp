#include "database_test.h"

#include "com/convert.h"

namespace adodb {
namespace {

struct TypeCase
{
    const wchar_t* expression; ///< of PostgreSQL
    long type;
    VARTYPE variantType;
    const wchar_t* text; ///< of the value, converted to text in the platform's own way
};

class ColumnOfType : public DatabaseTest, public testing::WithParamInterface<TypeCase>
{
};

TEST_P(ColumnOfType, HasAdosTypeAndValue)
{
    const TypeCase& expected = GetParam();
    const auto rows = query(std::wstring(L"select ") + expected.expression + L" as v, null::" +
                            std::wstring(wcsstr(expected.expression, L"::") + 2) + L" as n");
    const auto value = com::Dispatch::from(rows.property(L"Fields", {L"v"}));
    EXPECT_EQ(long(value.property(L"Type")), expected.type);
    const _variant_t read = value.property(L"Value");
    EXPECT_EQ(V_VT(&read), expected.variantType);
    if (!(expected.variantType & VT_ARRAY)) {
        EXPECT_EQ(textOf(read), expected.text);
    }
    const _variant_t null = field(rows, L"n");
    EXPECT_EQ(V_VT(&null), VT_NULL);
}

INSTANTIATE_TEST_SUITE_P(
    All, ColumnOfType,
    testing::Values(
        TypeCase{L"-7::smallint", 2, VT_I2, L"-7"}, TypeCase{L"-70000::integer", 3, VT_I4, L"-70000"},
        TypeCase{L"9007199254740993::bigint", 20, VT_I8, L"9007199254740993"}, TypeCase{L"1.5::real", 4, VT_R4, L"1.5"},
        TypeCase{L"-2.25::float8", 5, VT_R8, L"-2.25"}, TypeCase{L"true::boolean", 11, VT_BOOL, L"True"},
        TypeCase{L"false::boolean", 11, VT_BOOL, L"False"}, TypeCase{L"12.3456::numeric(19,4)", 6, VT_CY, L"12.3456"},
        TypeCase{L"-12.50::numeric(10,2)", 131, VT_DECIMAL, L"-12.5"},
        TypeCase{L"79228162514264337593543950335::numeric(29,0)", 131, VT_DECIMAL, L"79228162514264337593543950335"},
        TypeCase{L"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'::uuid", 72, VT_BSTR,
                 L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}"},
        TypeCase{L"'ab'::char(4)", 129, VT_BSTR, L"ab  "}, TypeCase{L"''::varchar(9)", 200, VT_BSTR, L""},
        TypeCase{L"'O''Br\x00eb\x0416\x20ac'::varchar(9)", 200, VT_BSTR, L"O'Br\x00eb\x0416\x20ac"},
        TypeCase{L"'\xd834\xdd1e\xd834\xdd1e'::varchar(2)", 200, VT_BSTR, L"\xd834\xdd1e\xd834\xdd1e"},
        TypeCase{L"'text'::text", 201, VT_BSTR, L"text"}, TypeCase{L"'\\x00ff'::bytea", 205, VT_ARRAY | VT_UI1, L""},
        TypeCase{L"'02/29/2020'::date", 133, VT_DATE, L"2/29/2020"},
        TypeCase{L"'13:14:15'::time", 134, VT_DATE, L"1:14:15 PM"},
        TypeCase{L"'02/29/2020 13:14:15'::timestamp", 135, VT_DATE, L"2/29/2020 1:14:15 PM"}));

class ValueTest : public DatabaseTest
{
};

TEST_F(ValueTest, DefinedSizePrecisionAndScale)
{
    const auto rows = query(L"select ''::varchar(17) a, 0::numeric(12,3) b, 1::integer c, 1::numeric(19,4) d");
    const auto attribute = [&](const wchar_t* column, const wchar_t* name) {
        return long(com::Dispatch::from(rows.property(L"Fields", {column})).property(name));
    };
    EXPECT_EQ(attribute(L"a", L"DefinedSize"), 17);
    EXPECT_EQ(attribute(L"b", L"Precision"), 12);
    EXPECT_EQ(attribute(L"b", L"NumericScale"), 3);
    EXPECT_EQ(attribute(L"c", L"DefinedSize"), 4);
    EXPECT_EQ(attribute(L"c", L"Precision"), 10);
    EXPECT_EQ(attribute(L"c", L"NumericScale"), 255);
    EXPECT_EQ(attribute(L"d", L"Precision"), 19);
    EXPECT_EQ(attribute(L"d", L"NumericScale"), 4);
}

TEST_F(ValueTest, FractionsOfASecondAreKept)
{
    const _variant_t value = scalar(L"select timestamp '01/02/2020 03:04:05.123456'");
    const double fraction = V_DATE(&value) * 86400 - 43832.0 * 86400;
    EXPECT_NEAR(fraction, 3 * 3600 + 4 * 60 + 5.123456, 1e-6);
    const _variant_t time = scalar(L"select time '00:00:01.25'");
    EXPECT_NEAR(V_DATE(&time) * 86400, 1.25, 1e-9);
}

TEST_F(ValueTest, BytesComeAsAnArray)
{
    const _variant_t value = scalar(L"select '\\x00ff10'::bytea");
    ASSERT_EQ(V_VT(&value), VT_ARRAY | VT_UI1);
    ASSERT_EQ(V_ARRAY(&value)->rgsabound[0].cElements, 3u);
    EXPECT_EQ(memcmp(V_ARRAY(&value)->pvData, "\x00\xff\x10", 3), 0);
}

TEST_F(ValueTest, LongTextIsReadWholeBetweenOtherColumns)
{
    constexpr size_t kLength = 10 * 1024 * 1024;
    const auto rows = query(L"select 1 as a, repeat('\x00e4\x0416', " + std::to_wstring(kLength / 2) +
                            L") as b, 2 as c union all select 3, 'short', 4 order by 1");
    const _variant_t value = field(rows, L"b");
    ASSERT_EQ(SysStringLen(V_BSTR(&value)), kLength);
    EXPECT_EQ(V_BSTR(&value)[kLength - 1], L'\x0416');
    EXPECT_EQ(long(field(rows, L"c")), 2);
    rows.call(L"MoveNext");
    EXPECT_EQ(textOf(field(rows, L"b")), L"short");
    EXPECT_EQ(long(field(rows, L"c")), 4);
}

TEST_F(ValueTest, TextLongerThanItsColumnClaimsIsReadWhole)
{
    // Without a declared length the driver names a size of its own.
    const auto rows = query(L"select repeat('x', 20000)::varchar as v union all select ''");
    EXPECT_EQ(textOf(field(rows, L"v")).size(), 20000u);
    rows.call(L"MoveNext");
    EXPECT_EQ(textOf(field(rows, L"v")), L"");
}

TEST_F(ValueTest, StaticRecordsetsKeepTheSameValues)
{
    const auto rows = query(L"select repeat('\x0416', 100000) as b, null::integer as n, 1.5::numeric(5,2) as d", 3);
    EXPECT_EQ(textOf(field(rows, L"b")), std::wstring(100000, L'\x0416'));
    EXPECT_EQ(textOf(field(rows, L"n")), L"<Null>");
    EXPECT_EQ(textOf(field(rows, L"d")), L"1.5");
}

TEST_F(ValueTest, NumberWithoutAutomationValueIsAnError)
{
    const auto rows = query(L"select 'NaN'::numeric as v, 1e40::numeric as w");
    EXPECT_EQ(errorOf([&] { field(rows, L"v"); }).number, 13);
    EXPECT_EQ(errorOf([&] { field(rows, L"w"); }).number, 6);
}

TEST_F(ValueTest, UnsupportedColumnTypeIsNamed)
{
    const com::Error error = errorOf([&] { query(L"select interval '1 day' as span"); });
    EXPECT_TRUE(error.number == 0 || error.description.find(L"span") != std::wstring::npos)
        << error.description.c_str();
}

} // namespace
} // namespace adodb
