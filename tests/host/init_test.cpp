// `quinrep init` writes a configuration that can be used: from both databases, or as a template.
#include "Quinrep.h"

#include "com/convert.h"
#include "support/CreatedTable.h"
#include "support/Requirements.h"
#include "text.h"

#include <algorithm>
#include <fstream>

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Init : public Quinrep
{
protected:
    /// quinrep with the file that init writes.
    Ended with(const std::wstring& arguments)
    {
        return {
            ChildProcess(L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" -c \"" + path + L"\" " + arguments).wait()};
    }

    Ended init(const std::wstring& more = L"")
    {
        return with(L"init --source-dsn " + host().sourceDsn + L" --destination-dsn " + host().destinationDsn +
                    L" --password env:QUINMARK_PASSWORD " + more);
    }

    std::string written() const
    {
        std::string text = contentOf(path);
        std::erase(text, '\r');
        return text;
    }

    const TemporaryFolder folder;
    const std::wstring path = folder.file(L"quinrep Praxis Zähne.toml");
};

std::vector<std::string> tablesOf(const json& result)
{
    std::vector<std::string> names;
    for (const json& table : result["tables"])
        names.push_back(table["table"].get<std::string>() + " " + table["method"].get<std::string>());
    return names;
}

size_t placeOf(const std::vector<std::string>& tables, const std::string& table)
{
    return static_cast<size_t>(std::ranges::find(tables, table) - tables.begin());
}

} // namespace

TEST_F(Init, FromBothDatabasesPassesCheckAtOnceAndItsTablesAreCopied)
{
    const Ended ended = keep(init(L"--json"), "init");
    ASSERT_EQ(ended.exitCode, kDone) << ended.messages;
    const std::vector<std::string> tables = tablesOf(ended.result());
    EXPECT_THAT(tables, Not(Contains(StartsWith("replication_"))));
    EXPECT_THAT(tables, Not(Contains(StartsWith("control"))));
    EXPECT_LT(placeOf(tables, "dentist_company by_key"), placeOf(tables, "chart_comment_info one_way_deletes"));
    EXPECT_LT(placeOf(tables, "dentist one_way_deletes"), placeOf(tables, "patient one_way_deletes"));
    EXPECT_THAT(tables, Contains("computer_type computer_type"));
    EXPECT_THAT(written(), HasSubstr("# row by row, each with its rows of chart_option_setting\n[[table]]\nname = "
                                     "'chart_option'\nmethod = \"one_way_deletes\"\ndependent = "
                                     "'chart_option_setting'\n"));
    // A server may tell its names in another case than they were given in.
    EXPECT_THAT(com::upperCase(toWide(written())),
                HasSubstr(L"PREFIX = '" + com::upperCase(host().sourcePrefix) + L"'"));
    const Ended check = with(L"check");
    EXPECT_EQ(check.exitCode, kDone) << check.output;
    addUser(source(), 1, L"Birkfelder", kNew);
    EXPECT_EQ(with(L"copy --ready").exitCode, kDone);
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Init, TellsAPersonEachTableWithItsReasonAndThoseThatStayOut)
{
    const std::wstring columns = L"unid int not null primary key, name varchar(20), mod_date " + dateType();
    const CreatedTable other(source(), destination(), host(), columns, columns + L", more int", L"other_columns");
    const CreatedTable undated(source(), destination(), host(), L"unid int not null primary key", L"undated");
    const CreatedTable unnamed(source(), destination(), host(), columns, L"undescribed");
    const Sabotage lone(source(), L"create table lone (unid int)", L"drop table lone");
    const Ended ended = init();
    EXPECT_EQ(ended.exitCode, kDone) << ended.messages;
    for (const char* line :
         {"undescribed         full_copy        copied whole: it has no description", "\nNot listed:\n",
          "both sides need the same columns in the same order: the source lacks more\n",
          "it has no column mod_date; method \"full_copy\" needs none\n",
          "the destination does not have it, or the login may not read it there\n",
          " written with 20 tables. Read it, then try `quinrep -c "})
        EXPECT_THAT(ended.output, HasSubstr(line));
    EXPECT_THAT(written(), HasSubstr("#  undated: it has no column mod_date; method"));
    EXPECT_EQ(with(L"check").exitCode, kDone);
}

