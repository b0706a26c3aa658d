// What a first-time administrator gets wrong: every mistake is told at once, in words, with the documented exit code.
#include "HostError.h"
#include "Quinrep.h"
#include "TemporaryFile.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The names of the looks of `check` that found something.
std::vector<std::string> badChecks(const Ended& ended)
{
    std::vector<std::string> bad;
    const nlohmann::json result = ended.json();
    for (const auto& check : result["checks"])
        if (!check["ok"].get<bool>())
            bad.push_back(check["check"]);
    return bad;
}

} // namespace

class FirstUse : public Quinrep
{
};

TEST_F(FirstUse, CheckTellsEachConnectionByItself)
{
    host().sourceDsn = L"Nowhere";
    host().destinationDsn = L"NowhereElse";
    const Ended ended = quinrepJson(L"check", "check");
    EXPECT_EQ(ended.exitCode, kNotReady);
    EXPECT_THAT(badChecks(ended), ElementsAre("source Nowhere", "destination NowhereElse"));
    EXPECT_THAT(ended.output, HasSubstr("There is no ODBC data source of that name for 32-bit programs"));
}

// A run would fail at its first statement that names both sides.
TEST_F(FirstUse, CheckTellsAPrefixThatReachesNothing)
{
    host().destinationPrefix = L"elsewhere.";
    const Ended ended = quinrepJson(L"check", "check");
    EXPECT_EQ(ended.exitCode, kNotReady);
    EXPECT_THAT(badChecks(ended), ElementsAre("table users"));
    EXPECT_THAT(ended.output, HasSubstr("the local database does not reach elsewhere.users"));
    EXPECT_THAT(ended.output, HasSubstr("correct the destination's prefix"));
}

TEST_F(FirstUse, CheckLooksAtDependentTables)
{
    tables = "[[table]]\nname = 'chart_option'\nmethod = 'one_way_deletes'\ndependent = 'no_settings'\n";
    EXPECT_THAT(badChecks(quinrepJson(L"check", "check")), ElementsAre("table no_settings, with chart_option"));
}

// The component would ask a person in a message box, for which a scheduled run waits for ever.
TEST_F(FirstUse, LogThatCannotBeWrittenStopsBeforeTheComponentAsks)
{
    const Ended ended = quinrepJson(L"run --log-file Z:/no/such/folder/x.log", "failure");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("the log Z:/no/such/folder/x.log cannot be written\n  Name a file"));
}

TEST_F(FirstUse, CheckTellsALogThatCannotBeWrittenOnce)
{
    const Ended ended = quinrepJson(L"check --log-file Z:/no/such/folder/x.log", "check");
    EXPECT_EQ(ended.exitCode, kNotReady);
    EXPECT_THAT(badChecks(ended), ElementsAre("log Z:/no/such/folder/x.log"));
}

TEST_F(FirstUse, WrongCommandLineIsToldInJsonToo)
{
    const Ended ended = quinrepJson(L"run --nonsense", "failure");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, testing::StartsWith("quinrep: The following argument was not expected: --nonsense\n"));
    EXPECT_EQ(quinrep(L"run --nonsense").output, "");
}

TEST_F(FirstUse, ResolutionsAreKnownByTheirNamesOnly)
{
    for (const wchar_t* use : {L"bogus", L"1"}) {
        const Ended ended = quinrep(L"conflicts resolve --all --use " + std::wstring(use));
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr("not in {source,destination,later}"));
    }
}

TEST_F(FirstUse, WhatIsNoConflictsIdIsAMistakeOfUsage)
{
    for (const wchar_t* id : {L"7", L"{055F6C91-4D7C-1C8B-DD4B-7EF113BAF998}"}) {
        const Ended ended = quinrepJson(L"conflicts show " + std::wstring(id), "failure");
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr("there is no conflict"));
    }
}

TEST_F(FirstUse, ReportOfARunThatCouldNotBeginTellsTheFailure)
{
    host().sourceDsn = L"Nowhere";
    const TemporaryFile report("yesterday's", "report.html");
    EXPECT_EQ(quinrep(L"run --report \"" + std::filesystem::path(report.path()).wstring() + L"\"").exitCode, kFailed);
    std::ostringstream page;
    page << std::ifstream(report.path()).rdbuf();
    EXPECT_THAT(page.str(), HasSubstr("The run failed: "));
    EXPECT_THAT(page.str(), Not(HasSubstr("yesterday")));
}

TEST_F(FirstUse, InitWritesAFileThatIsNeverOverwritten)
{
    const std::wstring path = std::filesystem::temp_directory_path() / L"quinrep Praxis Zähne.toml";
    DeleteFileW(path.c_str());
    const std::wstring arguments = L"-c \"" + path + L"\" init";
    EXPECT_EQ(QuinrepProcess(arguments).wait().exitCode, kDone);
    const Ended again = QuinrepProcess(arguments).wait();
    EXPECT_EQ(again.exitCode, kUsage);
    EXPECT_THAT(again.messages, HasSubstr("quinrep Praxis Zähne.toml exists already"));
    EXPECT_THAT(again.output, IsEmpty());
    DeleteFileW(path.c_str());
    EXPECT_EQ(QuinrepProcess(L"-c Z:/no/such/folder/x.toml init").wait().exitCode, kUsage);
}

// A full copy needs no key, so verify may not ask for one.
TEST_F(FirstUse, VerifyComparesATableWithoutAKeyByWholeRows)
{
    tables = "[[table]]\nname = 'replication_counts'\nmethod = 'full_copy'\n";
    const auto fill = [](const PracticeSide& side, const std::wstring& values) {
        side.execute(L"delete from replication_counts");
        side.execute(L"insert into replication_counts (unique_key, count_name, count_value) values " + values);
    };
    fill(source(), L"(0, 'same', 1), (0, 'twice', 2), (0, 'twice', 2)");
    fill(destination(), L"(0, 'same', 1), (0, 'twice', 2)");
    const Ended ended = quinrepJson(L"verify", "verify");
    EXPECT_EQ(ended.exitCode, kRecorded) << ended.messages;
    EXPECT_EQ(ended.json()["tables"][0]["source_rows"], 3);
    EXPECT_EQ(ended.json()["tables"][0]["differing"], 1);
    EXPECT_EQ(ended.json()["tables"][0]["rows"][0]["what"], "source only");
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"delete from replication_counts");
}
