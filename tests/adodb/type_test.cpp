#include "ado_types.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

long typeOf(int sqlType, Dialect dialect = Dialect::Untouched, SQLULEN size = 10, bool isUnsigned = true)
{
    return adoTypeOfColumn({static_cast<SQLSMALLINT>(sqlType), size, 0, isUnsigned, L""}, dialect);
}

long decimalType(Dialect dialect, SQLULEN size, SQLSMALLINT digits, const wchar_t* name)
{
    return adoTypeOfColumn({SQL_DECIMAL, size, digits, false, name}, dialect);
}

TEST(ColumnType, FollowsFromTheSqlType)
{
    for (const auto& [sqlType, adoType] : {std::pair(SQL_SMALLINT, 2),    std::pair(SQL_INTEGER, 3),
                                           std::pair(SQL_REAL, 4),        std::pair(SQL_FLOAT, 5),
                                           std::pair(SQL_DOUBLE, 5),      std::pair(SQL_BIT, 11),
                                           std::pair(SQL_TINYINT, 17),    std::pair(SQL_BIGINT, 20),
                                           std::pair(SQL_GUID, 72),       std::pair(SQL_BINARY, 128),
                                           std::pair(SQL_CHAR, 129),      std::pair(SQL_WCHAR, 130),
                                           std::pair(SQL_NUMERIC, 131),   std::pair(SQL_TYPE_DATE, 133),
                                           std::pair(SQL_TYPE_TIME, 134), std::pair(SQL_TYPE_TIMESTAMP, 135),
                                           std::pair(SQL_VARCHAR, 200),   std::pair(SQL_LONGVARCHAR, 201),
                                           std::pair(SQL_WVARCHAR, 202),  std::pair(SQL_WLONGVARCHAR, 203),
                                           std::pair(SQL_VARBINARY, 204), std::pair(SQL_LONGVARBINARY, 205),
                                           std::pair(SQL_INTERVAL_DAY, 0)})
        EXPECT_EQ(typeOf(sqlType), adoType) << sqlType;
}

TEST(ColumnType, MoneyIsKnownByItsName)
{
    EXPECT_EQ(decimalType(Dialect::Untouched, 19, 4, L"money"), 6);
    EXPECT_EQ(decimalType(Dialect::Untouched, 10, 4, L"smallmoney"), 6);
    EXPECT_EQ(decimalType(Dialect::Untouched, 19, 4, L"decimal"), 131);
}

TEST(ColumnType, MoneyOfPostgreSqlIsKnownByItsDigits)
{
    EXPECT_EQ(decimalType(Dialect::PostgreSql, 19, 4, L""), 6);
    EXPECT_EQ(decimalType(Dialect::PostgreSql, 18, 4, L""), 131);
    EXPECT_EQ(decimalType(Dialect::PostgreSql, 19, 2, L""), 131);
}

TEST(ColumnType, SignedTinyIntIsItsOwn)
{
    EXPECT_EQ(typeOf(SQL_TINYINT, Dialect::Untouched, 3, false), 16);
}

TEST(ColumnType, WideTextOfPostgreSqlIsPlain)
{
    EXPECT_EQ(typeOf(SQL_WCHAR, Dialect::PostgreSql), 129);
    EXPECT_EQ(typeOf(SQL_WVARCHAR, Dialect::PostgreSql), 200);
    EXPECT_EQ(typeOf(SQL_WLONGVARCHAR, Dialect::PostgreSql), 201);
}

TEST(ColumnType, WithoutASizeIsLong)
{
    EXPECT_EQ(typeOf(SQL_VARCHAR, Dialect::Untouched, 0), 201);
    EXPECT_EQ(typeOf(SQL_WVARCHAR, Dialect::Untouched, 0), 203);
    EXPECT_EQ(typeOf(SQL_VARBINARY, Dialect::Untouched, 0), 205);
}

} // namespace
} // namespace adodb
