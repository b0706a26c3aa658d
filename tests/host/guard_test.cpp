// The look ahead of a run: what stops it, what it says of the rows, and what lets it go on.
#include "HostError.h"
#include "Quinrep.h"
#include "support/Sabotage.h"
#include "text.h"

#include <filesystem>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char kByCompany[] = "[[table]]\nname = 'dentist_company'\nmethod = 'by_key'\nkey = 'dc_id'\n"
                              "deletes = 'with_updates'\n";

class Guard : public Quinrep
{
protected:
    /// As many old users of which the source lacks `lost`.
    void addUsers(int all, int lost)
    {
        for (int key = 1; key <= all; ++key) {
            addUser(destination(), key, L"user", kOld);
            if (key > lost)
                addUser(source(), key, L"user", kOld);
        }
    }

    void addShortcut(const PracticeSide& side, const std::wstring& text, const std::wstring& modified)
    {
        side.execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values "
                     L"('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'recall', '" +
                     text + L"', '" + modified + L"')");
    }

    void useTable(const std::string& name, const std::string& method)
    {
        tables = "[[table]]\nname = '" + name + "'\nmethod = '" + method + "'\n";
    }

    /// The only stop of a preview, which a run repeats, writing nothing.
    nlohmann::json onlyStop()
    {
        const std::wstring before = controlRecord();
        const nlohmann::json said = quinrepJson(L"preview", "preview").json();
        const Ended ended = quinrepJson(L"run", "preview");
        EXPECT_EQ(ended.exitCode, kGuarded) << ended.messages;
        EXPECT_EQ(controlRecord(), before);
        EXPECT_EQ(ended.json(), said);
        EXPECT_EQ(said["stops"].size(), 1U) << said;
        return said["stops"].empty() ? nlohmann::json{{"reason", "none"}, {"text", ""}} : said["stops"][0];
    }

    /// The text of a stop because the table would end in an error; with --force it does.
    std::string failureThatIsForetold()
    {
        const nlohmann::json stop = onlyStop();
        EXPECT_EQ(stop["reason"], "will_fail");
        EXPECT_EQ(quinrepJson(L"-q run --force", "run").exitCode, kFailed);
        return stop["text"];
    }
};

/// A row of the offices' laptop that the first run reported, and that is older than the last run by now.
class TypedInAtTheLaptop : public Guard
{
protected:
    void SetUp() override
    {
        Guard::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        addUsers(10, 0);
        addUser(destination(), 11, L"typed in", kNew);
        EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
        EXPECT_EQ(local().count(L"replication_conflict"), 1);
    }

    bool isThere() const { return destination().row(L"select user_name from users where unid = 11") == L"typed in"; }
};

} // namespace

TEST_F(Guard, StopsBeforeAnythingIsWrittenAndNamesTableAndRows)
{
    addUsers(10, 3);
    const nlohmann::json stop = onlyStop();
    EXPECT_EQ(stop["reason"], "deletes");
    EXPECT_EQ(stop["table"], "users");
    EXPECT_EQ(stop["rows"].size(), 3U);
    EXPECT_EQ(stop["rows"][0]["key"], "1");
    EXPECT_EQ(stop["rows"][0]["key_info"], "user");
    EXPECT_THAT(stop["text"].get<std::string>(),
                HasSubstr("3 of 10 rows of the destination would be deleted, 20 % may be"));
    EXPECT_EQ(destination().count(L"users"), 10);
    EXPECT_THAT(quinrep(L"run").output, HasSubstr("\n    1  user\n    2  user\n    3  user\n"));
}

TEST_F(Guard, ManyRowsAreAllListedInJsonAndTheFirstShownToAPerson)
{
    addUsers(102, 102);
    EXPECT_EQ(onlyStop()["rows"].size(), 102U);
    EXPECT_THAT(quinrep(L"preview").output, HasSubstr("    and 2 more; `quinrep preview --json` lists all\n"));
}

