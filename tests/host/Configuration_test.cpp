#include "Configuration.h"

#include "HostError.h"
#include "Proposal.h"
#include "TemporaryFile.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

Configuration load(const std::string& text)
{
    return loadConfiguration(TemporaryFile(text, "configuration").path());
}

/// The refusal of a file, with its remedy.
std::string refusalOf(const std::string& path)
{
    try {
        loadConfiguration(path);
    }
    catch (const HostError& error) {
        EXPECT_EQ(error.exitCode(), kUsage);
        return error.what() + ("\n" + error.todo());
    }
    return "no mistakes";
}

/// The message about a file that cannot be used.
std::string mistakesIn(const std::string& text)
{
    return refusalOf(TemporaryFile(text, "configuration").path());
}

constexpr char kHead[] = R"(site = "offices"
local = "source"
program_version = "3.46"
[source]
dsn = "S"
password = "env:P"
[destination]
dsn = "D"
prefix = "d."
password = "prompt"
[log]
file = "x.log"
)";

std::string withTable(const std::string& lines)
{
    return std::string(kHead) + "[[table]]\n" + lines;
}

} // namespace

TEST(ConfigurationFile, TemplateCanBeUsedAsItIs)
{
    Configuration given;
    given.site = LAPTOP;
    given.localIsSource = false;
    given.source = {"QuinmarkOffice", "Office.dbo.", "credential:QuinmarkReplication"};
    given.destination = {"QuinmarkLaptop", "Laptop.dbo.", R"(file:C:\O'Brien\word.txt)"};
    given.programVersion = "laptop";
    given.logFile = R"(C:\Replication\quinrep.log)";
    const Configuration configuration = load(configurationTemplate(given));
    EXPECT_EQ(configuration.site, LAPTOP);
    EXPECT_FALSE(configuration.localIsSource);
    EXPECT_EQ(configuration.source.dsn, "QuinmarkOffice");
    EXPECT_EQ(configuration.source.password, "credential:QuinmarkReplication");
    EXPECT_EQ(configuration.destination.password, R"(file:C:\O'Brien\word.txt)");
    EXPECT_EQ(configuration.logFile, R"(C:\Replication\quinrep.log)");
    EXPECT_EQ(configuration.frequency, 900);
    ASSERT_EQ(configuration.tables.size(), 4U);
    EXPECT_EQ(configuration.tables[2].dependent, "chart_option_setting");
    EXPECT_EQ(configuration.tables[3].method, ONE_WAY_WITH_PK_FIELD);
    EXPECT_EQ(configuration.tables[3].key, "dc_id");
    EXPECT_EQ(configuration.tables[3].deletes, DELETE_WITH_UPDATES);
    EXPECT_EQ(configuration.tables[0].maxDelete, 20);
    EXPECT_EQ(configuration.tables[3].maxDelete, 50);
}

TEST(ConfigurationFile, AllMistakesAreToldAtOnceWithLineAndColumn)
{
    const std::string mistakes = mistakesIn(R"(site = "home"
program_version = 3.46
frequency = 1.5
surprise = true
[source]
dsn = "S"
password = "env:P"
[log]
file = "x.log"
level = 9
[[table]]
name = "patient"
method = "sideways"
)");
    EXPECT_THAT(mistakes,
                HasSubstr("line 1, column 8: site: \"home\" is not known, expected one of \"laptop\", \"offices\""));
    EXPECT_THAT(mistakes, HasSubstr("local is missing, expected \"destination\", \"source\""));
    EXPECT_THAT(mistakes, HasSubstr("line 2, column 19: program_version: expected a text in quotes"));
    EXPECT_THAT(mistakes, HasSubstr("line 3, column 13: frequency: expected a whole number from 1 to 32767"));
    EXPECT_THAT(mistakes, HasSubstr("line 4, column 12: surprise is not known here, expected one of "));
    EXPECT_THAT(mistakes, HasSubstr("destination is missing, expected a section"));
    EXPECT_THAT(mistakes, HasSubstr("line 10, column 9: log.level: expected a whole number from 1 to 5"));
    EXPECT_THAT(mistakes, HasSubstr("table.method: \"sideways\" is not known, expected one of \"by_key\", "));
    EXPECT_THAT(mistakes, Not(HasSubstr("line 0")));
    EXPECT_LT(mistakes.find("line 4"), mistakes.find("line 10")) << "in the order of the file";
}