TEST_F(Init, TablesThatReferToEachOtherAreToldAsSuch)
{
    const std::wstring columns = L"unid int not null primary key, other_id int, mod_date " + dateType();
    const CreatedTable first(source(), destination(), host(), columns, L"circle_first");
    const CreatedTable second(source(), destination(), host(), columns, L"circle_second");
    const auto key = [](const wchar_t* child, const wchar_t* parent) {
        const std::wstring table = L"alter table " + std::wstring(child);
        return Change{table + L" add constraint FK_" + child + L" foreign key (other_id) references " + parent +
                          L" (unid)",
                      table + L" drop constraint FK_" + child};
    };
    const Sabotage there(destination(), key(L"circle_first", L"circle_second"));
    const Sabotage back(destination(), key(L"circle_second", L"circle_first"));
    EXPECT_EQ(init().exitCode, kDone);
    EXPECT_THAT(written(), HasSubstr("# circle_first, circle_second refer to each other by foreign keys"));
}

TEST_F(Init, KeysByWhichRowsGoWithDeletedOnesAreTold)
{
    const Sabotage note(destination(),
                        L"create table user_note (user_id int references users (unid) on delete cascade)",
                        L"drop table user_note");
    EXPECT_EQ(init().exitCode, kDone);
    EXPECT_THAT(written(), HasSubstr("# with a row, the destination deletes the rows of user_note that refer to it ("));
}

TEST_F(Init, MistakesAreToldWithWhatToDoAndLeaveNoFile)
{
    const std::wstring pair = L"init --source-dsn " + host().sourceDsn + L" --destination-dsn ";
    const std::wstring password = L" --password env:QUINMARK_PASSWORD";
    struct Mistake
    {
        std::wstring arguments;
        DWORD exitCode;
        const char* text;
        const char* todo;
    };
    for (const Mistake& mistake : {
             Mistake{pair + L"Nowhere" + password, kFailed,
                     "connecting to the destination Nowhere: ", "There is no ODBC data source of that name"},
             Mistake{pair + host().sourceDsn + password, kUsage, "both sides have the data source", "--source-dsn"},
             Mistake{pair + host().destinationDsn, kUsage, "no generic credential of that name",
                     "cmdkey /generic:QuinmarkReplication /user:quinmarkapp_user /pass"},
             Mistake{pair + host().destinationDsn + L" --password env:OS", kFailed, "connecting to the source ",
                     "The login quinmarkapp_user or its password is refused"},
             Mistake{pair + host().destinationDsn + password + L" --source-prefix nowhere.", kNotReady,
                     "the local database does not reach nowhere.control", "name its prefix with --source-prefix"},
             Mistake{L"init --source-dsn X", kUsage, "--source-dsn and --destination-dsn go together", ""},
             Mistake{L"init --password geheim", kUsage, "a password comes from \"env:NAME\"", ""},
         })
    {
        const Ended ended = with(mistake.arguments);
        EXPECT_EQ(ended.exitCode, mistake.exitCode) << ended.messages;
        EXPECT_THAT(ended.messages, AllOf(HasSubstr(mistake.text), HasSubstr(mistake.todo), Not(HasSubstr("geheim"))));
        EXPECT_FALSE(std::filesystem::exists(path));
    }
}

TEST_F(Init, WithoutDataSourcesWritesATemplateForAScheduledTask)
{
    EXPECT_EQ(with(L"init").exitCode, kDone);
    EXPECT_THAT(written(), AllOf(HasSubstr("password = 'credential:QuinmarkReplication'"),
                                 HasSubstr("cmdkey /generic:NAME /user:quinmarkapp_user /pass"),
                                 HasSubstr("file = '" + toUtf8(folder.file(L"quinrep-component.log")) + "'")));
}

TEST_F(Init, NeverOverwritesAFile)
{
    EXPECT_EQ(with(L"init").exitCode, kDone);
    EXPECT_EQ(
        Ended{ChildProcess(L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" -c Z:/no/such/folder/x.toml init").wait()}
            .exitCode,
        kUsage);
    const std::string before = written();
    const Ended again = init();
    EXPECT_EQ(again.exitCode, kUsage);
    EXPECT_THAT(again.messages, HasSubstr("quinrep Praxis Zähne.toml exists already; it is left as it is"));
    EXPECT_EQ(written(), before);
}
