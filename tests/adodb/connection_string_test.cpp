#include "session.h"

#include "ado_error.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

TEST(ConnectionString, BareNameIsADataSource)
{
    EXPECT_EQ(odbcConnectionString(L"Office", L"u", L"p"), L"DSN=Office;UID=u;PWD=p");
}

TEST(ConnectionString, ArgumentsReplaceWhatTheStringSays)
{
    EXPECT_EQ(odbcConnectionString(L"DSN=Office;uid=a;pwd=b", L"u", L"p"), L"DSN=Office;UID=u;PWD=p");
    EXPECT_EQ(odbcConnectionString(L"DSN=Office;UID=a;PWD=b", L"", L""), L"DSN=Office;UID=a;PWD=b");
}

TEST(ConnectionString, AdoKeywordsBecomeThoseOfOdbc)
{
    EXPECT_EQ(
        odbcConnectionString(
            L"Provider=MSDASQL.1;Data Source=Office;User ID = a;Password=b;Initial Catalog=c;Timeout=3", L"", L""),
        L"DSN=Office;UID=a;PWD=b;DATABASE=c;Timeout=3");
}

TEST(ConnectionString, PasswordWithSpecialCharactersIsBraced)
{
    EXPECT_EQ(odbcConnectionString(L"Office", L"u", L"a;b}c"), L"DSN=Office;UID=u;PWD={a;b}}c}");
}

TEST(ConnectionString, BracedValueKeepsItsSemicolons)
{
    EXPECT_EQ(odbcConnectionString(L"DSN=Office;PWD={a;}}b};UID=u", L"", L""), L"DSN=Office;PWD={a;}}b};UID=u");
    EXPECT_EQ(withoutPassword(L"DSN=Office;PWD={a;}}b};UID=u"), L"DSN=Office;UID=u");
}

TEST(ConnectionString, OtherProviderIsRefused)
{
    try {
        odbcConnectionString(L"Provider=Other;Data Source=x", L"", L"");
        FAIL();
    }
    catch (const com::Error& error) {
        EXPECT_EQ(error.number, kProviderNotFound);
        EXPECT_EQ(error.source, L"ADODB.Connection");
    }
}

} // namespace
} // namespace adodb
