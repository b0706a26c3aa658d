// The first copy: `quinrep copy` fills the destination's tables, and the runs after it take changes only.
#include "Quinrep.h"
#include "TemporaryFile.h"

#include "support/CreatedTable.h"
#include "support/Sabotage.h"
#include "text.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

/// At a laptop whose tables are empty, with rows at the office that refer to each other.
class Copy : public Quinrep
{
protected:
    void prepare() override
    {
        runAt(LAPTOP);
        programVersion = "laptop";
        // The comment before the company to which it refers.
        tables = tableSection("chart_comment_info", "one_way_deletes") +
                 tableSection("dentist_company", "by_key", "key = 'dc_id'\ndeletes = 'with_updates'") +
                 tableSection("chart_option", "one_way_deletes", "dependent = 'chart_option_setting'") +
                 tableSection("computer_type", "computer_type") + tableSection("users", "two_way");
        addCompany(source(), 7);
        source().execute(L"insert into chart_option (unid, option_name, mod_date) values (" + kId + L", 'bite', '" +
                         kOld +
                         L"'); insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date)"
                         L" values (" +
                         kId + L", " + kId + L", 'depth', '" + kOld +
                         L"'); insert into computer_type"
                         L" (unid, type_name, mod_date) values (" +
                         kId + L", 'desk', '" + kOld +
                         L"'); insert into computer_type_setting (unid, computer_type_id, setting_name, mod_date)"
                         L" values (" +
                         kId + L", " + kId + L", 'screen', '" + kOld + L"')");
        addUser(source(), 1, L"Birkfelder", kNew);
    }

    /// A company and a comment that refers to it.
    static void addCompany(const PracticeSide& side, int number)
    {
        const std::wstring key = std::to_wstring(number);
        side.execute(L"insert into dentist_company (unid, dc_id, company_name, mod_date) values (" + kId + L", " + key +
                     L", 'Jorvesson', '" + kOld +
                     L"'); insert into chart_comment_info (unid, dc_id, comment_text,"
                     L" mod_date) values (" +
                     kId + L", " + key + L", 'C', '" + kOld + L"')");
    }

    static constexpr const wchar_t* kCopied[] = {
        L"chart_comment_info", L"dentist_company",       L"chart_option", L"chart_option_setting",
        L"computer_type",      L"computer_type_setting", L"users"};

    void expectRows(long expected)
    {
        for (const wchar_t* table : kCopied)
            EXPECT_EQ(destination().count(table), expected) << "in " << table;
    }

    std::wstring intervalBegin()
    {
        return destination().row(L"select last_timestamp from replication_control where unique_key = 1");
    }

    /// The tables of a result that changed something at the destination.
    static std::vector<std::string> changed(const Ended& ended)
    {
        std::vector<std::string> names;
        const json result = ended.result();
        for (const json& table : result["tables"])
            if (table["adds"] != 0 || table["updates"] != 0 || table["deletes"] != 0 || table["conflicts"] != 0)
                names.push_back(table["table"]);
        return names;
    }

    /// The name of a foreign key that a text tells.
    static std::wstring keyIn(const std::string& text)
    {
        const size_t begin = text.find("(foreign key ") + std::string_view("(foreign key ").size();
        return toWide(text.substr(begin, text.find(')', begin) - begin));
    }

    static inline const std::wstring kId = L"'0F8FAD5B-D9CB-469F-A165-708677289501'";
};

} // namespace

TEST_F(Copy, FillsAllTablesParentsFirstAndTheNextRunFindsThemAlike)
{
    const Ended ended = quinrepJson(L"copy", "run");
    ASSERT_EQ(ended.exitCode, kDone) << ended.output << ended.messages;
    std::vector<std::string> order;
    const json result = ended.result();
    for (const json& table : result["tables"])
        order.push_back(table["table"].get<std::string>() + " " + table["method"].get<std::string>());
    EXPECT_THAT(order,
                ElementsAre("dentist_company full_copy", "chart_comment_info full_copy", "chart_option full_copy",
                            "chart_option_setting full_copy", "computer_type computer_type",
                            "computer_type_setting computer_type", "users full_copy"));
    expectRows(1);
    EXPECT_GT(intervalBegin(), kLastRun);
    const Ended run = quinrepJson(L"run --ready", "run");
    EXPECT_EQ(run.exitCode, kDone) << run.output;
    EXPECT_THAT(changed(run), IsEmpty());
    EXPECT_EQ(quinrep(L"verify").exitCode, kDone);
}

TEST_F(Copy, TellsAPersonFromWhenTheNextRunGoesOn)
{
    const Ended ended = quinrep(L"copy");
    EXPECT_THAT(ended.output, AllOf(StartsWith("Copied as of "),
                                    HasSubstr(". The next run takes what has changed "
                                              "since.\n"),
                                    HasSubstr("dentist_company"), Not(HasSubstr("Interval"))));
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady) << "a copy takes the ready mark away as a run does";
}

