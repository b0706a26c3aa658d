// The command line explains itself: help, and mistakes with the word that was meant. None of these needs a database.
#include "HostError.h"

#include "support/ChildProcess.h"
#include "support/Folders.h"
#include "text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

ProgramEnd quinrep(const std::string& arguments)
{
    return ChildProcess(L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" " + toWide(arguments)).wait();
}

struct MistakeCase
{
    const char* name;
    const char* arguments;
    const char* message;
};

const MistakeCase kMistakes[] = {
    {"Command", "confilcts list", "unknown command \"confilcts\"; did you mean \"conflicts\"?\n  `quinrep help` tells"},
    {"CommandWithHelp", "chek --help", "unknown command \"chek\"; did you mean \"check\"?"},
    {"CommandOfHelp", "help vrify", "unknown command \"vrify\"; did you mean \"verify\"?"},
    {"CommandLikeNoOther", "nonsense", "unknown command \"nonsense\"\n"},
    {"CommandBelow", "conflicts lst",
     "unknown command \"conflicts lst\"; did you mean \"conflicts list\"?\n  `quinrep help conflicts` tells"},
    {"CommandBelowWithoutItsOwner", "resolve --all --use source",
     "unknown command \"resolve\"; did you mean \"conflicts resolve\"?"},
    {"Option", "check --jsn", "unknown option \"--jsn\"; did you mean \"--json\"?\n  `quinrep help check` tells"},
    {"OptionWithAValue", "conflicts list --tabel=users", "unknown option \"--tabel\"; did you mean \"--table\"?"},
    {"OptionOfAnotherCommand", "preview --watch", "unknown option \"--watch\"; it is one of run\n"},
    {"OptionLikeNoOther", "run --nonsense", "unknown option \"--nonsense\"\n"},
    {"OptionWithoutItsValue", "check -c", "--config needs a value\n  `quinrep help check` tells"},
    {"OptionMissing", "conflicts resolve --all", "--use is required"},
    {"ReasonMissing", "conflicts dismiss --all", "--reason is required"},
    {"IdMissing", "conflicts show", "ID is required\n  `quinrep help conflicts show` tells"},
    {"TooMuch", "check users", "check takes no \"users\"\n"},
    {"Use", "conflicts resolve --all --use sorce",
     "--use: \"sorce\" is none of source, destination, later; did you mean \"source\"?"},
    {"Kind", "conflicts list --kind deleted",
     "--kind: \"deleted\" is none of changed_on_both, new_on_source, new_on_destination, changed_on_destination, "
     "deleted_on_source; did you mean \"deleted_on_source\"?"},
    {"EmptyFilter", "conflicts resolve --all --use source --table \"\"", "--table: the text is empty"},
    {"NoCommand", "", "no command is given\n  `quinrep help` tells"},
    {"NoCommandBelow", "conflicts", "no command is given\n  `quinrep help conflicts` tells"},
};

class CommandLineMistake : public testing::TestWithParam<MistakeCase>
{
};

TEST_P(CommandLineMistake, NamesTheWordAndTheNearestAndEndsWithThree)
{
    const ProgramEnd ended = quinrep(GetParam().arguments);
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr(std::string("quinrep: ") + GetParam().message));
    EXPECT_EQ(ended.output, "");
}

INSTANTIATE_TEST_SUITE_P(, CommandLineMistake, testing::ValuesIn(kMistakes),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

TEST(CommandLine, OptionsOfEveryCommandAreTakenBeforeAndAfterIt)
{
    for (const char* arguments :
         {"-c Z:/no/such.toml -v -q --json --log-file x.log conflicts list",
          "conflicts -c Z:/no/such.toml --json list --log-file x.log -v -q",
          "conflicts list --json -q -v --log-file x.log -c Z:/no/such.toml", "--json check -c Z:/no/such.toml"})
    {
        const ProgramEnd ended = quinrep(arguments);
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_EQ(json::parse(ended.output)["error"]["text"],
                  "the configuration file \"Z:/no/such.toml\" cannot be read")
            << arguments << ended.messages;
    }
}

TEST(CommandLine, MistakeIsToldInJsonWhereThatIsAskedFor)
{
    const json error = json::parse(quinrep("--json conflicts lst").output)["error"];
    EXPECT_EQ(error["text"], "unknown command \"conflicts lst\"; did you mean \"conflicts list\"?");
    EXPECT_EQ(error["todo"], "`quinrep help conflicts` tells what there is.");
}

TEST(CommandLine, HelpTellsAllCommandsOrOneWithItsOptions)
{
    for (const char* arguments : {"help", "--help", "-h", "/?"}) {
        const ProgramEnd ended = quinrep(arguments);
        EXPECT_EQ(ended.exitCode, kDone);
        EXPECT_THAT(ended.output, AllOf(HasSubstr("preview"), HasSubstr("conflicts"), HasSubstr("Exit codes: ")));
    }
    for (const char* arguments : {"help conflicts resolve", "conflicts resolve --help"}) {
        const ProgramEnd ended = quinrep(arguments);
        EXPECT_EQ(ended.exitCode, kDone);
        EXPECT_THAT(ended.output, AllOf(HasSubstr("quinrep conflicts resolve [options]"), HasSubstr("--changed-too"),
                                        HasSubstr("Options of every command")));
    }
}

TEST(CommandLine, WithoutACommandShowsTheHelpAndFails)
{
    const ProgramEnd ended = quinrep("");
    EXPECT_THAT(ended.messages, AllOf(StartsWith("Replicates"), HasSubstr("Exit codes: ")));
    EXPECT_THAT(quinrep("conflicts").messages, AllOf(HasSubstr("dismiss"), Not(HasSubstr("Exit codes: "))));
}
