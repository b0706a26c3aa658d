#include "odbc_error.h"

#include "error_of.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

constexpr long kCannotConvert = static_cast<long>(0x80040E07);
constexpr long kPermissionDenied = static_cast<long>(0x80040E09);
constexpr long kValueTooLarge = static_cast<long>(0x80040E57);

struct Numbered
{
    long native;
    const wchar_t* microsoft; ///< the SQLSTATE that the server's own driver gives
    const wchar_t* freetds;   ///< and FreeTDS
    long result;
};

constexpr Numbered kOfSqlServer[] = {
    {102, L"42000", L"42000", kStatementFailed},   // incorrect syntax
    {156, L"42000", L"42000", kStatementFailed},   // incorrect syntax near a keyword
    {207, L"42S22", L"42S22", kStatementFailed},   // invalid column name
    {208, L"42S02", L"42S02", kNoSuchTable},       // invalid object name
    {220, L"22003", L"HY019", kValueTooLarge},     // overflow of smallint or tinyint
    {229, L"42000", L"42000", kPermissionDenied},  // on an object
    {230, L"42000", L"42000", kPermissionDenied},  // on a column
    {241, L"22007", L"22007", kCannotConvert},     // text that is no date
    {242, L"22008", L"22007", kCannotConvert},     // text with a day that does not exist
    {245, L"22018", L"22018", kCannotConvert},     // text that is no number
    {262, L"42000", L"42000", kPermissionDenied},  // in a database
    {297, L"42000", L"42000", kPermissionDenied},  // for the action
    {515, L"23000", L"23000", kConstraintFailed},  // null where none is allowed
    {547, L"23000", L"23000", kConstraintFailed},  // foreign key or check
    {911, L"08004", L"08004", kFailed},            // no such database, of "use"
    {916, L"08004", L"42000", kPermissionDenied},  // the login has no user there
    {1205, L"40001", L"42000", kFailed},           // deadlock victim
    {1222, L"42000", L"42000", kTimedOut},         // wait for a lock
    {2601, L"23000", L"23000", kConstraintFailed}, // unique index
    {2627, L"23000", L"23000", kConstraintFailed}, // unique constraint
    {2628, L"22001", L"42000", kValueTooLarge},    // text too long for a column
    {2812, L"42000", L"42000", kStatementFailed},  // no such procedure
    {3701, L"42S02", L"42S02", kNoSuchTable},      // cannot drop, as it does not exist
    {3906, L"25000", L"25000", kFailed},           // read-only database
    {3960, L"42000", L"42000", kFailed},           // conflict of snapshots
    {4060, L"42000", L"42000", kFailed},           // no such database, of a logon
    {8114, L"42000", L"42000", kStatementFailed},  // conversion of a data type
    {8115, L"22003", L"HY019", kValueTooLarge},    // arithmetic overflow
    {8134, L"22012", L"22012", kFailed},           // division by zero
    {8152, L"22001", L"22001", kValueTooLarge},    // text too long for a column
    {9002, L"42000", L"42000", kStatementFailed},  // full log
    {18452, L"28000", L"42000", kLogonRefused},    // login of an untrusted domain
    {18456, L"28000", L"42000", kLogonRefused},    // wrong password
    {18470, L"28000", L"42000", kLogonRefused},    // disabled
    {18486, L"28000", L"42000", kLogonRefused},    // locked out
    {18487, L"42000", L"42000", kLogonRefused},    // expired password
    {18488, L"42000", L"42000", kLogonRefused},    // password that must be changed
    {50000, L"42000", L"42000", kStatementFailed}, // raised by a procedure
};

TEST(HresultOfDiagnostic, NumberOfSqlServerIsTheSameWhicheverDriverTellsIt)
{
    for (const Numbered& error : kOfSqlServer) {
        EXPECT_EQ(hresultOfDiagnostic(
                      {error.microsoft, error.native, L"[Microsoft][ODBC Driver 17 for SQL Server][SQL Server]Text"}),
                  error.result)
            << error.native;
        EXPECT_EQ(hresultOfDiagnostic({error.freetds, error.native, L"[FreeTDS][SQL Server]Text"}), error.result)
            << error.native;
    }
}

TEST(HresultOfDiagnostic, NumberOfAnotherServerMeansNothing)
{
    for (const wchar_t* message :
         {L"ERROR: text", L"[SQLite]text", L"[unixODBC][Driver Manager]text", L"ERROR: no number: \"[SQL Server]\"",
          L"text [FreeTDS][SQL Server]", L"[open SQL Serve", L"[", L""})
        for (const Numbered& error : kOfSqlServer)
            EXPECT_EQ(hresultOfDiagnostic({L"HY000", error.native, message}), kFailed) << error.native << message;
}

TEST(HresultOfDiagnostic, FollowsFromTheStateWhereNoNumberDecides)
{
    for (const auto& [state, result] :
         {std::pair(L"28000", kLogonRefused), std::pair(L"28P01", kLogonRefused), std::pair(L"42000", kStatementFailed),
          std::pair(L"42601", kStatementFailed), std::pair(L"42703", kStatementFailed),
          std::pair(L"42S02", kNoSuchTable), std::pair(L"42P01", kNoSuchTable), std::pair(L"42501", kPermissionDenied),
          std::pair(L"23000", kConstraintFailed), std::pair(L"23505", kConstraintFailed),
          std::pair(L"HYT00", kTimedOut), std::pair(L"HYT01", kTimedOut), std::pair(L"57014", kTimedOut),
          std::pair(L"IM002", kFailed), std::pair(L"08S01", kFailed), std::pair(L"08001", kFailed),
          std::pair(L"HY000", kFailed), std::pair(L"01000", kFailed)})
        for (const wchar_t* message : {L"ERROR: text", L"[FreeTDS][SQL Server]Text"})
            EXPECT_EQ(hresultOfDiagnostic({state, 0, message}), result) << state << message;
}

TEST(HresultOfDiagnostic, DriverForSqlServerTellsOfBadValuesByItself)
{
    for (const auto& [state, result] : {std::pair(L"22001", kValueTooLarge), std::pair(L"22003", kValueTooLarge),
                                        std::pair(L"22007", kCannotConvert), std::pair(L"22018", kCannotConvert)})
    {
        EXPECT_EQ(hresultOfDiagnostic({state, 0, L"[Microsoft][ODBC Driver 17 for SQL Server]Text"}), result) << state;
        EXPECT_EQ(hresultOfDiagnostic({state, 0, L"ERROR: text"}), kFailed) << state;
    }
}

TEST(HresultOfDiagnostic, LogonThatPostgreSqlRefusesIsKnownByItsText)
{
    EXPECT_EQ(hresultOfDiagnostic({L"08001", 0, L"password authentication failed for user"}), kLogonRefused);
    EXPECT_EQ(hresultOfDiagnostic({L"08001", 0, L"fe_sendauth: no password supplied"}), kLogonRefused);
    EXPECT_EQ(hresultOfDiagnostic({L"08001", 0, L"connection refused"}), kFailed);
}

} // namespace
} // namespace adodb