TEST_F(Copy, RowOfTheDestinationAloneOrOtherwiseIsNotLostWithoutForce)
{
    addUsers(destination(), 1, 9);
    const Ended stopped = quinrepJson(L"copy", "preview");
    EXPECT_EQ(stopped.exitCode, kGuarded);
    const json stops = stopped.result()["stops"];
    ASSERT_EQ(stops.size(), 2U) << stops;
    EXPECT_EQ(stops[0]["text"], "8 of 9 rows of the destination would be deleted, none may be. If that is meant, run "
                                "with --force.");
    EXPECT_THAT(stops[1]["text"].get<std::string>(), StartsWith("1 of 9 rows of the destination would be overwritten"));
    EXPECT_EQ(destination().count(L"users"), 9);
    EXPECT_EQ(intervalBegin(), L"2025-03-10 12:00:00.000");
    EXPECT_EQ(quinrep(L"copy --force").exitCode, kDone);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|Birkfelder"));
}

TEST_F(Copy, RowsThatKeepAParentFromBeingDeletedStopItAndItsAdviceHelps)
{
    addCompany(destination(), 7);
    const Ended stopped = quinrepJson(L"copy", "preview");
    EXPECT_EQ(stopped.exitCode, kGuarded) << stopped.output;
    const json stops = stopped.result()["stops"];
    ASSERT_EQ(stops.size(), 1U) << stops;
    EXPECT_EQ(stops[0]["table"], "dentist_company");
    const std::string text = stops[0]["text"];
    EXPECT_THAT(
        text, StartsWith("At the destination chart_comment_info refers in 1 of its rows to rows of dentist_company "));
    EXPECT_THAT(text, EndsWith("Have a run bring dentist_company row by row, by another method than full_copy; or drop "
                               "the key at the destination for the copy, and add it again afterwards."));
    EXPECT_EQ(destination().count(L"chart_option"), 0);
    {
        const std::wstring key = L"constraint " + keyIn(text);
        const Sabotage dropped(destination(), L"alter table chart_comment_info drop " + key,
                               L"alter table chart_comment_info add " + key +
                                   L" foreign key (dc_id) references dentist_company (dc_id)");
        EXPECT_EQ(quinrep(L"copy").exitCode, kDone);
    }
    expectRows(1);
}

// The second copy stops at the tables that others refer to.
TEST_F(Copy, SecondOneSaysFirstThatTheFirstIsThereAndWhatItSaysGoesOnFromIt)
{
    ASSERT_EQ(quinrep(L"copy").exitCode, kDone);
    addUser(destination(), 2, L"typed in here", kNewer);
    const TemporaryFile report("", "report.html");
    const Ended again = quinrep(L"copy --ready --report \"" + toWide(report.path()) + L"\"");
    EXPECT_EQ(again.exitCode, kGuarded);
    EXPECT_THAT(again.output, StartsWith("The first copy is there: by the control record, everything up to "));
    EXPECT_THAT(again.output, AllOf(HasSubstr(" has been replicated. `quinrep run --ready` goes on from it; `quinrep "
                                              "preview` tells before what that does.\n"
                                              "Nothing was written. The copy stopped before it began:\n"
                                              "dentist_company: "),
                                    Not(HasSubstr("delete from"))));
    EXPECT_THAT(contentOf(toWide(report.path())), HasSubstr("<p>The first copy is there: "));
    tables = tableSection("users", "one_way_deletes");
    EXPECT_EQ(quinrep(L"preview").exitCode, kDone);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kRecorded);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|Birkfelder", L"2|typed in here"));
}

TEST_F(Copy, StoppedOneKnowsWhetherAnyRunHasGoneThrough)
{
    addUsers(destination(), 1, 9);
    const auto todoAfter = [this](const wchar_t* lastRun) {
        destination().execute(std::wstring(L"update replication_control set last_timestamp = '") + lastRun + L"'");
        return quinrepJson(L"copy", "preview").result()["todo"].get<std::string>();
    };
    EXPECT_THAT(todoAfter(L"2000-01-01"), StartsWith("The first copy is for tables that are empty at the destination, "
                                                     "and no run has gone through here yet. `quinrep preview` tells"));
    EXPECT_THAT(todoAfter(L"1900-01-01"), StartsWith("By the control record nothing has gone through here yet, as "
                                                     "after a copy that failed. Once the cause is in order, "
                                                     "`quinrep run --ready --reset-error` fills"));
    EXPECT_THAT(todoAfter(L"2025-03-10T12:00:00"), StartsWith("The first copy is there: by the control record, "
                                                              "everything up to 2025-03-10 12:00:00 has been "));
}

