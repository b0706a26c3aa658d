#include "Failure.h"
#include "result_text.h"

#include <gmock/gmock.h>

using nlohmann::json;
using testing::HasSubstr;

TEST(ErrorText, ShowsNumberInDecimalAndHexadecimalSourceAndText)
{
    EXPECT_EQ(errorText(errorJson({13, L"clsConflict.loadFromRs", L"Type mismatch\r\n"})),
              "13 (0x800A000D) clsConflict.loadFromRs: Type mismatch");
    EXPECT_EQ(hexNumber({-2147217843, L"", L""}), "0x80040E4D");
}

template <class Error>
Failure failureOf(const Error& error)
{
    try {
        throw error;
    }
    catch (...) {
        return currentFailure();
    }
}

struct Usual
{
    const char* name;
    com::Error error;
    const char* todo;
};

class UsualError : public testing::TestWithParam<Usual>
{
};

TEST_P(UsualError, HasALineOfWhatToDo)
{
    EXPECT_THAT(advice(GetParam().error), HasSubstr(GetParam().todo));
    EXPECT_THAT(errorText(errorJson(GetParam().error)), HasSubstr(std::string("\n  ") + advice(GetParam().error)));
}

INSTANTIATE_TEST_SUITE_P(
    ErrorText, UsualError,
    testing::Values(
        Usual{"Dsn", {-1, L"", L"[IM002] Data source name not found"}, "odbcad32"},
        Usual{"Login", {-1, L"", L"FATAL: password authentication failed for user"}, "password is refused"},
        Usual{"SqlServerLogin", {-1, L"", L"Login failed for user 'quinmarkapp_user'."}, "password is refused"},
        Usual{"LoginInAnyLanguage", {-2147217843, L"", L"Fehler bei der Anmeldung"}, "password is refused"},
        Usual{"NoPassword",
              {-1, L"", L"connection to server failed: fe_sendauth: no password supplied"},
              "password is refused"},
        Usual{"DsnOf64Bit", {-1, L"", L"The specified DSN contains an architecture mismatch"}, "64-bit"},
        Usual{"Component64Bit", {HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT), L"", L""}, "32-bit quinrep"},
        Usual{"Table", {-1, L"", L"Invalid object name 'no_such'."}, "quinrep check"},
        Usual{"Rights", {-1, L"", L"The SELECT permission was denied on the object 'users'"}, "rights"},
        Usual{"ReadOnly",
              {-1, L"", L"Failed to update database \"Laptop\" because the database is read-only."},
              "set read_write"},
        Usual{"OneUser",
              {-1, L"", L"Database 'Laptop' is already open and can only have one user at a time."},
              "set multi_user"},
        Usual{"Restricted",
              {-1, L"", L"Cannot open database \"Laptop\" requested by the login. The login failed."},
              "set multi_user"},
        Usual{"Offline", {-1, L"", L"Database 'Laptop' cannot be opened because it is offline."}, "offline"},
        Usual{"FullLog",
              {-1, L"", L"The transaction log for database 'Laptop' is full due to 'LOG_BACKUP'."},
              "back up or enlarge"},
        Usual{"FullFile",
              {-1, L"", L"Could not allocate space because the 'PRIMARY' filegroup is full."},
              "make room on its disk"},
        Usual{"Deadlock", {-1, L"", L"was deadlocked on lock resources with another process"}, "kept the row or table"},
        Usual{"LockTimeout", {-1, L"", L"Lock request time out period exceeded."}, "kept the row or table"},
        Usual{"Collations",
              {-1, L"", L"Cannot resolve the collation conflict between \"Latin1_General_CS_AS\" and ..."},
              "same collation"},
        Usual{"Versions", {-1, L"", L"Databases are out of sync"}, "schema versions"},
        Usual{"Control", {-1, L"", L"Replication control error - control record missing"}, "replication_control"},
        Usual{"NotRegistered", {429, L"", L"ActiveX component can't create object"}, "regsvr32"},
        Usual{"NoClass", {REGDB_E_CLASSNOTREG, L"", L"Class not registered"}, "64-bit program cannot load"},
        Usual{"Network", {-1, L"", L"server closed the connection unexpectedly"}, "network"}),
    [](const auto& info) { return info.param.name; });

TEST(ErrorText, UnknownErrorHasNoAdvice)
{
    EXPECT_EQ(advice({5, L"x", L"Something else"}), "");
}

TEST(FailureOfACommand, KeepsTheExitCodeOfTheHost)
{
    const Failure failure = failureOf(HostError(kNotReady, "not now", "Wait."));
    EXPECT_EQ(failure.exitCode, kNotReady);
    EXPECT_EQ(failure.text, "not now\n  Wait.");
    EXPECT_EQ(failure.result, (json{{"error", {{"text", "not now"}, {"todo", "Wait."}}}}));
}

TEST(FailureOfACommand, OfTheComponentMayBeTriedAgain)
{
    const Failure failure = failureOf(com::Error{94, L"routine", L"Invalid use of Null"});
    EXPECT_EQ(failure.exitCode, kFailed);
    EXPECT_EQ(failure.result["error"]["number"], 94);
    EXPECT_EQ(failure.result["error"]["hex"], "0x800A005E");
    EXPECT_EQ(failure.result["error"]["source"], "routine");
}
