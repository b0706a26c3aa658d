// A dependent table whose rows a run would not copy, or could not: told by check, and stopped by the look ahead.
#include "Quinrep.h"

#include "support/Sabotage.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class Dependents : public Quinrep
{
protected:
    /// The looks of check that found something, each with its text and what to do.
    std::vector<std::string> findings()
    {
        std::vector<std::string> found;
        const json checks = quinrepJson(L"check", "check").result()["checks"];
        for (const json& check : checks)
            if (check["ok"] == false)
                found.push_back(check["check"].get<std::string>() + ": " + check["finding"].get<std::string>() +
                                " -> " + check["todo"].get<std::string>());
        return found;
    }

    static std::string option(const std::string& dependent)
    {
        return tableSection("chart_option", "one_way_deletes", "dependent = '" + dependent + "'");
    }

    const std::string leaveOut_ = " -> leave dependent out, and list the table as a [[table]] of its own";
};

} // namespace

TEST_F(Dependents, ThatReplicationWouldNotCopyAreTold)
{
    tables = option("users");
    EXPECT_THAT(findings(), ElementsAre("table users, with chart_option: replication knows no dependent table of this "
                                        "name, so its rows would not be copied" +
                                        leaveOut_));
    tables = tableSection("computer_type", "full_copy", "dependent = 'chart_option_setting'");
    EXPECT_THAT(findings(), ElementsAre("table chart_option_setting, with computer_type: method \"full_copy\" copies "
                                        "no dependent rows" +
                                        leaveOut_));
    tables = tableSection("shortcut", "one_way_deletes", "dependent = 'chart_option_setting'");
    EXPECT_THAT(findings(), ElementsAre("table chart_option_setting, with shortcut: its rows belong to chart_option, "
                                        "not to shortcut -> give the dependent to chart_option, and leave it out "
                                        "here"));
    tables = option("CHART_OPTION_SETTING");
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(Dependents, AreComparedByVerifyWithTheTableThatTheyDependOn)
{
    tables = tableSection("users", "one_way") + option("chart_option_setting");
    const std::wstring option = L"'0F8FAD5B-D9CB-469F-A165-708677289501'";
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into chart_option (unid, option_name, mod_date) values (" + option + L", 'bite', '" +
                      kOld + L"')");
    source().execute(L"insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values (" +
                     option + L", " + option + L", 'depth', '" + kOld + L"')");
    const Ended ended = quinrepJson(L"verify --table chart_option", "verify");
    EXPECT_EQ(ended.exitCode, kRecorded);
    std::vector<std::string> compared;
    const json result = ended.result();
    for (const json& table : result["tables"])
        compared.push_back(table["table"].get<std::string>() + " " + table["differing"].dump());
    EXPECT_THAT(compared, ElementsAre("chart_option 0", "chart_option_setting 1"));
    EXPECT_THAT(quinrep(L"verify").output, HasSubstr("chart_option_setting {0F8FAD5B-D9CB-469F-A165-708677289501}: "
                                                     "source only\n"));
    tables += tableSection("chart_option_setting", "one_way");
    EXPECT_EQ(quinrepJson(L"verify", "verify").result()["tables"].size(), 3U) << "each table once";
}

TEST_F(Dependents, WithAColumnThatTheServerFillsAreToldAndStopTheRun)
{
    tables = option("chart_option_setting");
    const std::wstring alter = L"alter table chart_option_setting ";
    const std::wstring drop = alter + L"drop column extra";
    const Sabotage atSource(source(), alter + L"add extra int", drop);
    std::optional<Sabotage> atDestination;
    if (!tryOrSkip(L"computed columns", [&] {
            atDestination.emplace(destination(), alter + L"add " + computedColumn(L"extra", L"1 + 1"), drop);
        }))
        return;
    const std::wstring known = L"alter foreign table " + host().sourcePrefix + L"chart_option_setting ";
    const Sabotage knowing(destination(),
                           isPostgreSql() ? Change{known + L"add extra int", known + L"drop extra"} : Change{});
    EXPECT_THAT(findings(),
                ElementsAre(AllOf(StartsWith("table chart_option_setting, with chart_option: column extra of the "
                                             "destination is a computed column, whose values the server alone gives"),
                                  HasSubstr(" -> make it an ordinary column"))));
    EXPECT_EQ(quinrep(L"run").exitCode, kDone) << "no row of chart_option is there";
    source().execute(L"update replication_control set ready_f = 1");
    source().execute(L"insert into chart_option (option_name, mod_date) values ('colour', '2100-01-01')");
    const json stops = quinrepJson(L"run", "preview").result()["stops"];
    ASSERT_EQ(stops.size(), 1U);
    EXPECT_EQ(stops[0]["reason"], "will_fail");
    EXPECT_EQ(stops[0]["rows"][0]["key_info"], "colour");
    EXPECT_EQ(stops[0]["text"],
              "With each of these rows, its rows of chart_option_setting would be deleted at the destination, and the "
              "source's not copied: column extra of the destination is a computed column, whose values the server "
              "alone gives. `quinrep check` says what to do.");
    const Ended forced = quinrepJson(L"-q run --force", "run");
    EXPECT_EQ(forced.exitCode, kFailed) << forced.output;
}