TEST(ConfigurationFile, PasswordInTheFileIsRefusedAndNotRepeated)
{
    std::string text = withTable("name = \"users\"\nmethod = \"one_way\"\n");
    text.replace(text.find("env:P"), 5, "hunter2");
    const std::string mistakes = mistakesIn(text);
    EXPECT_THAT(mistakes, HasSubstr("line 6, column 12: source.password: expected \"env:NAME\""));
    EXPECT_THAT(mistakes, Not(HasSubstr("hunter2")));
}

TEST(ConfigurationFile, TextThatIsNoTomlIsToldWithItsPlace)
{
    EXPECT_THAT(mistakesIn("site = \"offices\"\nlocal = \n"), HasSubstr("line 2, column "));
}

TEST(ConfigurationFile, MissingFileLeadsToInitAndAFolderIsToldAsSuch)
{
    EXPECT_THAT(refusalOf("there-is-no-such.toml"), HasSubstr("quinrep init"));
    EXPECT_THAT(refusalOf(std::filesystem::temp_directory_path().string()), HasSubstr("is a folder"));
}

TEST(ConfigurationFile, WithoutTablesIsRefused)
{
    EXPECT_THAT(mistakesIn("table = []\n" + std::string(kHead)),
                HasSubstr("line 1, column 9: table: expected at least"));
    EXPECT_THAT(mistakesIn(kHead), HasSubstr("table is missing"));
}

// One database as both sides: a full copy would empty it and fill it from itself.
TEST(ConfigurationFile, OneDatabaseForBothSidesIsRefused)
{
    std::string text = withTable("name = \"users\"\nmethod = \"one_way\"\n");
    text.replace(text.find("\"D\""), 3, "\"s\"");
    text.replace(text.find("\"d.\""), 4, "\"\"");
    const std::string mistakes = mistakesIn(text);
    EXPECT_THAT(mistakes, HasSubstr("line 8, column 7: destination.dsn: expected another one than the source's"));
    EXPECT_THAT(mistakes, HasSubstr("line 9, column 10: destination.prefix: expected another one than the source's"));
}

TEST(ConfigurationFile, ByteOrderMarkAndWindowsLineEndsAreTaken)
{
    std::string text;
    for (const char unit : withTable("name = \"Zähne\"\nmethod = \"one_way\"\n"))
        text += unit == '\n' ? "\r\n" : std::string(1, unit);
    EXPECT_EQ(load("\xEF\xBB\xBF" + text).tables.at(0).name, "Zähne");
}

TEST(ConfigurationFile, InAnotherEncodingIsToldAsSuch)
{
    EXPECT_THAT(mistakesIn("site = \"B\xF6se\"\n"), HasSubstr("is not in UTF-8"));
    EXPECT_THAT(mistakesIn(std::string("\xFF\xFEs\0i\0", 6)), HasSubstr("is not in UTF-8"));
}

struct BadTable
{
    const char* name;
    const char* lines;
    const char* expected;
};

class TableMistake : public testing::TestWithParam<BadTable>
{
};