TEST_F(Guard, RowsThatAreToBeDeletedAreNamedBelowTheShareToo)
{
    addUsers(10, 1);
    const nlohmann::json said = quinrepJson(L"preview", "preview").json();
    EXPECT_EQ(said["stops"].size(), 0U);
    EXPECT_EQ(said["deleted_rows"][0]["key"], "1");
    EXPECT_THAT(quinrep(L"preview").output, HasSubstr("The destination would lose:\n    users 1  user\n"));
    const nlohmann::json done = quinrepJson(L"run", "run").json();
    EXPECT_EQ(done["tables"][0]["deletes"], 1);
    EXPECT_EQ(done["deleted_rows"][0]["key_info"], "user");
}

// A full copy empties the destination's table and fills it from what the source's prefix names: itself.
TEST_F(Guard, PrefixesOfTheOtherSidesDatabaseAreRefused)
{
    useTable("users", "full_copy");
    for (const PracticeSide* side : {&source(), &destination()})
        addUser(*side, 1, L"user", kOld);
    std::swap(host().sourcePrefix, host().destinationPrefix);
    for (const wchar_t* command : {L"preview", L"run", L"run --force"}) {
        const Ended ended = quinrepJson(command, "failure");
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr("names the other side's database"));
    }
    EXPECT_EQ(quinrep(L"check").exitCode, kNotReady);
    EXPECT_EQ(source().count(L"users"), 1);
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Guard, ForceGoesOnAndTellsInSpiteOfWhat)
{
    addUsers(10, 3);
    const Ended ended = quinrepJson(L"run --force", "run");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_EQ(ended.json()["passed"][0]["reason"], "deletes");
    EXPECT_EQ(destination().count(L"users"), 7);
}

TEST_F(Guard, ExactlyTheAllowedShareMayGo)
{
    addUsers(10, 2);
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_EQ(destination().count(L"users"), 8);
}

TEST_F(Guard, TableMayAllowMore)
{
    addUsers(10, 3);
    tables += "max_delete = 30\n";
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
}

TEST_F(Guard, MoreUpdatesThanAllowedStopTheRun)
{
    addUsers(4, 0);
    for (int key = 1; key <= 3; ++key)
        changeUser(source(), key, L"changed", kNew);
    const nlohmann::json stop = onlyStop();
    EXPECT_EQ(stop["reason"], "updates");
    EXPECT_EQ(stop["rows"].size(), 3U);
    EXPECT_THAT(stop["text"].get<std::string>(),
                HasSubstr("3 of 4 rows of the destination would be overwritten, 50 %"));
    tables += "max_update = 75\n";
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
}

TEST_F(Guard, EmptySourceOfAFullCopyIsStopped)
{
    useTable("users", "full_copy");
    addUser(destination(), 1, L"last one", kOld);
    EXPECT_EQ(onlyStop()["reason"], "deletes");
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Guard, FullCopyOverManyOtherRowsIsStopped)
{
    useTable("users", "full_copy");
    addUser(source(), 1, L"old sheet", kOld);
    addUser(destination(), 1, L"this year", kNew);
    EXPECT_EQ(onlyStop()["reason"], "updates");
}

TEST_F(Guard, EmptySourceOfComputerTypeSettingsIsStopped)
{
    useTable("computer_type", "computer_type");
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into computer_type (unid, type_name) values ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}',"
                      L" 'desk')");
    destination().execute(L"insert into computer_type_setting (computer_type_id, setting_name) values"
                          L" ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'colours')");
    EXPECT_EQ(onlyStop()["reason"], "deletes");
}

// The second night's advice was to reset the error, and the third night deleted the row.
TEST_F(TypedInAtTheLaptop, RowIsNeverDeletedWhileItsConflictWaits)
{
    for (const wchar_t* options : {L"run", L"run --ready", L"run --ready --reset-error", L"run --ready --reset-error"})
    {
        const Ended ended = quinrepJson(options, "preview");
        EXPECT_EQ(ended.exitCode, kGuarded);
        EXPECT_EQ(ended.json()["stops"][0]["reason"], "waiting_conflict");
        EXPECT_EQ(ended.json()["stops"][0]["rows"][0]["key"], "11");
        EXPECT_EQ(ended.json()["stops"][0]["rows"][0]["key_info"], "typed in");
        EXPECT_TRUE(isThere());
    }
    EXPECT_NE(recordedError(), L"none");
}

