// `quinrep status`, which answers whether all is in order, to people and to monitors.
#include "Quinrep.h"

#include "support/TemporaryFolder.h"

#include <fstream>
#include <regex>

using testing::AllOf;
using testing::Not;
using testing::StartsWith;

namespace {

class Status : public Quinrep
{
protected:
    /// The exit code of `status --check`, and the texts of the findings.
    std::pair<DWORD, std::string> check(const std::wstring& options = L"")
    {
        const Ended ended = quinrepJson(L"status --check" + options, "status");
        std::string texts;
        const json result = ended.result();
        for (const json& finding : result["findings"])
            texts += finding["text"].get<std::string>() + "\n";
        EXPECT_EQ(quinrep(L"status").exitCode, kDone);
        return {ended.exitCode, texts};
    }

    void addConflict()
    {
        addUser(source(), 1, L"S", kNew);
        addUser(destination(), 1, L"D", kNewer);
    }

    /// The times of all runs, a year earlier.
    void ageHistory()
    {
        const std::string text = contentOf(historyFile());
        const int year = std::stoi(text.substr(text.find("\"began\":\"") + 9));
        std::ofstream(historyFile(), std::ios::binary) << std::regex_replace(
            text, std::regex("\"" + std::to_string(year) + "-"), "\"" + std::to_string(year - 1) + "-");
    }
};

} // namespace

TEST_F(Status, IsInOrderAfterARunThatWentThrough)
{
    addUser(source(), 1, L"new", kNew);
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_EQ(check(), std::pair(DWORD(kDone), std::string()));
    const std::string output = quinrep(L"status").output;
    EXPECT_THAT(output, StartsWith("All is in order.\nLast run: 20"));
    EXPECT_THAT(output, HasSubstr(", done after "));
    EXPECT_THAT(output, HasSubstr("; added 1, changed 0, deleted 0\nIn error: no\nReady for a run: no\n"));
    EXPECT_THAT(output, HasSubstr("Counters of the last run:\n  table  adds\n  users     1\n"));
    EXPECT_THAT(output, Not(HasSubstr("discrepancies")));
}

TEST_F(Status, IsNotInOrderWithoutARunThatWentThrough)
{
    EXPECT_EQ(check(), std::pair(DWORD(kNotReady), std::string("The history knows no run that went through.\n")));
    EXPECT_EQ(quinrepJson(L"status", "status").result()["last_run"], nullptr);
}

TEST_F(Status, TellsErrorAndConflictsFirst)
{
    addConflict();
    EXPECT_THAT(quinrep(L"run").output,
                HasSubstr("\nNo run begins until somebody has looked, and runs with `quinrep run "
                          "--ready --reset-error`.\n"));
    const auto [exitCode, texts] = check();
    EXPECT_EQ(exitCode, DWORD(kNotReady));
    EXPECT_THAT(texts, StartsWith("The site is in error and is not run until somebody runs `quinrep run --ready "
                                  "--reset-error`: Changed on both"));
    EXPECT_THAT(texts, HasSubstr("Conflicts that wait for a decision: 1."));
    std::string output = quinrep(L"status").output;
    EXPECT_THAT(output, StartsWith("! The site is in error"));
    EXPECT_THAT(output, HasSubstr("\nConflicts waiting:\n  table  waiting\n  users        1\nLast run: "));
    EXPECT_THAT(output, HasSubstr("  table  conflicts  errors\n  users          1       1\n"));
    EXPECT_THAT(output, AllOf(HasSubstr("Last discrepancies in the log:\n"), Not(HasSubstr("errors in the log"))));
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kNotReady);
    output = quinrep(L"status").output;
    EXPECT_THAT(output, HasSubstr(", was refused\n! Conflicts that wait")) << "the error is told once";
}

TEST_F(Status, EndsWithTwoForConflictsThatKeepNoRunFromBeginning)
{
    sections = "[run]\non_conflicts = 'continue'\n";
    addConflict();
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kRecorded);
    EXPECT_EQ(ended.result()["holds_next_run"], false);
    const auto [exitCode, texts] = check();
    EXPECT_EQ(exitCode, DWORD(kRecorded));
    EXPECT_THAT(texts, StartsWith("Conflicts that wait for a decision: 1."));
}

TEST_F(Status, EndsWithFourWhenTheLastRunDidNotGoThroughAndWhenOneIsOverdue)
{
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady);
    auto [exitCode, texts] = check();
    EXPECT_EQ(exitCode, DWORD(kNotReady));
    EXPECT_THAT(texts, AllOf(StartsWith("The last run, of 20"), HasSubstr(", was refused: the site is not marked")));
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kDone);
    ageHistory();
    std::tie(exitCode, texts) = check();
    EXPECT_EQ(exitCode, DWORD(kNotReady));
    EXPECT_THAT(texts, AllOf(StartsWith("A run is overdue: the last one that went through ended 20"),
                             HasSubstr("more than 26 hours ago")));
    EXPECT_EQ(check(L" --max-age 10000").first, DWORD(kDone));
    EXPECT_EQ(quinrep(L"status --check --max-age 0").exitCode, kUsage);
}

TEST_F(Status, WatchTellsUntilWhenItWaitsUnlessItIsQuiet)
{
    local().execute(L"update replication_control set next_timestamp = '2100-01-01T12:00:00'");
    ChildProcess watch(commandLine(L"run --watch"));
    ChildProcess quiet(commandLine(L"-q run --watch"));
    for (int tries = 0; tries < 400 && watch.messages().empty(); ++tries)
        Sleep(50);
    EXPECT_THAT(watch.messages(),
                testing::MatchesRegex("quinrep: the next run is due at 2100-01-01 .*, in .* h .* min; "
                                      "Ctrl-C ends the watch\n"));
    Sleep(2000);
    EXPECT_EQ(quiet.messages(), "");
}

TEST_F(Status, WatchTellsThePauseAfterAFailure)
{
    local().execute(L"update replication_control set ready_f = 0");
    ChildProcess watch(commandLine(L"run --watch"));
    for (int tries = 0; tries < 400 && watch.messages().find("Ctrl-C") == std::string::npos; ++tries)
        Sleep(50);
    EXPECT_THAT(watch.messages(), HasSubstr("quinrep: the next attempt is at 20"));
    EXPECT_THAT(watch.messages(), HasSubstr(", in 5.0 s; Ctrl-C ends the watch\n"));
}
