// The lines that runs leave in the history, and `quinrep history`.
#include "Quinrep.h"

#include <fstream>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

class RunHistory : public Quinrep
{
protected:
    void append(const std::string& text) { std::ofstream(historyFile(), std::ios::app | std::ios::binary) << text; }
};

TEST_F(RunHistory, HasALineForEachRunHoweverItEnded)
{
    EXPECT_THAT(runs(), IsEmpty());
    EXPECT_EQ(quinrep(L"history").output, "no runs\n");
    addUser(source(), 1, L"new", kNew);
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady);
    addUsers(destination(), 2, 3);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kGuarded);
    tables += tableSection("no_such_table", "one_way");
    EXPECT_EQ(quinrep(L"run --ready --force").exitCode, kFailed);
    destinationPassword = "env:NOT_SET_ANYWHERE";
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kUsage);
    EXPECT_THAT(outcomes(), ElementsAre("done", "refused", "stopped", "failed", "failed"));
    const json all = runs();
    EXPECT_THAT(all[0]["began"].get<std::string>(), MatchesRegex("20..-..-..T..:..:..Z"));
    EXPECT_EQ(all[0]["adds"], 1);
    EXPECT_EQ(all[0]["source_adds"], 0);
    EXPECT_EQ(all[0]["conflicts_waiting"], 0);
    EXPECT_EQ(all[0]["error"], "");
    EXPECT_EQ(all[1]["adds"], nullptr);
    EXPECT_EQ(all[1]["error"], "the site is not marked ready for a run");
    EXPECT_THAT(all[2]["error"].get<std::string>(), StartsWith("users: 2 of 3 rows"));
    EXPECT_THAT(all[3]["error"].get<std::string>(), HasSubstr("no_such_table"));
    EXPECT_THAT(all[4]["error"].get<std::string>(), HasSubstr("there is no password from \"env:NOT_SET_ANYWHERE\": "));
    EXPECT_EQ(runs(L" --last 2"), json({all[3], all[4]}));
}

TEST_F(RunHistory, IsATableWithTheNewestRunBelow)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    addUser(source(), 2, L"new", kNew);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady);
    std::istringstream lines(quinrep(L"history").output);
    std::vector<std::string> shown;
    for (std::string line; std::getline(lines, line);)
        shown.push_back(line);
    ASSERT_EQ(shown.size(), 4U);
    EXPECT_THAT(shown[0],
                MatchesRegex("  began +took +outcome +added +changed +deleted +new conflicts +waiting +error"));
    EXPECT_THAT(shown[1], MatchesRegex("  20..-..-.. ..:..:.. +.* s +conflicts +1 +0 +0 +1 +1 +Changed on both.*"));
    EXPECT_THAT(shown[2], MatchesRegex("  20..-..-.. ..:..:.. +.* s +refused +- +- +- +- +- +the site is not .*"));
    EXPECT_EQ(shown[3], "`quinrep history --json` has the errors in full.");
}

// quinrep ends the line of a run that was broken off, so that the next one is whole.
TEST_F(RunHistory, DamagedLinesAreSkippedAndBrokenOnesReadAsFarAsTheyGo)
{
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    std::string line = contentOf(historyFile());
    append("rubbish\n\n[1]\n" + line.substr(0, line.find(",\"ended\"")) + ",\"ended\":\"20");
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kDone);
    EXPECT_THAT(outcomes(), ElementsAre("done", "broken off", "done"));
}

TEST_F(RunHistory, OfAnotherSiteIsNotShown)
{
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    const std::string line = contentOf(historyFile());
    append("{\"site\":\"1 Elsewhere" + line.substr(line.find("\",\"began\"")));
    EXPECT_THAT(outcomes(), ElementsAre("done"));
}

TEST_F(RunHistory, ThatCannotBeWrittenIsFoundBeforeTheRun)
{
    addUser(source(), 1, L"new", kNew);
    std::filesystem::create_directory(historyFile());
    const Ended ended = quinrepJson(L"run", "failure");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("the history "));
    std::filesystem::remove(historyFile());
    EXPECT_THAT(users(destination()), IsEmpty());
}

// Nothing is known of an error that a killed run may have recorded.
TEST_F(RunHistory, OfARunThatWasKilledWhileItWroteClearsNoError)
{
    sections = "[run]\non_conflicts = 'continue'\n";
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    std::string line = contentOf(historyFile());
    line = line.substr(0, line.find(",\"conflicts\""));
    ASSERT_THAT(line, HasSubstr("writing_since"));
    append(line);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kNotReady);
    std::ofstream(historyFile(), std::ios::trunc).close();
}