TEST_F(TypedInAtTheLaptop, DismissalSaysWhatTheNextRunDoesAndKeepsTheRowInTheDecisionLog)
{
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use destination").exitCode, kRecorded);
    const Ended dismissed = quinrepJson(L"conflicts dismiss --all --reason \"typed in twice\"", "resolve");
    EXPECT_EQ(dismissed.exitCode, kDone);
    EXPECT_THAT(dismissed.messages, HasSubstr("users typed in: The next run deletes the row at the destination."));
    EXPECT_TRUE(isThere());
    EXPECT_EQ(quinrep(L"run --ready --reset-error").exitCode, kDone);
    EXPECT_FALSE(isThere());
    const nlohmann::json decision = quinrepJson(L"conflicts log", "log").json()["decisions"][0];
    EXPECT_EQ(decision["reason"], "typed in twice");
    EXPECT_EQ(decision["lost_row"]["user_name"], "typed in");
    EXPECT_EQ(decision["outcome"], "dismissed");
}

TEST_F(TypedInAtTheLaptop, ContinueClearsTheErrorAndStillProtectsTheRow)
{
    sections = "[run]\non_conflicts = 'continue'\n";
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kGuarded);
    source().execute(L"insert into users (unid, user_name, mod_date) values (11, 'typed in', '" + std::wstring(kNew) +
                     L"')");
    const Ended ended = quinrepJson(L"run --ready", "run");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output << ended.messages;
    EXPECT_EQ(ended.json()["cleared"]["text"],
              "New in destination(" + toUtf8(destination().name()) + ") - Destination adds are not allowed");
    EXPECT_EQ(ended.json()["cleared"]["conflicts"][0]["key_info"], "typed in");
    EXPECT_NE(ended.json()["cleared"]["recorded_at"], nullptr);
    EXPECT_TRUE(isThere());
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(TypedInAtTheLaptop, ContinueLeavesAnErrorOfAnotherCauseToAPerson)
{
    sections = "[run]\non_conflicts = 'continue'\n";
    destination().execute(L"delete from users where unid = 11");
    local().execute(L"update replication_control set error_message = 'somebody else''s' where unique_key = 0");
    const Ended refused = quinrepJson(L"run --ready", "failure");
    EXPECT_EQ(refused.exitCode, kNotReady);
    EXPECT_THAT(refused.messages, HasSubstr("the last run is in error: somebody else's"));
    const Ended reset = quinrepJson(L"run --ready --reset-error", "run");
    EXPECT_EQ(reset.json()["cleared"]["text"], "somebody else's");
    EXPECT_EQ(reset.json()["cleared"]["recorded_at"], nullptr);
}

// At a laptop every deletion at the office is recorded as an error of the run, each night.
TEST_F(Guard, DeletionAtTheOfficeDoesNotStopALaptopThatContinues)
{
    runAt(LAPTOP);
    sections = "[run]\non_conflicts = 'continue'\n";
    useTable("shortcut", "one_way_deletes");
    addShortcut(destination(), L"deleted at the office", kOld);
    for (int night = 1; night <= 3; ++night) {
        const Ended ended = quinrepJson(L"run --ready", "run");
        EXPECT_EQ(ended.exitCode, kRecorded) << ended.messages;
        EXPECT_EQ(ended.json()["conflicts_waiting"], 1);
        EXPECT_EQ(ended.json()["conflicts_new"], night == 1 ? 1 : 0);
        EXPECT_EQ(local().count(L"replication_conflict"), night);
    }
    EXPECT_EQ(destination().count(L"shortcut"), 1);
}

