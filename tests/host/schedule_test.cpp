// `quinrep schedule` prints a command that can be typed as it is, and tells what would keep the task from running.
#include "Quinrep.h"

#include "text.h"

#include <fstream>
#include <shellapi.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Schedule : public Quinrep
{
protected:
    json schedule(const std::wstring& more = L"", DWORD exitCode = kDone)
    {
        const Ended ended = quinrepJson(L"schedule --at 20:30 --account PRACTICE\\replication " + more, "schedule");
        EXPECT_EQ(ended.exitCode, exitCode) << ended.output << ended.messages;
        return ended.result();
    }

    /// The finding and the remedy of one look; none where it found nothing.
    static std::string findingOf(const json& result, const std::string& look)
    {
        std::string found = "no look at " + look;
        for (const json& check : result["checks"])
            if (check["check"] == look)
                found = check["finding"].get<std::string>() + " -> " + check["todo"].get<std::string>();
        return found;
    }
};

std::vector<std::string> split(const std::string& commandLine)
{
    int count = 0;
    wchar_t** parts = CommandLineToArgvW(toWide(commandLine).c_str(), &count);
    std::vector<std::string> split;
    for (int index = 0; index < count; ++index)
        split.push_back(toUtf8(parts[index]));
    LocalFree(parts);
    return split;
}

/// Runs a command as the Task Scheduler does.
ProgramEnd run(const std::string& command)
{
    return ChildProcess(toWide(command), L"C:\\windows").wait();
}

/// The command of the task, as schtasks gets it when the line is typed at the command prompt.
std::string typed(const std::string& line)
{
    const TemporaryFolder folder;
    std::filesystem::copy_file(builtFile(L"tests/host/schtasks.exe"), folder.file(L"schtasks.exe"));
    const ProgramEnd ended = ChildProcess(L"cmd /d /c " + toWide(line), folder.file(L"")).wait();
    const std::string end = "\n/TR\n";
    const size_t command = ended.output.find(end);
    return command == std::string::npos ? ended.output + ended.messages
                                        : trimmed(ended.output.substr(command + end.size()));
}

} // namespace

TEST_F(Schedule, CommandOfTheTaskRunsTheConfiguration)
{
    const json result = schedule();
    EXPECT_THAT(result["schtasks"].get<std::string>(),
                StartsWith("schtasks /Create /TN \"Quinmark replication\" /SC DAILY /ST 20:30 /RU "
                           "\"PRACTICE\\replication\" /RP * /TR \"\\\""));
    EXPECT_EQ(typed(result["schtasks"]), result["command"]);
    const std::vector<std::string> command = split(result["command"]);
    ASSERT_EQ(command.size(), 6U) << result["command"];
    EXPECT_EQ(command[0], toUtf8(builtFile(L"quinrep.exe").wstring()));
    EXPECT_EQ(command[1] + " " + command[2] + " " + command[4] + " " + command[5], "-q -c run --ready");
    addUser(source(), 1, L"new", kNew);
    EXPECT_EQ(run(result["command"]).exitCode, DWORD{kDone});
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Schedule, TaskWritesTheReportThatWasAskedFor)
{
    const TemporaryFolder folder;
    const std::wstring report = folder.file(L"the report.html");
    const json result = schedule(L"--report \"" + report + L"\"");
    EXPECT_EQ(split(result["command"])[7], toUtf8(report));
    EXPECT_EQ(findingOf(result, "report " + toUtf8(report)), " -> ");
    EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(report).parent_path())) << "it changes nothing";
    EXPECT_EQ(run(result["command"]).exitCode, DWORD{kDone});
    EXPECT_TRUE(std::filesystem::exists(report));
    EXPECT_THAT(findingOf(schedule(L"--report C:\\none\\report.html", kNotReady), "report C:\\none\\report.html"),
                HasSubstr("the report C:\\none\\report.html cannot be written"));
}

