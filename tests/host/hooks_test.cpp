// The commands before and after a run.
#include "Quinrep.h"

#include "support/TemporaryFolder.h"
#include "text.h"

#include <fstream>

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class Hooks : public Quinrep
{
protected:
    void SetUp() override
    {
        Quinrep::SetUp();
        addUser(source(), 1, L"new", kNew);
    }

    std::wstring file(const std::wstring& name) const { return folder_.file(name); }
    std::string path(const wchar_t* name) const { return toUtf8(file(name)); }

    void write(const wchar_t* name, const std::string& content) const
    {
        std::ofstream(std::filesystem::path(file(name)), std::ios::binary) << content;
    }

    /// Names a command file with these lines for the time before or after a run.
    void hook(const std::string& when, const std::string& lines)
    {
        if (sections.empty())
            sections = "[hooks]\n";
        write(toWide(when + ".cmd").c_str(), "@echo off\n" + lines + "\n");
        sections += when + " = '\"" + path(toWide(when + ".cmd").c_str()) + "\"'\n";
    }

    /// Lines that keep the environment and the result's file.
    std::string keeping(const std::string& name) const
    {
        return "set >\"" + path(toWide(name + ".env").c_str()) + "\"\ncopy \"%QUINREP_RESULT%\" \"" +
               path(toWide(name + ".json").c_str()) + "\"";
    }

    std::string environmentOf(const std::wstring& name) const { return contentOf(file(name + L".env")); }
    json resultOf(const std::wstring& name) const { return json::parse(contentOf(file(name + L".json"))); }

    /// A command that writes into a file again and again, until a test ends.
    std::string endless(const wchar_t* name)
    {
        write(L"endless.cmd", "@echo off\n:loop\necho x >>%1\nif not exist \"" + path(L"stop") + "\" goto loop\n");
        return "\"" + path(L"endless.cmd") + "\" \"" + path(name) + "\"";
    }

    void TearDown() override
    {
        write(L"stop", "");
        Quinrep::TearDown();
    }

    /// Whether a command that wrote into a file does so no more.
    bool hasEnded(const wchar_t* name) const
    {
        const size_t size = contentOf(file(name)).size();
        Sleep(1000);
        return size > 0 && contentOf(file(name)).size() == size;
    }

    bool exists(const wchar_t* name) const { return std::filesystem::exists(file(name)); }

    void waitUntilExists(const wchar_t* name) const
    {
        for (int tries = 0; tries < 600 && !exists(name); ++tries)
            Sleep(50);
        ASSERT_TRUE(exists(name));
    }

private:
    const TemporaryFolder folder_;
};

} // namespace

TEST_F(Hooks, GetResultAndExitCodeAndNoPassword)
{
    SetEnvironmentVariableW(L"LAPTOP_PASSWORD", setting(L"QUINMARK_PASSWORD").c_str());
    SetEnvironmentVariableW(L"QUINREP_EXIT_CODE", L"9");
    destinationPassword = "env:laptop_password";
    hook("before", keeping("before"));
    hook("after", keeping("after"));
    const Ended ended = quinrep(L"run");
    SetEnvironmentVariableW(L"LAPTOP_PASSWORD", nullptr);
    SetEnvironmentVariableW(L"QUINREP_EXIT_CODE", nullptr);
    EXPECT_EQ(ended.exitCode, kDone) << ended.messages;
    EXPECT_THAT(environmentOf(L"before"), HasSubstr("QUINREP_HOOK=before"));
    EXPECT_THAT(environmentOf(L"before"), Not(HasSubstr("QUINREP_EXIT_CODE")));
    EXPECT_EQ(resultOf(L"before")["tables"][0]["adds"], 1);
    EXPECT_THAT(environmentOf(L"after"), HasSubstr("QUINREP_EXIT_CODE=0"));
    EXPECT_THAT(environmentOf(L"after"), HasSubstr("QUINREP_SITE=offices"));
    EXPECT_EQ(resultOf(L"after")["tables"][0]["done"], true);
    EXPECT_EQ(resultOf(L"after")["about"]["source"], toUtf8(host().sourceDsn));
    for (const wchar_t* hook : {L"before", L"after"})
        EXPECT_THAT(environmentOf(hook), Not(AnyOf(HasSubstr("QUINMARK_PASSWORD="), HasSubstr("LAPTOP_PASSWORD="))));
    for (const auto& entry : std::filesystem::directory_iterator(historyFile().parent_path()))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("result"))) << "it is gone after the command";
}