TEST_F(Guard, RowThatChangedAtTheOfficeAgainIsNotOverwrittenWhileItsConflictWaits)
{
    runAt(LAPTOP);
    useTable("shortcut", "one_way_deletes");
    addShortcut(source(), L"S", kNew);
    addShortcut(destination(), L"D", kNewer);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    source().execute(L"update shortcut set item_text = 'S2', mod_date = '2100-01-01'");
    const nlohmann::json stops = quinrepJson(L"run --ready", "preview").json()["stops"];
    EXPECT_EQ(stops[0]["reason"], "waiting_conflict");
    EXPECT_EQ(stops[0]["rows"][0]["key_info"], "recall");
    EXPECT_EQ(destination().row(L"select item_text from shortcut"), L"D");
}

TEST_F(Guard, TwoWayNoticesStopAnUnattendedRun)
{
    useTable("procs", "two_way");
    source().execute(L"insert into procs (unid, proc_name, mod_date) values (1, 'S', '2025-03-11T09:15:00')");
    destination().execute(L"insert into procs (unid, proc_name, mod_date) values (1, 'D', '2025-03-12T10:45:00')");
    destination().execute(L"insert into procs (unid, proc_name, mod_date) values (2, 'old', '2025-03-01T08:30:00')");
    tables += "max_update = 100\n";
    const std::wstring before = controlRecord();
    const Ended ended = quinrepJson(L"run --force", "preview");
    EXPECT_EQ(ended.exitCode, kGuarded);
    EXPECT_EQ(controlRecord(), before);
    const nlohmann::json stops = ended.json()["stops"];
    ASSERT_EQ(stops.size(), 2U);
    EXPECT_EQ(stops[0]["rows"][0]["key"], "1");
    EXPECT_THAT(stops[0]["text"].get<std::string>(), HasSubstr("overwrites the source's row with the destination's"));
    EXPECT_EQ(stops[1]["rows"][0]["key"], "2");
    EXPECT_THAT(
        stops[1]["text"].get<std::string>(),
        testing::AllOf(HasSubstr("copies the row to the source, also if it was deleted"), HasSubstr("--attended")));
    for (const auto& stop : stops)
        EXPECT_EQ(stop["reason"], "message_boxes");
}

TEST_F(Guard, ColumnThatCannotBeCopiedStopsTheRun)
{
    const std::wstring add = L"alter table users add wide decimal(10, 3)";
    const std::wstring drop = L"alter table users drop column wide";
    const Sabotage atSource(source(), add, drop);
    const Sabotage atDestination(destination(), add, drop);
    addUser(source(), 1, L"new", kNew);
    source().execute(L"update users set wide = 1.5");
    const nlohmann::json stops = quinrepJson(L"run", "preview").json()["stops"];
    ASSERT_EQ(stops.size(), 2U);
    EXPECT_EQ(stops[0]["reason"], "message_boxes");
    EXPECT_EQ(stops[1]["reason"], "will_fail");
}

TEST_F(Guard, ConflictOfATableWithoutDescriptionIsForetold)
{
    tables = kByCompany;
    destination().execute(L"insert into dentist_company (dc_id, company_name, mod_date) values (3, 'new', '" +
                          std::wstring(kNew) + L"')");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("replication has no description for its rows"));
}

// The conflict's row is read by unid, which the table does not have.
TEST_F(Guard, ConflictOfATableByAnotherKeyIsForetold)
{
    useTable("users", "by_key");
    tables += "key = 'user_name'\ndeletes = 'with_updates'\n";
    addUser(destination(), 1, L"new", kNew);
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("A conflict cannot be recorded: "));
}

TEST_F(Guard, RowWithoutDescriptionIsForetold)
{
    const Sabotage nullable(destination(), L"alter table users alter column user_name drop not null",
                            L"delete from users; alter table users alter column user_name set not null");
    destination().execute(L"insert into users (unid, mod_date) values (1, '" + std::wstring(kNew) + L"')");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("these rows have no description (94"));
}

TEST_F(Guard, NumericKeyBelowOneIsForetold)
{
    addUser(destination(), 0, L"zero", kNew);
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("Patiend id or table guid not supplied"));
}

