#include "Configuration.h"

#include "HostError.h"
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
    const Configuration configuration = load(configurationTemplate());
    EXPECT_EQ(configuration.site, LAPTOP);
    EXPECT_FALSE(configuration.localIsSource);
    EXPECT_EQ(configuration.source.dsn, "QuinmarkOffice");
    EXPECT_EQ(configuration.source.password, "env:QUINMARK_PASSWORD");
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
    EXPECT_THAT(mistakes, HasSubstr("line 1, column 8: site: expected one of \"laptop\", \"offices\""));
    EXPECT_THAT(mistakes, HasSubstr("local is missing, expected \"destination\", \"source\""));
    EXPECT_THAT(mistakes, HasSubstr("line 2, column 19: program_version: expected a text"));
    EXPECT_THAT(mistakes, HasSubstr("line 3, column 13: frequency: expected a whole number from 1 to 32767"));
    EXPECT_THAT(mistakes, HasSubstr("line 4, column 12: surprise is not known here, expected one of "));
    EXPECT_THAT(mistakes, HasSubstr("destination is missing, expected a section"));
    EXPECT_THAT(mistakes, HasSubstr("line 10, column 9: log.level: expected a whole number from 1 to 5"));
    EXPECT_THAT(mistakes, HasSubstr("line 13, column 10: table.method: expected one of \"by_key\", "));
    EXPECT_THAT(mistakes, Not(HasSubstr("line 0")));
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
                 "line 13, column 1: table.x: method \"by_key\" needs"},
        BadTable{"KeyTooMany", "name = \"x\"\nmethod = \"one_way\"\nkey = \"k\"", "key and deletes are for method"},
        BadTable{"Dependent", "name = \"x\"\nmethod = \"one_way\"\ndependent = \"y\"", "dependent is for method"},
        BadTable{"ComputerType", "name = \"x\"\nmethod = \"computer_type\"", "is for table computer_type only"},
        BadTable{"NameEmpty", "name = \"\"\nmethod = \"one_way\"", "line 14, column 8: table.name: expected a text"},
        BadTable{"Percent", "name = \"x\"\nmethod = \"one_way\"\nmax_delete = 101", "a number from 0 to 100"},
        BadTable{"Twice", "name = \"x\"\nmethod = \"one_way\"\n[[table]]\nname = \"x\"\nmethod = \"one_way\"",
                 "line 16, column 1: table.x: listed twice"},
        BadTable{"TwiceInOtherCase",
                 "name = \"x\"\nmethod = \"one_way\"\n[[table]]\nname = \"X\"\nmethod = \"one_way\"",
                 "line 16, column 1: table.X: listed twice"},
        BadTable{"PercentWithoutValue", "name = \"x\"\nmethod = \"one_way\"\nmax_delete = nan",
                 "a number from 0 to 100"}),
    [](const auto& info) { return info.param.name; });
