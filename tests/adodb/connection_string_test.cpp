#include "session.h"

#include "ado_error.h"
#include "error_of.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

TEST(ConnectionString, BecomesOneOfOdbc)
{
    for (const auto& [text, user, password, expected] :
         {std::tuple(L"Office", L"u", L"p", L"DSN=Office;UID=u;PWD=p"),
          std::tuple(L"DSN=Office;uid=a;pwd=b", L"u", L"p", L"DSN=Office;UID=u;PWD=p"),
          std::tuple(L"DSN=Office;UID=a;PWD=b", L"", L"", L"DSN=Office;UID=a;PWD=b"),
          std::tuple(L"Provider=MSDASQL.1;Data Source=Office;User ID = a;Password=b;Initial Catalog=c;Timeout=3", L"",
                     L"", L"DSN=Office;UID=a;PWD=b;DATABASE=c;Timeout=3"),
          std::tuple(L"Office", L"u", L"a;b}c", L"DSN=Office;UID=u;PWD={a;b}}c}"),
          std::tuple(L"DSN=Office;PWD={a;}}b};UID=u", L"", L"", L"DSN=Office;PWD={a;}}b};UID=u")})
        EXPECT_EQ(odbcConnectionString(text, user, password), expected);
}

TEST(ConnectionString, LosesItsPasswordWhole)
{
    EXPECT_EQ(withoutPassword(L"DSN=Office;PWD={a;}}b};UID=u"), L"DSN=Office;UID=u");
}

TEST(ConnectionString, OfAnotherProviderIsRefused)
{
    const com::Error error = errorOf([] { odbcConnectionString(L"Provider=Other;Data Source=x", L"", L""); });
    EXPECT_EQ(error.number, kProviderNotFound);
    EXPECT_EQ(error.source, L"ADODB.Connection");
}

} // namespace
} // namespace adodb
