#include "dialect.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

struct Case
{
    const char* name;
    const wchar_t* given;
    const wchar_t* expected;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

class PostgreSqlDialect : public testing::TestWithParam<Case>
{
};

TEST_P(PostgreSqlDialect, RewritesTheWholeText)
{
    EXPECT_EQ(translateSql(Dialect::PostgreSql, GetParam().given), GetParam().expected);
}

TEST_P(PostgreSqlDialect, LeavesTheTextForOtherDatabases)
{
    EXPECT_EQ(translateSql(Dialect::Untouched, GetParam().given), GetParam().given);
}

constexpr Case kCases[] = {
    {"PlainNameLosesBrackets", L"select [Name] from [dbo].[People]", L"select Name from dbo.People"},
    {"NameWithBlankIsQuoted", L"select [Last Name] from t", L"select \"Last Name\" from t"},
    {"ReservedWordIsQuotedInLowerCase", L"select [Order], [user] from t", L"select \"order\", \"user\" from t"},
    {"NameWithQuoteAndBracket", L"select [a\"b]]c] from t", L"select \"a\"\"b]c\" from t"},
    {"NameRightBehindAWord", L"select a from[T]where[x]=1", L"select a from T where x=1"},
    {"SubscriptStays", L"select a[1], b[1:2] from t", L"select a[1], b[1:2] from t"},
    {"ArrayStays", L"select array[x, 'y']", L"select array[x, 'y']"},
    {"TopBecomesLimit", L"select top 5 a from t where b = 1", L"select a from t where b = 1 limit 5"},
    {"TopInParentheses", L"SELECT TOP (10) * FROM t ORDER BY a DESC", L"SELECT * FROM t ORDER BY a DESC limit 10"},
    {"DistinctTop", L"select distinct top 3 a from t", L"select distinct a from t limit 3"},
    {"TopBeforeSemicolonAndBlank", L"select top 1 a from t ; delete from u",
     L"select a from t limit 1 ; delete from u"},
    {"TopBeforeComment", L"select top 1 a from t -- [note]", L"select a from t limit 1 -- [note]"},
    {"TopInSubquery", L"delete from t where k in (select top 2 k from t order by k) and x = 1",
     L"delete from t where k in (select k from t order by k limit 2) and x = 1"},
    {"TopInBoth", L"select top 4 a from (select top 9 a from t) s",
     L"select a from (select a from t limit 9) s limit 4"},
    {"TopInUnionIsLeft", L"select top 2 a from t union select a from u",
     L"select top 2 a from t union select a from u"},
    {"TopPercentIsLeft", L"select top 10 percent a from t", L"select top 10 percent a from t"},
    {"ColumnNamedTop", L"select top, left_x from t", L"select top, left_x from t"},
    {"DateAdd", L"select * from t where d > dateadd(s, -60, x.d)",
     L"select * from t where d > (x.d + -60 * interval '1 second')"},
    {"DateAddOfExpression", L"dateadd(s, a + 1, isnull(b, c))", L"(isnull(b, c) + (a + 1) * interval '1 second')"},
    {"DateAddOfLiteral", L"DATEADD( s , 5 , '01/02/2020' )", L"(timestamp '01/02/2020' + 5 * interval '1 second')"},
    {"DateAddNested", L"dateadd(s, 1, dateadd(s, 2, [when]))",
     L"((\"when\" + 2 * interval '1 second') + 1 * interval '1 second')"},
    {"DateAddOfDaysIsLeft", L"dateadd(d, 1, x)", L"dateadd(d, 1, x)"},
    {"ConstraintGuard", L"IF OBJECT_ID('dbo.FK_A', 'F') IS NOT NULL alter table [office].[A] drop constraint [FK_A]",
     L"alter table office.A drop constraint if exists FK_A"},
    {"ConstraintGuardInBatch", L"if object_id('FK', 'F') is not null ALTER TABLE A DROP CONSTRAINT FK; select [a]",
     L"ALTER TABLE A DROP CONSTRAINT if exists FK; select a"},
    {"OtherGuardIsLeft", L"IF OBJECT_ID('dbo.T', 'U') IS NOT NULL drop table T",
     L"IF OBJECT_ID('dbo.T', 'U') IS NOT NULL drop table T"},
    {"StringStays", L"insert into t values ('select top 1 [a]; ''dateadd(s, 1, x)''')",
     L"insert into t values ('select top 1 [a]; ''dateadd(s, 1, x)''')"},
    {"QuotedNameStays", L"select \"[a] \"\" top\" from t", L"select \"[a] \"\" top\" from t"},
    {"CommentStays", L"/* [a] ' */ select [b] -- it's [c]\nfrom [d]", L"/* [a] ' */ select b -- it's [c]\nfrom d"},
    {"NonAsciiStays", L"select '\x0416\x20ac' as [\x0416]", L"select '\x0416\x20ac' as \"\x0416\""},
    {"OpenStringRunsToTheEnd", L"select 'a [b]", L"select 'a [b]"},
    {"OpenBracketRunsToTheEnd", L"select [a b", L"select \"a b\""},
    {"Empty", L"", L""},
};

INSTANTIATE_TEST_SUITE_P(All, PostgreSqlDialect, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Dialect, FollowsFromTheDatabase)
{
    EXPECT_EQ(dialectOfDatabase(L"PostgreSQL"), Dialect::PostgreSql);
    EXPECT_EQ(dialectOfDatabase(L"Microsoft SQL Server"), Dialect::Untouched);
}

} // namespace
} // namespace adodb
