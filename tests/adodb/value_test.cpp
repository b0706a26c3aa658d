#include "database_test.h"

#include "support/ServerSql.h"
#include "value_conversion.h"

namespace adodb {
namespace {

/// A column as ADO describes it.
struct ColumnCase
{
    const wchar_t* sqlType;
    long type;
    VARTYPE variantType;
};

/// A value that goes in as a parameter of `type` and comes back from a column.
struct TypeCase
{
    const char* name;
    long type;
    long size; ///< or, of a number, its precision and scale
    long scale;
    _variant_t value;
    const wchar_t* text; ///< what comes back, converted to text in the platform's own way
    ColumnCase postgreSql;
    ColumnCase sqlServer;

    const ColumnCase& column() const { return isPostgreSql() ? postgreSql : sqlServer; }
};

void PrintTo(const TypeCase& c, std::ostream* out)
{
    *out << c.name;
}

class ValueOfType : public DatabaseTest, public testing::WithParamInterface<TypeCase>
{
protected:
    com::Dispatch appendCase(const com::Dispatch& command, long direction, const _variant_t& value)
    {
        const TypeCase& c = GetParam();
        const auto parameter = com::Dispatch::from(command.call(L"CreateParameter", {L"p", c.type, direction, c.size}));
        parameter.put(L"Precision", c.size);
        parameter.put(L"NumericScale", c.scale);
        if (V_VT(&value) != VT_EMPTY)
            parameter.put(L"Value", value);
        com::Dispatch::from(command.property(L"Parameters")).call(L"Append", {object(parameter)});
        return parameter;
    }

    void insert(long key, const _variant_t& value)
    {
        const auto insert = command(L"insert into " + table + L" values (" + std::to_wstring(key) + L", ?)");
        appendCase(insert, 1, value);
        insert.call(L"Execute");
    }