// The command prompt takes \" for the end of its quotes, and what stands between two of them for its own words.
TEST_F(Schedule, PathWithBlanksAndSignsOfTheCommandPromptIsQuotedForIt)
{
    const TemporaryFolder folder;
    const std::wstring praxis = folder.file(L"Praxis Birk & Co (1)");
    std::filesystem::create_directory(praxis);
    addUser(source(), 1, L"new", kNew);
    commandLine(L"");
    const std::wstring file = praxis + L"\\our quinrep.toml";
    std::filesystem::copy_file(configuration(), file);
    const Ended ended = {ChildProcess(L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" --json -c \"" + file +
                                      L"\" schedule --at 8:05 --account SYSTEM --name \"Our & night\"")
                             .wait()};
    EXPECT_EQ(ended.exitCode, kDone) << ended.messages << ended.output;
    EXPECT_THAT(ended.result()["schtasks"].get<std::string>(),
                StartsWith("schtasks /Create /TN \"Our & night\" /SC DAILY /ST 08:05 /RU \"SYSTEM\" /TR \""));
    EXPECT_EQ(typed(ended.result()["schtasks"]), ended.result()["command"]);
    EXPECT_EQ(split(ended.result()["command"])[3], toUtf8(file));
    EXPECT_EQ(run(ended.result()["command"]).exitCode, DWORD{kDone});
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Schedule, TellsEachSourceOfAPasswordWhetherATaskCanUseIt)
{
    const auto findingWith = [this](const std::string& source, DWORD exitCode) {
        password = source;
        return findingOf(schedule(L"", exitCode), "password " + source);
    };
    EXPECT_THAT(findingWith("prompt", kNotReady), HasSubstr("nobody is there to answer"));
    EXPECT_THAT(findingWith("env:QUINMARK_PASSWORD", kDone), HasSubstr("sees only the variables of PRACTICE\\repl"));
    EXPECT_THAT(
        findingWith("credential:Quinmark", kDone),
        HasSubstr("runas /user:PRACTICE\\replication \"cmdkey /generic:Quinmark /user:quinmarkapp_user /pass\""));
    EXPECT_THAT(findingWith("file:word.txt", kNotReady), HasSubstr("write its full path: password = 'file:"));
    const TemporaryFolder folder;
    std::ofstream(std::filesystem::path(folder.file(L"word.txt"))) << "word\n";
    const std::string file = toUtf8(folder.file(L"word.txt"));
    EXPECT_THAT(
        findingWith("file:" + file, kDone),
        HasSubstr("icacls \"" + file + "\" /inheritance:r /grant:r \"PRACTICE\\replication:R\" *S-1-5-32-544:F"));
    EXPECT_THAT(findingWith("file:" + file + "x", kNotReady), HasSubstr("the file cannot be read or is empty"));
}

TEST_F(Schedule, TellsALogWithoutItsFullPath)
{
    host().logFile = L"quinrep-schedule-test.log";
    const json result = schedule(L"", kNotReady);
    EXPECT_THAT(findingOf(result, "log quinrep-schedule-test.log"), HasSubstr("starts in a folder of the system -> "));
    EXPECT_FALSE(std::filesystem::exists(host().logFile));
}

TEST_F(Schedule, TellsDataSourcesThatOnlyAUserHas)
{
    const std::string look = "data source " + toUtf8(host().sourceDsn);
    EXPECT_THAT(findingOf(schedule(), look), HasSubstr("not among the system data sources"));
    constexpr wchar_t kKey[] = L"SOFTWARE\\ODBC\\ODBC.INI\\ODBC Data Sources";
    ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, host().sourceDsn.c_str(), REG_SZ, L"x", 4), ERROR_SUCCESS);
    const std::string found = findingOf(schedule(), look);
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, host().sourceDsn.c_str());
    EXPECT_EQ(found, " -> ");
}

TEST_F(Schedule, TellsWhenEveningsWouldWaitForAPerson)
{
    tables += tableSection("config", "two_way");
    EXPECT_THAT(findingOf(schedule(), "on_conflicts"), HasSubstr("no evening runs until somebody clears it"));
    EXPECT_THAT(findingOf(schedule(), "table config"), HasSubstr("ends with 7, and nothing is written"));
    sections = "[run]\non_conflicts = 'continue'\n";
    EXPECT_EQ(findingOf(schedule(), "on_conflicts"), "no look at on_conflicts");
}

TEST_F(Schedule, IsTypedByAPersonWithoutAPasswordAndTellsWhatToLookAt)
{
    password = "prompt";
    const Ended ended = quinrep(L"schedule --at 20:30");
    EXPECT_EQ(ended.exitCode, kNotReady);
    EXPECT_THAT(ended.output,
                AllOf(StartsWith("In a command prompt (cmd) with the rights of an administrator:\n\n    schtasks "),
                      HasSubstr("\n\nIt asks for the password of "), HasSubstr("Look before at:\nok   length of the")));
    EXPECT_THAT(ended.messages, Not(HasSubstr("Password for")));
}

TEST_F(Schedule, BadTimesAndNamesAreRefused)
{
    for (const wchar_t* time : {L"24:00", L"20.30", L"8:5", L"20:60", L"\"8:30 pm\"", L"evening"}) {
        const Ended ended = quinrep(std::wstring(L"schedule --at ") + time);
        EXPECT_EQ(ended.exitCode, kUsage) << ended.output;
        EXPECT_THAT(ended.messages, AllOf(HasSubstr("is no time of day"), HasSubstr("such as --at 20:30")));
    }
    EXPECT_THAT(quinrep(L"schedule --at 20:30 --name 100%").messages,
                HasSubstr("the task's name 100% has a character"));
    EXPECT_THAT(quinrep(L"schedule").messages, HasSubstr("--at is required"));
}