TEST_F(Hooks, RunDoesNotBeginWhenTheCommandBeforeFails)
{
    source().execute(L"update replication_control set ready_f = 0, error_f = 1, error_message = 'trouble'");
    const std::wstring before = controlRecord();
    hook("before", "echo the disk is full\nexit 3");
    const Ended ended = quinrepJson(L"run --ready --reset-error", "preview");
    EXPECT_EQ(ended.exitCode, kGuarded) << ended.messages;
    const json stop = ended.result()["stops"][0];
    EXPECT_EQ(stop["reason"], "hook");
    EXPECT_THAT(stop["text"].get<std::string>(),
                StartsWith("It ended with exit code 3: the disk is full. See `before`"));
    EXPECT_EQ(controlRecord(), before);
    EXPECT_THAT(users(destination()), IsEmpty());
    EXPECT_EQ(runs().back()["outcome"], "stopped");
    EXPECT_THAT(runs().back()["error"].get<std::string>(), StartsWith("the command before the run: It ended with"));
    EXPECT_THAT(quinrep(L"run --ready --reset-error --force --attended").output,
                StartsWith("Nothing was written. The run stopped before it began:\nthe command before the run: It "));
}

TEST_F(Hooks, RunDoesNotBeginWhenTheCommandBeforeIsNotThere)
{
    sections = "[hooks]\nbefore = 'no_such_program'\n";
    EXPECT_EQ(quinrepJson(L"run", "preview").exitCode, kGuarded);
    EXPECT_THAT(users(destination()), IsEmpty());
}

TEST_F(Hooks, CommandThatTakesTooLongIsEndedWithAllThatItStarted)
{
    hook("before", "start /b cmd /c \"" + endless(L"started") + "\"\ncall " + endless(L"itself"));
    sections += "timeout = 2\n";
    const Ended ended = quinrepJson(L"run", "preview");
    EXPECT_EQ(ended.exitCode, kGuarded) << ended.messages;
    EXPECT_THAT(ended.result()["stops"][0]["text"].get<std::string>(),
                StartsWith("It did not end within 2 seconds and was ended"));
    EXPECT_TRUE(hasEnded(L"started"));
    EXPECT_TRUE(hasEnded(L"itself"));
}

TEST_F(Hooks, CommandBeforeIsNotRunForARunThatDoesNotBegin)
{
    hook("before", "echo run >\"" + path(L"before.run") + "\"");
    source().execute(L"update replication_control set ready_f = 0");
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady);
    addUsers(destination(), 2, 3);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kGuarded);
    EXPECT_FALSE(exists(L"before.run"));
}

// A backup takes its time, and people go on working.
TEST_F(Hooks, RunLooksAheadAgainAfterTheCommandBefore)
{
    addUsers(destination(), 2, 4);
    addUsers(source(), 2, 4);
    hook("before", "echo >\"" + path(L"begun") + "\"\n:wait\nif not exist \"" + path(L"go") + "\" goto wait");
    ChildProcess run(commandLine(L"run --json"));
    waitUntilExists(L"begun");
    source().execute(L"delete from users where unid in (2, 3)");
    write(L"go", "");
    const Ended ended{run.wait()};
    EXPECT_EQ(ended.exitCode, kGuarded) << ended.messages;
    EXPECT_EQ(ended.result()["stops"][0]["reason"], "deletes");
    EXPECT_EQ(destination().count(L"users"), 3);
}

