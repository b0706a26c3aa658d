// The findings of `quinrep check`, and an administrator's first mistakes: each is told with its remedy, before a run.
#include "JsonLines.h"
#include "Quinrep.h"

#include "support/Sabotage.h"
#include "text.h"

#include <fstream>

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class Check : public Quinrep
{
protected:
    /// The names of the looks that found something, which is told with what to do.
    std::vector<std::string> findings(DWORD exitCode = kNotReady, const char* finds = "ok", bool unless = true,
                                      const std::wstring& options = L"")
    {
        const Ended ended = quinrepJson(L"check" + options, "check");
        EXPECT_EQ(ended.exitCode, exitCode) << ended.output;
        std::vector<std::string> names;
        text = ended.output;
        const json checks = ended.result()["checks"];
        EXPECT_FALSE(checks.empty());
        for (const json& check : checks)
            if (check[finds] != unless) {
                names.push_back(check["check"]);
                EXPECT_NE(check["finding"], "");
                EXPECT_NE(check["todo"], "") << check;
            }
        return names;
    }

    std::string text;
};

/// Without the configuration of the practice pair.
Ended quinrepAlone(const std::wstring& arguments)
{
    return {ChildProcess(L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" " + arguments).wait()};
}

} // namespace

TEST_F(Check, OfAPairInOrderFindsNothing)
{
    EXPECT_THAT(findings(kDone), IsEmpty());
}

TEST_F(Check, TellsEveryFindingWithWhatToDo)
{
    programVersion = "9.99";
    tables += tableSection("no_such_table", "one_way") +
              tableSection("procs", "by_key", "key = 'no_key'\ndeletes = 'skip'") +
              tableSection("chart_option", "one_way_deletes", "dependent = 'no_settings'");
    source().execute(L"delete from replication_control where unique_key = 0");
    EXPECT_THAT(findings(), ElementsAre("program version", "control record", "table no_such_table", "table procs",
                                        "table no_settings, with chart_option"));
    EXPECT_THAT(text, HasSubstr("the source cannot read it: "));
}

TEST_F(Check, TellsEachConnectionByItself)
{
    host().sourceDsn = L"Nowhere";
    host().destinationDsn = L"NowhereElse";
    EXPECT_THAT(findings(), ElementsAre("source Nowhere", "destination NowhereElse"));
    EXPECT_THAT(text, HasSubstr("There is no ODBC data source of that name for 32-bit programs"));
}

// A run would fail at its first statement that names both sides.
TEST_F(Check, TellsAPrefixThatReachesNothing)
{
    host().destinationPrefix = L"elsewhere.";
    EXPECT_THAT(findings(), ElementsAre("table users"));
    EXPECT_THAT(text, HasSubstr("the local database does not reach elsewhere.users"));
    EXPECT_THAT(text, HasSubstr("correct the destination's prefix"));
}

TEST_F(Check, TellsALogThatCannotBeWrittenOnce)
{
    EXPECT_THAT(findings(kNotReady, "ok", true, L" --log-file Z:/no/such/folder/x.log"),
                ElementsAre("log Z:/no/such/folder/x.log"));
}

TEST_F(Check, WarnsOfWhatCanBeKnownWithoutRows)
{
    tables = tableSection("dentist_company", "by_key", "key = 'dc_id'\ndeletes = 'with_updates'") +
             tableSection("procs", "two_way");
    EXPECT_THAT(findings(kDone, "warning", false), ElementsAre("table dentist_company", "table procs"));
    for (const char* warning : {"it is matched by dc_id, and co", "two-way replication opens mess"})
        EXPECT_THAT(text, HasSubstr(warning));
    EXPECT_THAT(text, Not(HasSubstr("use unid"))) << "by its number alone its comments are detached";
    EXPECT_THAT(text, Not(HasSubstr("full_copy"))) << "its comments refer to it";
    tables = tableSection("dentist_company", "one_way");
    EXPECT_THAT(findings(kDone, "warning", false), ElementsAre("table dentist_company"));
    EXPECT_THAT(text, HasSubstr("replication has no description"));
    EXPECT_THAT(text, HasSubstr("and no other table refers to it, method \\\"full_copy\\\" goes too"));
}

// The component would ask a person in a message box, for which a scheduled run waits for ever.
TEST_F(Quinrep, FilesThatCannotBeWrittenAreFoundBeforeTheRun)
{
    addUser(source(), 1, L"new", kNew);
    const auto expectRefusal = [this](const std::wstring& arguments, const char* message) {
        const Ended ended = quinrepJson(arguments, "failure");
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr(message));
    };
    expectRefusal(L"run --log-file Z:/no/x.log", "the log Z:/no/x.log cannot be written\n  Name a file");
    expectRefusal(L"run --report Z:/no/x.html", "quinrep: the report Z:/no/x.html cannot be written\n  Name a file");
    EXPECT_THAT(quinrep(L"run --report Z:/no/x.html").messages, EndsWith("may be written to.\n")) << "told once";
    std::filesystem::create_directory(decisionLog());
    expectRefusal(L"run", "the decision log ");
    std::filesystem::remove(decisionLog());
    {
        const JsonLines decider(toUtf8(decisionLog().wstring()));
        expectRefusal(L"run", " cannot be written\n  Another program has it open; try again when that has ended.");
    }
    EXPECT_THAT(users(destination()), IsEmpty());
}

TEST_F(Quinrep, ReportOfARunThatCouldNotBeginTellsTheFailure)
{
    host().sourceDsn = L"Nowhere";
    const std::wstring report = host().logFile + L".html";
    std::ofstream(std::filesystem::path(report)) << "yesterday's";
    const Ended ended = quinrep(L"run --report \"" + report + L"\"");
    EXPECT_EQ(ended.exitCode, kFailed);
    EXPECT_THAT(ended.messages, HasSubstr(": connecting to the source Nowhere: "));
    EXPECT_THAT(quinrep(L"status").messages, HasSubstr(": connecting to the source Nowhere: "));
    EXPECT_THAT(contentOf(report),
                testing::AllOf(HasSubstr("<h1>The run did not begin</h1>"), Not(HasSubstr("yesterday"))));
    DeleteFileW(report.c_str());
}

TEST_F(Quinrep, MistakesOnTheCommandLineAndInTheFileEndWithThree)
{
    for (const auto& [arguments, message] : std::initializer_list<std::pair<const wchar_t*, const char*>>{
             {L"conflicts resolve --use source", "name conflicts, or --all"},
             {L"conflicts dismiss --all --reason \" \"", "--reason is empty"},
             {L"conflicts dismiss --reason why", "name conflicts, or --all"},
             {L"conflicts log --before yesterday", "is no day"}})
    {
        const Ended ended = quinrep(arguments);
        EXPECT_EQ(ended.exitCode, kUsage) << ended.messages;
        EXPECT_THAT(ended.messages, HasSubstr(message));
        EXPECT_EQ(ended.output, "");
    }
    EXPECT_EQ(quinrepAlone(L"-c Z:/no/such.toml check").exitCode, kUsage);
    tables = "[[table]]\nname = 7\n";
    const Ended mistaken = quinrepJson(L"check", "failure");
    EXPECT_EQ(mistaken.exitCode, kUsage);
    EXPECT_THAT(mistaken.messages, HasSubstr("table.name: expected a text"));
    EXPECT_THAT(mistaken.messages, HasSubstr("table.method is missing"));
    EXPECT_THAT(quinrepJson(L"run --nonsense", "failure").messages,
                StartsWith("quinrep: unknown option \"--nonsense\"\n"));
    EXPECT_EQ(quinrep(L"--version").exitCode, kDone);
}
