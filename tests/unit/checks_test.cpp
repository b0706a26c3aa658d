#include "control/Factory.h"
#include "control/checks.h"
#include "control/error_state.h"
#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Texts = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

constexpr wchar_t kProgramSql[] = L"Select * from Control Where Type = 'ReplicationVersion'";
constexpr wchar_t kVersionsSql[] = L"Select [id] from control where type in ('PatInfoVer', 'Version') order by type";
constexpr wchar_t kOfficeSql[] = L"Select [id] from control where type = 'DBOffice'";

class ChecksTest : public RecordingTest
{
protected:
    ChecksTest() { connectedSettings(); }

    void versions(const Texts& source, const Texts& destination)
    {
        ado().answerOn(L"source", kVersionsSql, adoTexts(L"id", source));
        ado().answerOn(L"destination", kVersionsSql, adoTexts(L"id", destination));
    }

    void offices(const Texts& source, const Texts& destination)
    {
        ado().answerOn(L"source", kOfficeSql, adoTexts(L"id", source));
        ado().answerOn(L"destination", kOfficeSql, adoTexts(L"id", destination));
    }

    void nullOn(const std::wstring& connection, const std::wstring& statement)
    {
        ado().answerOn(connection, statement, {{{{L"id", 200}}, {{adoNull()}}}, 0, {}});
    }

    /// The check's failure, which must also have been recorded in the local database.
    template <class Check>
    Error recordedFailure(Check check)
    {
        ado().forget();
        const Error error = raised(check);
        const Statements sent = ado().statements();
        EXPECT_EQ(sent.empty() ? AdoStatement() : sent.back(),
                  AdoStatement(L"source", L"SetReplicationError(0, 1, \"" + error.description + L"\")"));
        return error;
    }

    Error versionsError() { return recordedFailure(Utils::checkVersions); }
    Error officeError() { return recordedFailure(Utils::checkOffice); }
    Error programError(const std::wstring& version)
    {
        return recordedFailure([&] { Utils::checkProgramVersion(version); });
    }
};

TEST_F(ChecksTest, ProgramVersionIsReadFromTheLocalDatabaseAndTrimmed)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"  3.46 "}));
    Utils::checkProgramVersion(L"3.46");
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kProgramSql}}));
    EXPECT_EQ(closedResults(), 1);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ChecksTest, FirstOfSeveralProgramVersionsCounts)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"3.46", L"3.47"}));
    Utils::checkProgramVersion(L"3.46");
    EXPECT_EQ(programError(L"3.47").number, kCheckFailed);
}

TEST_F(ChecksTest, ProgramVersionIsComparedExactly)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"3.46a"}));
    EXPECT_EQ(programError(L"3.46"),
              (Error{kCheckFailed, L"Utils.checkProgramVersion",
                     L"The version of the program does not match the version of the database.\r\n"
                     L"Program version:  3.46  Database Version: 3.46a"}));
    EXPECT_EQ(programError(L"3.46A").description,
              L"The version of the program does not match the version of the database.\r\n"
              L"Program version:  3.46A  Database Version: 3.46a");
    EXPECT_EQ(programError(L"3.46a ").number, kCheckFailed) << "only the database's version is trimmed";
}

TEST_F(ChecksTest, NullProgramVersionReadsAsEmpty)
{
    nullOn(L"source", kProgramSql);
    Utils::checkProgramVersion(L"");
    EXPECT_EQ(programError(L"3.46").description,
              L"The version of the program does not match the version of the database.\r\n"
              L"Program version:  3.46  Database Version: ");
}

TEST_F(ChecksTest, MissingProgramVersionIsToldAsSuch)
{
    EXPECT_EQ(programError(L"3.46"), (Error{kCheckFailed, L"Utils.checkProgramVersion",
                                            L"No version information found on the database for ReplicationVersion"}));
    EXPECT_EQ(closedResults(), 0);
}

TEST_F(ChecksTest, EqualVersionsPass)
{
    versions({L" 5", L"3.46"}, {L"5 ", L"3.46"});
    Utils::checkVersions();
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kVersionsSql}, {L"destination", kVersionsSql}}));
    EXPECT_EQ(closedResults(), 2);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ChecksTest, VersionsMissingOnBothSidesPass)
{
    Utils::checkVersions();
    EXPECT_EQ(ado().statements().size(), 2U);
}

TEST_F(ChecksTest, SourceIsAskedFirstWhateverTheRole)
{
    releaseConnections();
    ConnectOptions options;
    options.role = L"DESTINATION";
    connectedSettings(options);
    Utils::checkVersions();
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kVersionsSql}, {L"destination", kVersionsSql}}));
}