    static std::wstring asText(const _variant_t& value)
    {
        return V_VT(&value) == (VT_ARRAY | VT_UI1) ? std::to_wstring(bytesOfVariant(value).size()) + L" bytes"
                                                   : textOf(value);
    }
};

TEST_P(ValueOfType, GoesInAndComesBackFromAColumnAndAProcedure)
{
    const TypeCase& c = GetParam();
    const std::wstring sqlType = c.column().sqlType;
    createTable(L"v " + sqlType);
    insert(1, c.value);
    _variant_t null;
    null.ChangeType(VT_NULL);
    insert(2, null);
    const auto rows = query(L"select v from " + table + L" order by id");
    const auto column = com::Dispatch::from(rows.property(L"Fields", {0L}));
    EXPECT_EQ(long(column.property(L"Type")), c.column().type);
    const _variant_t value = column.property(L"Value");
    EXPECT_EQ(V_VT(&value), c.column().variantType);
    EXPECT_EQ(asText(value), c.text);
    rows.call(L"MoveNext");
    EXPECT_EQ(textOf(column.property(L"Value")), L"<Null>");

    const auto call =
        procedure(L"(out o " + sqlType + L", k integer) language sql as 'select v from " + table + L" where id = k'",
                  L"@o " + sqlType + L" output, @k int as select @o = v from " + table + L" where id = @k");
    const auto output = appendCase(call, 2, {});
    append(call, L"k", 3, 1, 0, 1L);
    if (!goesThrough(L"output parameters of this type", [&] { call.call(L"Execute"); }))
        return;
    EXPECT_EQ(asText(output.property(L"Value")), c.text);
}

const _variant_t kDate{43890.551562500000, VT_DATE}; // 29 February 2020 13:14:15
const wchar_t kBracedGuid[] = L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}";
const wchar_t kDateText[] = L"2/29/2020 1:14:15 PM";
const wchar_t kLongNumber[] = L"79228162514264337593543950335";
const wchar_t kWesternText[] = L"O'Br\x00eb\x20acn"; // in the code page of SQL Server's varchar
const wchar_t kText[] = L"O'Br\x00eb\x0416\x20acn";
const wchar_t kTwoClefs[] = L"\xd834\xdd1e\xd834\xdd1e";
const _variant_t kBytes = bytesVariant("\0\xff\x10", 3);
constexpr VARTYPE kBytesType = VT_ARRAY | VT_UI1;

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    All, ValueOfType,
    testing::Values(
        TypeCase{"SmallInt", 2, 0, 0, short{-7}, L"-7", {L"smallint", 2, VT_I2}, {L"smallint", 2, VT_I2}},
        TypeCase{"Integer", 3, 0, 0, -70000L, L"-70000", {L"integer", 3, VT_I4}, {L"int", 3, VT_I4}},
        TypeCase{"Single", 4, 0, 0, 1.5f, L"1.5", {L"real", 4, VT_R4}, {L"real", 4, VT_R4}},
        TypeCase{"Double", 5, 0, 0, 0.1, L"0.1", {L"float8", 5, VT_R8}, {L"float", 5, VT_R8}},
        TypeCase{"Currency", 6, 0, 0, L"-12.3456", L"-12.3456", {L"numeric(19,4)", 6, VT_CY}, {L"money", 6, VT_CY}},
        TypeCase{"SmallCurrency", 6, 0, 0, L"-12.3456", L"-12.3456", {L"numeric(19,4)", 6, VT_CY},
                 {L"smallmoney", 6, VT_CY}},
        TypeCase{"Date", 7, 0, 0, kDate, kDateText, {L"timestamp", 135, VT_DATE}, {L"datetime", 135, VT_DATE}},
        TypeCase{"True", 11, 0, 0, true, L"True", {L"boolean", 11, VT_BOOL}, {L"bit", 11, VT_BOOL}},
        TypeCase{"False", 11, 0, 0, false, L"False", {L"boolean", 11, VT_BOOL}, {L"bit", 11, VT_BOOL}},
        TypeCase{"Decimal", 14, 10, 3, L"12.345", L"12.345", {L"numeric(10,3)", 131, VT_DECIMAL},
                 {L"decimal(10,3)", 131, VT_DECIMAL}},
        TypeCase{"Numeric", 131, 10, 2, L"-0.05", L"-0.05", {L"numeric(10,2)", 131, VT_DECIMAL},
                 {L"numeric(10,2)", 131, VT_DECIMAL}},
        TypeCase{"LongNumeric", 131, 29, 0, kLongNumber, kLongNumber, {L"numeric(29,0)", 131, VT_DECIMAL},
                 {L"numeric(29,0)", 131, VT_DECIMAL}},
        TypeCase{"NumericOfMoneysSize", 131, 19, 4, L"-0.05", L"-0.05", {L"numeric(19,4)", 6, VT_CY},
                 {L"numeric(19,4)", 131, VT_DECIMAL}},
        TypeCase{"TinyInt", 16, 0, 0, short{5}, L"5", {L"smallint", 2, VT_I2}, {L"smallint", 2, VT_I2}},
        TypeCase{"UnsignedTinyInt", 17, 0, 0, short{200}, L"200", {L"smallint", 2, VT_I2}, {L"tinyint", 17, VT_UI1}},
        TypeCase{"BigInt", 20, 0, 0, L"9007199254740993", L"9007199254740993", {L"bigint", 20, VT_I8},
                 {L"bigint", 20, VT_I8}},
        TypeCase{"Guid", 72, 0, 0, kBracedGuid, kBracedGuid, {L"uuid", 72, VT_BSTR},
                 {L"uniqueidentifier", 72, VT_BSTR}},
        TypeCase{"GuidWithoutBraces", 72, 0, 0, L"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11", kBracedGuid,
                 {L"uuid", 72, VT_BSTR}, {L"uniqueidentifier", 72, VT_BSTR}},
        TypeCase{"Char", 129, 4, 0, L"ab", L"ab  ", {L"char(4)", 129, VT_BSTR}, {L"char(4)", 129, VT_BSTR}},
        TypeCase{"WChar", 130, 4, 0, L"\x0416", L"\x0416   ", {L"char(4)", 129, VT_BSTR}, {L"nchar(4)", 130, VT_BSTR}},
        TypeCase{"VarChar", 200, 20, 0, kWesternText, kWesternText, {L"varchar(20)", 200, VT_BSTR},
                 {L"varchar(20)", 200, VT_BSTR}},
        TypeCase{"EmptyVarChar", 200, 20, 0, L"", L"", {L"varchar(20)", 200, VT_BSTR}, {L"varchar(20)", 200, VT_BSTR}},
        TypeCase{"VarWChar", 202, 20, 0, kText, kText, {L"varchar(20)", 200, VT_BSTR},
                 {L"nvarchar(20)", 202, VT_BSTR}},
        TypeCase{"Surrogates", 202, 4, 0, kTwoClefs, kTwoClefs, {L"varchar(2)", 200, VT_BSTR},
                 {L"nvarchar(4)", 202, VT_BSTR}},
        TypeCase{"LongVarChar", 201, 100000, 0, kWesternText, kWesternText, {L"text", 201, VT_BSTR},
                 {L"varchar(max)", 201, VT_BSTR}},
        TypeCase{"LongVarWChar", 203, 100000, 0, kText, kText, {L"text", 201, VT_BSTR},
                 {L"nvarchar(max)", 203, VT_BSTR}},
        TypeCase{"DBDate", 133, 0, 0, _variant_t(43890.0, VT_DATE), L"2/29/2020", {L"date", 133, VT_DATE},
                 {L"date", 133, VT_DATE}},
        TypeCase{"DBTime", 134, 0, 0, _variant_t(0.5, VT_DATE), L"12:00:00 PM", {L"time", 134, VT_DATE},
                 {L"time", 134, VT_DATE}},
        TypeCase{"DBTimeStamp", 135, 0, 0, kDate, kDateText, {L"timestamp", 135, VT_DATE},
                 {L"datetime2", 135, VT_DATE}},
        TypeCase{"Binary", 128, 3, 0, kBytes, L"3 bytes", {L"bytea", 205, kBytesType},
                 {L"binary(3)", 128, kBytesType}},
        TypeCase{"VarBinary", 204, 3, 0, kBytes, L"3 bytes", {L"bytea", 205, kBytesType},
                 {L"varbinary(20)", 204, kBytesType}},
        TypeCase{"LongVarBinary", 205, 9000, 0, kBytes, L"3 bytes", {L"bytea", 205, kBytesType},
                 {L"varbinary(max)", 205, kBytesType}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

class ValueTest : public DatabaseTest
{
};

TEST_F(ValueTest, DefinedSizePrecisionAndScale)
{
    const auto rows =
        query(L"select cast('' as varchar(17)) a, cast(0 as numeric(12,3)) b, 1 c, cast(1 as " + moneyType() + L") d");
    for (const auto& [column, attribute, expected] :
         {std::tuple(L"a", L"DefinedSize", 17L), std::tuple(L"b", L"Precision", 12L),
          std::tuple(L"b", L"NumericScale", 3L), std::tuple(L"c", L"DefinedSize", 4L),
          std::tuple(L"c", L"Precision", 10L), std::tuple(L"c", L"NumericScale", 255L),
          std::tuple(L"d", L"Precision", 19L), std::tuple(L"d", L"NumericScale", 4L)})
        EXPECT_EQ(long(com::Dispatch::from(rows.property(L"Fields", {column})).property(attribute)), expected)
            << column << ' ' << attribute;
}

TEST_F(ValueTest, FractionsOfASecondAreKept)
{
    const std::wstring stamp = isPostgreSql() ? L"timestamp" : L"datetime2(6)";
    const _variant_t value = scalar(L"select cast('2020-01-02 03:04:05.123456' as " + stamp + L")");
    EXPECT_NEAR((V_DATE(&value) - 43832.0) * 86400, 3 * 3600 + 4 * 60 + 5.123456, 1e-6);
    const _variant_t time = scalar(L"select cast('00:00:01.25' as time)");
    EXPECT_NEAR(V_DATE(&time) * 86400, 1.25, 1e-9);
    const auto select = command(L"select cast(? as " + stamp + L")");
    const auto parameter = append(select, L"p", 135, 1, 0, _variant_t(43832.0 + 5.123456 / 86400, VT_DATE));
    if (!isPostgreSql()) // where 3 decimals are usual
        parameter.put(L"NumericScale", 6L);
    const _variant_t back = field(com::Dispatch::from(select.call(L"Execute")), 0L);
    EXPECT_NEAR((V_DATE(&back) - 43832.0) * 86400, 5.123456, 2e-6);
}

TEST_F(ValueTest, BytesComeAsAnArray)
{
    const _variant_t value =
        scalar(isPostgreSql() ? L"select '\\x00ff10'::bytea" : L"select cast(0x00ff10 as varbinary(20))");
    ASSERT_EQ(V_ARRAY(&value)->rgsabound[0].cElements, 3u);
    EXPECT_EQ(memcmp(V_ARRAY(&value)->pvData, "\x00\xff\x10", 3), 0);
}

TEST_F(ValueTest, LongTextIsReadWholeBetweenOtherColumns)
{
    constexpr size_t kLength = 10 * 1024 * 1024;
    const auto rows = query(L"select 1 as a, " + repeated(L"N'\x00e4\x0416'", kLength / 2) +
                            L" as b, 2 as c union all select 3, 'short', 4 order by 1");
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
    // Without a declared length the driver names a size of its own, or none.
    const std::wstring type = isPostgreSql() ? L"varchar" : L"varchar(max)";
    const auto rows = query(L"select cast(" + repeated(L"'x'", 20000) + L" as " + type + L") as v union all select ''");
    EXPECT_EQ(textOf(field(rows, L"v")).size(), 20000u);
    rows.call(L"MoveNext");
    EXPECT_EQ(textOf(field(rows, L"v")), L"");
}

TEST_F(ValueTest, StaticRecordsetsKeepTheSameValues)
{
    const auto rows = query(L"select " + repeated(L"N'\x0416'", 100000) +
                                L" as b, cast(null as integer) as n, cast(1.5 as numeric(5,2)) as d",
                            3);
    EXPECT_EQ(textOf(field(rows, L"b")), std::wstring(100000, L'\x0416'));
    EXPECT_EQ(textOf(field(rows, L"n")), L"<Null>");
    EXPECT_EQ(textOf(field(rows, L"d")), L"1.5");
}

TEST_F(ValueTest, NumberWithoutAutomationValueIsAnError)
{
    const auto rows = query(L"select cast(1" + std::wstring(35, L'0') + L" as numeric(38,0)) as v");
    EXPECT_EQ(numberOf([&] { field(rows, L"v"); }), 6);
    if (!isPostgreSql())
        return; // it has no other such number
    EXPECT_EQ(numberOf([&] { scalar(L"select 'NaN'::numeric"); }), 13);
}

} // namespace
} // namespace adodb