TEST_P(TableMistake, IsTold)
{
    EXPECT_THAT(mistakesIn(withTable(GetParam().lines)), HasSubstr(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    ConfigurationFile, TableMistake,
    testing::Values(
        BadTable{"KeyMissing", "name = \"x\"\nmethod = \"by_key\"",
                 "line 13, column 1: table.key is missing, expected a column's name, for method \"by_key\""},
        BadTable{"DeletesMissing", "name = \"x\"\nmethod = \"by_key\"\nkey = \"k\"",
                 "line 13, column 1: table.deletes is missing, expected \"only\", \"skip\", \"with_updates\""},
        BadTable{"KeyTooMany", "name = \"x\"\nmethod = \"one_way\"\nkey = \"k\"", "key and deletes are for method"},
        BadTable{"Dependent", "name = \"x\"\nmethod = \"one_way\"\ndependent = \"y\"", "dependent is for method"},
        BadTable{"ComputerType", "name = \"x\"\nmethod = \"computer_type\"", "is for table computer_type only"},
        BadTable{"NameEmpty", "name = \"\"\nmethod = \"one_way\"", "line 14, column 8: table.name: the text is empty"},
        BadTable{"Percent", "name = \"x\"\nmethod = \"one_way\"\nmax_delete = 101", "a number from 0 to 100"},
        BadTable{"Twice", "name = \"x\"\nmethod = \"one_way\"\n[[table]]\nname = \"x\"\nmethod = \"one_way\"",
                 "line 16, column 1: table.x: listed twice"},
        BadTable{"TwiceInOtherCase",
                 "name = \"x\"\nmethod = \"one_way\"\n[[table]]\nname = \"X\"\nmethod = \"one_way\"",
                 "line 16, column 1: table.X: listed twice"},
        BadTable{"PercentWithoutValue", "name = \"x\"\nmethod = \"one_way\"\nmax_delete = nan",
                 "a number from 0 to 100"}),
    [](const auto& info) { return info.param.name; });

/// A file with one mistake, and all that is said of it.
struct OneMistake
{
    const char* name;
    /// In kHead with a table, or in the table.
    std::string replaced;
    std::string by;
    const char* told;
};

class ConfigurationMistake : public testing::TestWithParam<OneMistake>
{
};

constexpr char kTable[] = "name = \"users\"\nmethod = \"by_key\"\nkey = \"unid\"\ndeletes = \"skip\"\n";

// A mistake that only follows from another would send the reader to the wrong place.
TEST_P(ConfigurationMistake, IsToldAloneWithTheWordThatWasMeant)
{
    const OneMistake& with = GetParam();
    std::string text = withTable(kTable);
    text.replace(text.find(with.replaced), with.replaced.size(), with.by);
    const std::string told = mistakesIn(text);
    EXPECT_EQ(told.substr(std::min(told.find("cannot be used:"), told.size())),
              std::string("cannot be used:\n  ") + with.told + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    , ConfigurationMistake,
    testing::Values(
        OneMistake{"Word", "offices", "office",
                   "line 1, column 8: site: \"office\" is not known; did you mean \"offices\"?"},
        OneMistake{"Method", "by_key", "by_kye",
                   "line 15, column 10: table.method: \"by_kye\" is not known; did you mean \"by_key\"?"},
        OneMistake{"MethodMissing", "method = \"by_key\"\n", "",
                   "line 13, column 1: table.method is missing, expected \"by_key\", \"computer_type\", \"full_copy\", "
                   "\"one_way\", \"one_way_deletes\", \"two_way\", \"two_way_no_deletes\""},
        OneMistake{"Deletes", "skip", "skp",
                   "line 17, column 11: table.deletes: \"skp\" is not known; did you mean \"skip\"?"},
        OneMistake{"Key", "\"unid\"", "7",
                   "line 16, column 7: table.key: expected a column's name, for method \"by_key\""},
        OneMistake{"Setting",
                   "key = ", "kee = ", "line 16, column 7: table.kee is not known here; did you mean \"key\"?"},
        OneMistake{"SettingInCapitals", "local", "Local",
                   "line 2, column 9: Local is not known here; did you mean \"local\"?"},
        OneMistake{"Section", "[source]", "[sorce]",
                   "line 4, column 1: sorce is not known here; did you mean \"source\"?"},
        OneMistake{"SectionThatIsNone", "[log]\nfile = \"x.log\"\n", "[[log]]\n",
                   "line 11, column 1: log: expected a section"},
        OneMistake{"SettingBelowASection", "program_version = \"3.46\"\n[source]\n",
                   "[source]\nprogram_version = \"3.46\"\n",
                   "line 4, column 19: source.program_version is not known here; write it above the first section"},
        OneMistake{"Prefix", "prefix = \"d.\"", "prefix = 7",
                   "line 9, column 10: destination.prefix: expected a text in quotes"},
        OneMistake{
            "TabInAPath", "x.log", "C:\\temp\\new.log",
            "line 12, column 8: log.file: a tab, a line break or the like is in the text; in double quotes a backslash "
            "begins an escape such as \\t: write a path in single quotes, as 'C:\\Users\\x.log'"}),
    [](const auto& info) { return info.param.name; });

TEST(ConfigurationFile, PathThatIsNoTextInDoubleQuotesIsToldWithWhatToWrite)
{
    for (const char* path : {"C:\\Users\\x.log", "C:\\logs\\"}) {
        std::string text = withTable(kTable);
        text.replace(text.find("x.log"), 5, path);
        EXPECT_THAT(mistakesIn(text), testing::AllOf(HasSubstr("line 12, column "),
                                                     HasSubstr("; in double quotes a backslash begins an "
                                                               "escape such as \\t: write a path in single "
                                                               "quotes, as 'C:\\Users\\x.log'")));
    }
    EXPECT_THAT(mistakesIn("site = \"offices\"\nlocal = \n"), Not(HasSubstr("backslash")));
    EXPECT_THAT(mistakesIn("site = offices\n"), HasSubstr("; write a text in quotes\n"));
    EXPECT_THAT(mistakesIn("site = \"offices\nlocal = 'source'\n"),
                HasSubstr("; the closing quote of the text is missing\n"));
}