TEST_F(ChecksTest, DifferentPatInfoVerFails)
{
    versions({L"5", L"3.46"}, {L"6", L"3.46"});
    EXPECT_EQ(versionsError(), (Error{kCheckFailed, L"Utils.checkVersions",
                                      L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 6"}));
}

TEST_F(ChecksTest, DifferentVersionFails)
{
    versions({L"5", L"3.46"}, {L"5", L"3.47"});
    EXPECT_EQ(versionsError(),
              (Error{kCheckFailed, L"Utils.checkVersions",
                     L"Database Versions (Quinmark Version) out of sync.  Source = 3.46, Destination = 3.47"}));
}

TEST_F(ChecksTest, OnlyPatInfoVerIsToldWhenBothDiffer)
{
    versions({L"5", L"3.46"}, {L"6", L"3.47"});
    EXPECT_EQ(versionsError().description, L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 6");
}

TEST_F(ChecksTest, MissingRowShiftsTheLaterValues)
{
    versions({L"5"}, {L"5", L"3.46"});
    EXPECT_EQ(versionsError().description,
              L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 3.46");
}

TEST_F(ChecksTest, FifthVersionRowIsOutOfRange)
{
    versions({L"5", L"3.46", L"x"}, {L"5", L"3.46"});
    EXPECT_EQ(versionsError(), (Error{kCheckFailed, L"Utils.checkVersions", L"Subscript out of range"}));
}

TEST_F(ChecksTest, NullVersionIsInvalidUseOfNull)
{
    nullOn(L"destination", kVersionsSql);
    EXPECT_EQ(versionsError(), (Error{kCheckFailed, L"Utils.checkVersions", L"Invalid use of Null"}));
}

TEST_F(ChecksTest, EqualOfficesPass)
{
    offices({L"7 "}, {L"7"});
    Utils::checkOffice();
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kOfficeSql}, {L"destination", kOfficeSql}}));
    EXPECT_EQ(closedResults(), 2);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ChecksTest, DifferentOfficesAreToldAsOutOfRange)
{
    offices({L"7"}, {L"8"});
    EXPECT_EQ(officeError(), (Error{kCheckFailed, L"Utils.checkOffice", L"Subscript out of range"}));
}

TEST_F(ChecksTest, ThirdOfficeRowIsOutOfRange)
{
    offices({L"7", L"7"}, {L"7"});
    EXPECT_EQ(officeError(), (Error{kCheckFailed, L"Utils.checkOffice", L"Subscript out of range"}));
}

TEST_F(ChecksTest, NullOfficeIsInvalidUseOfNull)
{
    nullOn(L"source", kOfficeSql);
    EXPECT_EQ(officeError(), (Error{kCheckFailed, L"Utils.checkOffice", L"Invalid use of Null"}));
}

TEST_F(ChecksTest, DatabaseFailureLosesItsNumberAndKeepsItsText)
{
    ado().failStatementOn(L"destination", kVersionsSql, connectionLost());
    EXPECT_EQ(versionsError(), (Error{kCheckFailed, L"Utils.checkVersions", L"Connection lost"}));
    ado().failStatement(kOfficeSql, connectionLost());
    EXPECT_EQ(officeError(), (Error{kCheckFailed, L"Utils.checkOffice", L"Connection lost"}));
    ado().failStatement(kProgramSql, connectionLost());
    EXPECT_EQ(programError(L"3.46"), (Error{kCheckFailed, L"Utils.checkProgramVersion", L"Connection lost"}));
}

TEST_F(ChecksTest, FailureIsRaisedThoughItCannotBeRecordedOnAClosedConnection)
{
    settings().localConnection()->getConn().close();
    ado().forget();
    EXPECT_EQ(raised(Utils::checkVersions),
              (Error{kCheckFailed, L"Utils.checkVersions", L"Local database not available as Source"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ChecksTest, FailureToRecordTakesTheChecksPlace)
{
    offices({L"7"}, {L"8"});
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(raised(Utils::checkOffice), (Error{E_FAIL, L"Utils.setError", L"Connection lost"}));
}

TEST_F(ChecksTest, EnsureReplicationRunsBothChecks)
{
    versions({L"5", L"3.46"}, {L"5", L"3.46"});
    offices({L"7"}, {L"7"});
    Factory factory;
    EXPECT_TRUE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"");
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kVersionsSql},
                                              {L"destination", kVersionsSql},
                                              {L"source", kOfficeSql},
                                              {L"destination", kOfficeSql}}));
}

TEST_F(ChecksTest, EnsureReplicationStopsAtDifferentVersions)
{
    versions({L"5", L"3.46"}, {L"6", L"3.46"});
    Factory factory;
    EXPECT_FALSE(factory.ensureReplication());
    const std::wstring text = L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 6";
    EXPECT_EQ(factory.sErrorMessage(), text);
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kVersionsSql},
                                              {L"destination", kVersionsSql},
                                              {L"source", L"SetReplicationError(0, 1, \"" + text + L"\")"}}));
}

TEST_F(ChecksTest, EnsureReplicationTellsOfDifferentOfficesAndKeepsItsMessage)
{
    ado().answerOn(L"source", kOfficeSql, adoTexts(L"id", {L"7"}));
    ado().answerOn(L"destination", kOfficeSql, adoTexts(L"id", {L"8"}));
    ado().answerOn(L"destination", kOfficeSql, adoTexts(L"id", {L"7"}));
    Factory factory;
    EXPECT_FALSE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Subscript out of range");
    EXPECT_TRUE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Subscript out of range");
}

TEST_F(ChecksTest, EnsureReplicationNeverRaises)
{
    EXPECT_TRUE(Factory().ensureReplication());
    const size_t calls = ado().callCount();
    ASSERT_GT(calls, 20U);
    for (size_t call = 1; call <= calls; ++call) {
        ado().failCall(call, connectionLost());
        Factory factory;
        EXPECT_FALSE(factory.ensureReplication()) << call;
        EXPECT_NE(factory.sErrorMessage(), L"") << call;
        EXPECT_EQ(ado().liveObjects(), 2) << call;
    }
}

TEST_F(ChecksTest, EnsureReplicationWithoutConnectionsIsFalse)
{
    releaseConnections();
    Factory factory;
    EXPECT_FALSE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Object variable or With block variable not set");
}

} // namespace