TEST_F(Guard, DescriptionThatIsTooLongIsForetold)
{
    const Sabotage wide(destination(), L"alter table users alter column user_name type varchar(200)",
                        L"delete from users; alter table users alter column user_name type varchar(40)");
    addUser(destination(), 1, std::wstring(126, L'n'), kNew);
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("the description of these rows is longer than 125 characters"));
}

TEST_F(Guard, ColumnNameThatIsTooLongIsForetold)
{
    const std::wstring column(51, L'c');
    const Sabotage more(destination(), L"alter table users add " + column + L" int",
                        L"alter table users drop column " + column);
    addUser(destination(), 1, L"x", kNew);
    destination().execute(L"update users set " + column + L" = 1");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("the name of column " + toUtf8(column) + " is longer than 50"));
}

TEST_F(Guard, ValueThatIsTooLongIsForetold)
{
    const Sabotage wide(destination(), L"alter table users alter column initials type varchar(4000)",
                        L"delete from users; alter table users alter column initials type char(3)");
    addUser(destination(), 1, L"x", kNew);
    destination().execute(L"update users set initials = '" + std::wstring(3501, L'i') + L"'");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("the value in column initials is longer than 3500"));
}

TEST_F(Guard, RowWithoutADateIsForetold)
{
    const Sabotage nullable(source(), L"alter table users alter column mod_date drop not null",
                            L"delete from users; alter table users alter column mod_date set not null");
    source().execute(L"insert into users (unid, user_name, mod_date) values (1, 'x', null)");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("These rows have no mod_date"));
}

TEST_F(Guard, RowWithoutAKeyIsForetold)
{
    useTable("users", "by_key");
    tables += "key = 'access_level'\ndeletes = 'with_updates'\n";
    addUser(source(), 1, L"x", kNew);
    source().execute(L"update users set access_level = null");
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("A row without a key"));
}

TEST_F(Guard, KeyWithAnApostropheIsForetoldAndNeverRun)
{
    useTable("users", "by_key");
    tables += "key = 'user_name'\ndeletes = 'with_updates'\n";
    addUser(source(), 1, L"O''Brien", kNew);
    EXPECT_THAT(failureThatIsForetold(), HasSubstr("holds an apostrophe"));
}

TEST_F(Guard, MissingTableIsForetoldWithWhatToDo)
{
    tables += "[[table]]\nname = 'no_such_table'\nmethod = 'one_way'\n";
    EXPECT_THAT(failureThatIsForetold(),
                testing::AllOf(HasSubstr("The table cannot be compared: "), HasSubstr("quinrep check")));
}

TEST_F(Guard, CheckWarnsOfWhatCanBeKnownWithoutRows)
{
    tables = std::string(kByCompany) + "[[table]]\nname = 'procs'\nmethod = 'two_way'\n";
    const Ended ended = quinrepJson(L"check", "check");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    std::vector<std::string> warnings;
    const nlohmann::json result = ended.json();
    for (const auto& check : result["checks"])
        if (check["warning"])
            warnings.push_back(check["finding"].get<std::string>().substr(0, 30));
    EXPECT_THAT(warnings, ElementsAre("replication has no description", "it is matched by dc_id, and co",
                                      "two-way replication opens mess"));
    EXPECT_THAT(quinrep(L"check").output, HasSubstr("WARN table procs\n     two-way replication"));
}

TEST_F(Guard, DecisionLogThatCannotBeWrittenIsFoundBeforeTheRun)
{
    addUser(source(), 1, L"new", kNew);
    const std::filesystem::path log = std::filesystem::path(host().logFile).replace_extension(L".decisions.jsonl");
    std::filesystem::create_directory(log);
    const Ended ended = quinrepJson(L"run", "failure");
    std::filesystem::remove(log);
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("the decision log "));
    EXPECT_THAT(users(destination()), IsEmpty());
}

TEST_F(Guard, ReportThatCannotBeWrittenIsFoundBeforeTheRun)
{
    addUser(source(), 1, L"new", kNew);
    const Ended ended = quinrepJson(L"run --report Z:/no/such/folder/x.html", "failure");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("the report Z:/no/such/folder/x.html cannot be written"));
    EXPECT_THAT(users(destination()), IsEmpty());
}
