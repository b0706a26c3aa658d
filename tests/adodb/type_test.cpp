#include "ado_types.h"
#include "odbc_error.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

TEST(ColumnType, FollowsFromTheSqlType)
{
    const auto typeOf = [](int sqlType) {
        return adoTypeOfColumn({static_cast<SQLSMALLINT>(sqlType), 10, 0, true}, false);
    };
    EXPECT_EQ(typeOf(SQL_SMALLINT), 2);
    EXPECT_EQ(typeOf(SQL_INTEGER), 3);
    EXPECT_EQ(typeOf(SQL_REAL), 4);
    EXPECT_EQ(typeOf(SQL_FLOAT), 5);
    EXPECT_EQ(typeOf(SQL_DOUBLE), 5);
    EXPECT_EQ(typeOf(SQL_BIT), 11);
    EXPECT_EQ(typeOf(SQL_TINYINT), 17);
    EXPECT_EQ(typeOf(SQL_BIGINT), 20);
    EXPECT_EQ(typeOf(SQL_GUID), 72);
    EXPECT_EQ(typeOf(SQL_BINARY), 128);
    EXPECT_EQ(typeOf(SQL_CHAR), 129);
    EXPECT_EQ(typeOf(SQL_WCHAR), 130);
    EXPECT_EQ(typeOf(SQL_NUMERIC), 131);
    EXPECT_EQ(typeOf(SQL_TYPE_DATE), 133);
    EXPECT_EQ(typeOf(SQL_TYPE_TIME), 134);
    EXPECT_EQ(typeOf(SQL_TYPE_TIMESTAMP), 135);
    EXPECT_EQ(typeOf(SQL_VARCHAR), 200);
    EXPECT_EQ(typeOf(SQL_LONGVARCHAR), 201);
    EXPECT_EQ(typeOf(SQL_WVARCHAR), 202);
    EXPECT_EQ(typeOf(SQL_WLONGVARCHAR), 203);
    EXPECT_EQ(typeOf(SQL_VARBINARY), 204);
    EXPECT_EQ(typeOf(SQL_LONGVARBINARY), 205);
    EXPECT_EQ(typeOf(SQL_INTERVAL_DAY), 0);
}

TEST(ColumnType, OnlyDecimal19With4DecimalsIsCurrency)
{
    EXPECT_EQ(adoTypeOfColumn({SQL_DECIMAL, 19, 4, false}, false), 6);
    EXPECT_EQ(adoTypeOfColumn({SQL_NUMERIC, 19, 4, false}, false), 6);
    EXPECT_EQ(adoTypeOfColumn({SQL_DECIMAL, 19, 2, false}, false), 131);
    EXPECT_EQ(adoTypeOfColumn({SQL_DECIMAL, 18, 4, false}, false), 131);
}

TEST(ColumnType, SignedTinyIntIsItsOwn)
{
    EXPECT_EQ(adoTypeOfColumn({SQL_TINYINT, 3, 0, false}, false), 16);
}

TEST(ColumnType, WideTextIsPlainWhereThereAreNoNationalTypes)
{
    EXPECT_EQ(adoTypeOfColumn({SQL_WCHAR, 5, 0, false}, true), 129);
    EXPECT_EQ(adoTypeOfColumn({SQL_WVARCHAR, 5, 0, false}, true), 200);
    EXPECT_EQ(adoTypeOfColumn({SQL_WLONGVARCHAR, 5, 0, false}, true), 201);
}

struct StateCase
{
    const wchar_t* state;
    const wchar_t* message;
    unsigned long result;
};

class SqlState : public testing::TestWithParam<StateCase>
{
};

TEST_P(SqlState, HasItsHresult)
{
    const Diagnostic diagnostic{GetParam().state, 0, GetParam().message};
    EXPECT_EQ(static_cast<unsigned long>(hresultOfDiagnostic(diagnostic)), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(All, SqlState,
                         testing::Values(StateCase{L"28000", L"", 0x80040E4D}, StateCase{L"28P01", L"", 0x80040E4D},
                                         StateCase{L"42000", L"", 0x80040E14}, StateCase{L"42601", L"", 0x80040E14},
                                         StateCase{L"42703", L"", 0x80040E14}, StateCase{L"42S02", L"", 0x80040E37},
                                         StateCase{L"42P01", L"", 0x80040E37}, StateCase{L"42501", L"", 0x80040E09},
                                         StateCase{L"23000", L"", 0x80040E2F}, StateCase{L"23505", L"", 0x80040E2F},
                                         StateCase{L"HYT00", L"", 0x80040E31}, StateCase{L"HYT01", L"", 0x80040E31},
                                         StateCase{L"57014", L"", 0x80040E31}, StateCase{L"IM002", L"", 0x80004005},
                                         StateCase{L"08S01", L"", 0x80004005},
                                         StateCase{L"08001", L"connection refused", 0x80004005},
                                         StateCase{L"08001", L"password authentication failed for user", 0x80040E4D}));

} // namespace
} // namespace adodb