TEST_F(Hooks, CommandAfterRunsHoweverTheRunEnds)
{
    hook("after", "echo %QUINREP_EXIT_CODE% >>\"" + path(L"codes") + "\"\ncopy \"%QUINREP_REPORT%\" \"" +
                      path(L"mailed.html") + "\"");
    const std::wstring report = L" --report \"" + file(L"report.html") + L"\"";
    EXPECT_EQ(quinrep(L"run" + report).exitCode, kDone);
    EXPECT_THAT(contentOf(file(L"mailed.html")), HasSubstr("Everything was done"));
    EXPECT_EQ(quinrep(L"run" + report).exitCode, kNotReady);
    addUsers(destination(), 2, 3);
    EXPECT_EQ(quinrep(L"run --ready" + report).exitCode, kGuarded);
    EXPECT_THAT(contentOf(file(L"mailed.html")), HasSubstr("the run stopped before it began"));
    password = "env:NOT_SET_ANYWHERE";
    EXPECT_EQ(quinrep(L"run --ready" + report).exitCode, kUsage);
    std::string codes = contentOf(file(L"codes"));
    std::erase_if(codes, [](char c) { return c == '\r' || c == '\n' || c == ' '; });
    EXPECT_EQ(codes, "0473");
}

TEST_F(Hooks, ReportThatCannotBeWrittenLeavesTheLastOneWhichNoCommandGets)
{
    write(L"report.html", "yesterday's");
    hook("before", "mkdir \"" + path(L"report.html.new") + "\"");
    hook("after", keeping("after"));
    const Ended ended = quinrep(L"run --report \"" + file(L"report.html") + L"\"");
    EXPECT_EQ(ended.exitCode, kFailed);
    EXPECT_THAT(ended.messages, HasSubstr("report.html cannot be written; a page that is there is of an earlier run"));
    EXPECT_EQ(contentOf(file(L"report.html")), "yesterday's");
    EXPECT_THAT(environmentOf(L"after"), testing::AllOf(HasSubstr("QUINREP_EXIT_CODE=1"), Not(HasSubstr("REPORT="))));
    EXPECT_THAT(users(destination()), ElementsAre(L"1|new"));
}

TEST_F(Hooks, CommandAfterThatFailsIsToldAndChangesNothing)
{
    hook("after", "echo no mail\nexit 5");
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_THAT(ended.messages, HasSubstr("quinrep: the command after the run ended with exit code 5: no mail"));
    EXPECT_EQ(ended.result()["after_failed"], "the command after the run ended with exit code 5: no mail");
    EXPECT_THAT(outcomes(), ElementsAre("done"));
    EXPECT_THAT(users(destination()), ElementsAre(L"1|new"));
}

TEST_F(Hooks, OutputOfACommandIsToldToItsLastMegabyte)
{
    std::string lines;
    for (int line = 0; line < 120'000; ++line)
        lines += "a line of ten words and more\xC3\xA4\n";
    write(L"output.txt", lines);
    hook("after", "type \"" + path(L"output.txt") + "\"\necho the end");
    const Ended ended = quinrep(L"run");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_THAT(ended.messages, AllOf(HasSubstr("\n... "), HasSubstr("and more\xC3\xA4"), HasSubstr("the end")));
    EXPECT_LT(ended.messages.size(), 1'200'000U);
}

TEST_F(Hooks, KilledRunIsBrokenOffInTheHistoryAndItsCommandEnds)
{
    hook("before", "call " + endless(L"begun"));
    {
        ChildProcess run(commandLine(L"run"));
        waitUntilExists(L"begun");
        EXPECT_THAT(outcomes(), ElementsAre("running"));
    }
    EXPECT_TRUE(hasEnded(L"begun"));
    EXPECT_THAT(outcomes(), ElementsAre("broken off"));
    EXPECT_THAT(quinrep(L"status").output, HasSubstr("was broken off: it was killed, or the machine went down"));
    sections.clear();
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_THAT(outcomes(), ElementsAre("broken off", "done"));
}
