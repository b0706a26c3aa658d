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

    void hold(const wchar_t* sql, const Texts& source, const Texts& destination)
    {
        ado().answerOn(L"source", sql, adoTexts(L"id", source));
        ado().answerOn(L"destination", sql, adoTexts(L"id", destination));
    }

    void nullOn(const std::wstring& connection, const std::wstring& statement)
    {
        ado().answerOn(connection, statement, {adoRow({{L"id", adoNull()}}), 0, {}});
    }

    /// A check that passes, after these statements.
    template <class Check>
    void expectPassed(Check check, const Statements& statements)
    {
        ado().forget();
        check();
        EXPECT_EQ(ado().statements(), statements);
        EXPECT_EQ(closedResults(), static_cast<long>(statements.size()));
        EXPECT_EQ(ado().liveObjects(), 2);
    }

    /// A failure, which is also recorded in the local database.
    template <class Check>
    void expectFailure(Check check, const std::wstring& sSource, const std::wstring& description)
    {
        EXPECT_EQ(raised(check), (Error{kCheckFailed, sSource, description}));
        EXPECT_EQ(ado().statements().back(),
                  AdoStatement(L"source", L"SetReplicationError(0, 1, \"" + description + L"\")"));
    }

    void expectProgramFails(const std::wstring& version, const std::wstring& description)
    {
        expectFailure([&] { Utils::checkProgramVersion(version); }, L"Utils.checkProgramVersion", description);
    }
    void expectVersionsFail(const std::wstring& description)
    {
        expectFailure(Utils::checkVersions, L"Utils.checkVersions", description);
    }
    void expectOfficesFail(const std::wstring& description)
    {
        expectFailure(Utils::checkOffice, L"Utils.checkOffice", description);
    }
};

TEST_F(ChecksTest, FirstProgramVersionOfTheLocalDatabaseIsTrimmedAndComparedExactly)
{
    ado().answer(kProgramSql, adoTexts(L"id", {L"  3.46a ", L"3.47"}));
    expectPassed([] { Utils::checkProgramVersion(L"3.46a"); }, {{L"source", kProgramSql}});
    for (const wchar_t* program : {L"3.46", L"3.46A", L"3.46a ", L"3.47"})
        expectProgramFails(program, L"The version of the program does not match the version of the database.\r\n"
                                    L"Program version:  " +
                                        std::wstring(program) + L"  Database Version: 3.46a");
}

TEST_F(ChecksTest, NullProgramVersionReadsAsEmptyAndAMissingOneIsTold)
{
    expectProgramFails(L"3.46", L"No version information found on the database for ReplicationVersion");
    EXPECT_EQ(closedResults(), 0);
    nullOn(L"source", kProgramSql);
    Utils::checkProgramVersion(L"");
}

TEST_F(ChecksTest, EqualVersionsPassAndSoDoNone)
{
    const Statements asked{{L"source", kVersionsSql}, {L"destination", kVersionsSql}};
    expectPassed(Utils::checkVersions, asked);
    hold(kVersionsSql, {L" 5", L"3.46"}, {L"5 ", L"3.46"});
    expectPassed(Utils::checkVersions, asked);
    releaseConnections();
    connectedSettings({.role = L"DESTINATION"});
    expectPassed(Utils::checkVersions, asked);
}

TEST_F(ChecksTest, DifferentVersionsFail)
{
    struct
    {
        Texts source;
        Texts destination;
        const wchar_t* sDescription;
    } const kCases[] = {
        {{L"5", L"3.46"}, {L"6", L"3.47"}, L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 6"},
        {{L"5", L"3.46"},
         {L"5", L"3.47"},
         L"Database Versions (Quinmark Version) out of sync.  Source = 3.46, Destination = 3.47"},
        // A missing row shifts the later values, a fifth one has no place.
        {{L"5"}, {L"5", L"3.46"}, L"Database Versions (PatInfoVer) out of sync.  Source = 5, Destination = 3.46"},
        {{L"5", L"3.46", L"x"}, {L"5", L"3.46"}, L"Subscript out of range"},
    };
    for (const auto& [source, destination, sDescription] : kCases) {
        hold(kVersionsSql, source, destination);
        expectVersionsFail(sDescription);
    }
    nullOn(L"destination", kVersionsSql);
    expectVersionsFail(L"Invalid use of Null");
}

TEST_F(ChecksTest, EqualOfficesPassAndOthersAreOutOfRange)
{
    hold(kOfficeSql, {L"7 "}, {L"7"});
    expectPassed(Utils::checkOffice, {{L"source", kOfficeSql}, {L"destination", kOfficeSql}});
    hold(kOfficeSql, {L"7"}, {L"8"});
    expectOfficesFail(L"Subscript out of range");
    hold(kOfficeSql, {L"7", L"7"}, {L"7"});
    expectOfficesFail(L"Subscript out of range");
    nullOn(L"source", kOfficeSql);
    expectOfficesFail(L"Invalid use of Null");
}

TEST_F(ChecksTest, DatabaseFailureLosesItsNumberAndKeepsItsText)
{
    ado().failStatementOn(L"destination", kVersionsSql, connectionLost());
    expectVersionsFail(L"Connection lost");
    ado().failStatement(kOfficeSql, connectionLost());
    expectOfficesFail(L"Connection lost");
    ado().failStatement(kProgramSql, connectionLost());
    expectProgramFails(L"3.46", L"Connection lost");
}

TEST_F(ChecksTest, FailureIsRaisedThoughItCannotBeRecordedOnAClosedConnection)
{
    settings().localConnection()->getConn().close();
    EXPECT_EQ(raised(Utils::checkVersions),
              (Error{kCheckFailed, L"Utils.checkVersions", L"Local database not available as Source"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ChecksTest, FailureToRecordTakesTheChecksPlace)
{
    hold(kOfficeSql, {L"7"}, {L"8"});
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(raised(Utils::checkOffice), (Error{E_FAIL, L"Utils.setError", L"Connection lost"}));
}

TEST_F(ChecksTest, EnsureReplicationRunsBothChecksAndKeepsItsMessage)
{
    Factory factory;
    hold(kVersionsSql, {L"5", L"1"}, {L"6", L"1"});
    EXPECT_FALSE(factory.ensureReplication());
    EXPECT_TRUE(factory.sErrorMessage().starts_with(L"Database Versions (PatInfoVer) out of sync."));
    EXPECT_EQ(ado().statements().size(), 3U) << "the office is not asked for";
    hold(kVersionsSql, {L"5", L"1"}, {L"5", L"1"});
    hold(kOfficeSql, {L"7"}, {L"8"});
    EXPECT_FALSE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Subscript out of range");
    hold(kOfficeSql, {L"7"}, {L"7"});
    ado().forget();
    EXPECT_TRUE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Subscript out of range");
    EXPECT_EQ(ado().statements(), (Statements{{L"source", kVersionsSql},
                                              {L"destination", kVersionsSql},
                                              {L"source", kOfficeSql},
                                              {L"destination", kOfficeSql}}));
    EXPECT_EQ(Factory().sErrorMessage(), L"");
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
    releaseConnections();
    Factory factory;
    EXPECT_FALSE(factory.ensureReplication());
    EXPECT_EQ(factory.sErrorMessage(), L"Object variable or With block variable not set");
}

} // namespace