TEST_F(Copy, RowsWhoseParentIsNotCopiedStopIt)
{
    tables = tableSection("chart_comment_info", "one_way");
    const Ended stopped = quinrepJson(L"copy", "preview");
    EXPECT_EQ(stopped.exitCode, kGuarded);
    EXPECT_THAT(stopped.result()["stops"][0]["text"].get<std::string>(),
                AllOf(HasSubstr("chart_comment_info would be emptied there, and then not copied"),
                      EndsWith("dentist_company is not among the tables: add it before chart_comment_info, or drop the "
                               "key at the destination.")));
}

// The run drops this key, fills the tables and adds it again.
TEST_F(Copy, PatientsWithoutTheirDentistsStopIt)
{
    tables = tableSection("patient", "one_way_deletes");
    source().execute(L"insert into dentist (unid, dc_id, dentist_id, last_name) values (" + kId +
                     L", 1, 1, 'Norrvik'); insert into patient (unid, full_name, dc_id, dentist_id) values"
                     L" (1, 'Birkfelder', 1, 1)");
    const Ended stopped = quinrepJson(L"copy", "preview");
    EXPECT_EQ(stopped.exitCode, kGuarded);
    EXPECT_THAT(stopped.result()["stops"][0]["text"].get<std::string>(), HasSubstr("and leaves it dropped"));
    tables += tableSection("dentist", "one_way_deletes");
    EXPECT_EQ(quinrepJson(L"copy", "run").exitCode, kDone);
    EXPECT_TRUE(destination().hasPatientKey());
}

// Neither order works with such rows; without them the tables are copied.
TEST_F(Copy, TablesThatReferToEachOtherStopItWhereRowsDo)
{
    const std::wstring columns = L"unid int not null primary key, other_id int, mod_date " + dateType();
    const CreatedTable first(source(), destination(), host(), columns, L"circle_first");
    const CreatedTable second(source(), destination(), host(), columns, L"circle_second");
    const auto key = [](const wchar_t* child, const wchar_t* parent) {
        return Change{std::wstring(L"alter table ") + child + L" add constraint FK_" + child +
                          L" foreign key (other_id) references " + parent + L" (unid)",
                      std::wstring(L"alter table ") + child + L" drop constraint FK_" + child};
    };
    const Sabotage there(destination(), key(L"circle_first", L"circle_second"));
    const Sabotage back(destination(), key(L"circle_second", L"circle_first"));
    source().execute(L"insert into circle_first (unid, mod_date) values (1, '" + std::wstring(kOld) +
                     L"'); insert into circle_second (unid, other_id, mod_date) values (1, 1, '" + kOld + L"')");
    tables = tableSection("circle_second", "one_way") + tableSection("circle_first", "one_way");
    const Ended stopped = quinrepJson(L"copy", "preview");
    EXPECT_EQ(stopped.exitCode, kGuarded);
    EXPECT_THAT(stopped.result()["stops"][0]["text"].get<std::string>(),
                HasSubstr("drop the key for the copy if each refers to the other"));
    source().execute(L"update circle_second set other_id = null");
    EXPECT_EQ(quinrepJson(L"copy", "run").exitCode, kDone);
    destination().execute(L"delete from circle_second; delete from circle_first");
}

// The table was emptied. A run leaves alone what the last one should have brought, so nothing counts as brought.
TEST_F(Copy, TableThatCouldNotBeFilledIsFilledByTheNextRun)
{
    source().execute(L"update replication_control set last_timestamp = '2025-03-10T12:00:00'");
    addUser(source(), 2, L"old", kOld);
    {
        const FailingRows refused(destination(), L"users", L"user_name = 'old'");
        const Ended ended = quinrepJson(L"copy --force", "run");
        EXPECT_EQ(ended.exitCode, kFailed);
        EXPECT_THAT(ended.result()["error"]["todo"].get<std::string>(),
                    EndsWith("Tables may be empty or incomplete at the destination. Once the cause is in order, "
                             "`quinrep run --ready --reset-error` fills them row by row."));
        EXPECT_EQ(ended.result()["tables"][0]["done"], true);
        EXPECT_EQ(quinrep(L"run --ready").exitCode, kNotReady);
    }
    EXPECT_EQ(intervalBegin(), L"1900-01-01 00:00:00.000");
    tables = tableSection("users", "one_way");
    EXPECT_EQ(quinrepJson(L"run --ready --reset-error", "run").exitCode, kDone);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|Birkfelder", L"2|old"));
}

TEST_F(Quinrep, FullCopyOfATableThatRowsReferToStopsTheRun)
{
    tables = tableSection("dentist_company", "full_copy");
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into dentist_company (dc_id, company_name) values (7, 'Jorvesson')");
    destination().execute(L"insert into chart_comment_info (unid, dc_id) values ("
                          L"'0F8FAD5B-D9CB-469F-A165-708677289501', 7)");
    const Ended stopped = quinrepJson(L"run --force --attended", "run");
    EXPECT_EQ(stopped.exitCode, kFailed) << stopped.output;
    EXPECT_THAT(stopped.result()["passed"].dump(),
                HasSubstr("Have a run bring dentist_company row by row, by another method than full_copy"));
}
