#include "ado_types.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

long typeOf(int sqlType, int digits, bool isUnsigned, bool withoutNationalTypes = false)
{
    constexpr int kScale = 4;
    const int scale = sqlType == SQL_NUMERIC || sqlType == SQL_DECIMAL ? kScale : 0;
    return adoTypeOfColumn(
        {static_cast<SQLSMALLINT>(sqlType), static_cast<SQLULEN>(digits), static_cast<SQLSMALLINT>(scale), isUnsigned},
        withoutNationalTypes);
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
        EXPECT_EQ(typeOf(sqlType, 10, true), adoType) << sqlType;
}

TEST(ColumnType, OnlyDecimal19With4DecimalsIsCurrency)
{
    EXPECT_EQ(typeOf(SQL_DECIMAL, 19, false), 6);
    EXPECT_EQ(typeOf(SQL_NUMERIC, 19, false), 6);
    EXPECT_EQ(typeOf(SQL_DECIMAL, 18, false), 131);
    EXPECT_EQ(adoTypeOfColumn({SQL_DECIMAL, 19, 2, false}, false), 131);
}

TEST(ColumnType, SignedTinyIntIsItsOwn)
{
    EXPECT_EQ(typeOf(SQL_TINYINT, 3, false), 16);
}

TEST(ColumnType, WideTextIsPlainWhereThereAreNoNationalTypes)
{
    EXPECT_EQ(typeOf(SQL_WCHAR, 5, false, true), 129);
    EXPECT_EQ(typeOf(SQL_WVARCHAR, 5, false, true), 200);
    EXPECT_EQ(typeOf(SQL_WLONGVARCHAR, 5, false, true), 201);
}

} // namespace
} // namespace adodb
