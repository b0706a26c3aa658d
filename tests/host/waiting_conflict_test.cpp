// Night after night: a row that waits for a decision is safe, and the error that its conflict left is cleared when the
// configuration or a person says so.
#include "Quinrep.h"

#include "text.h"

namespace {

constexpr char kContinue[] = "[run]\non_conflicts = 'continue'\n";

/// A row of the offices' laptop that the first run reported, and that is older than the last run.
class TypedInAtTheLaptop : public Quinrep
{
protected:
    void prepare() override
    {
        for (const PracticeSide* side : {&source(), &destination()})
            addUsers(*side, 1, 10);
        addUser(destination(), 11, L"typed in", kNew);
        EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
        EXPECT_EQ(local().count(L"replication_conflict"), 1);
    }

    bool isThere() const { return destination().row(L"select user_name from users where unid = 11") == L"typed in"; }
};

class LaptopRun : public Quinrep
{
protected:
    void SetUp() override
    {
        Quinrep::SetUp();
        runAt(LAPTOP);
        tables = tableSection("shortcut", "one_way_deletes");
    }
};

} // namespace

// The second night's advice was to reset the error, and the third night deleted the row.
TEST_F(TypedInAtTheLaptop, RowIsDeletedOnlyAfterItsConflictWasDismissed)
{
    for (const wchar_t* options : {L"run", L"run --ready --reset-error"}) {
        const Ended ended = quinrepJson(options, "preview");
        EXPECT_EQ(ended.exitCode, kGuarded);
        const json stop = ended.result()["stops"][0];
        EXPECT_EQ(stop["reason"], "waiting_conflict");
        EXPECT_EQ(stop["rows"], json({{{"key", "11"}, {"key_info", "typed in"}}}));
        EXPECT_TRUE(isThere());
    }
    EXPECT_NE(recordedError(), L"none");
    const Ended dismissed = quinrepJson(L"conflicts dismiss --all --reason \"typed in twice\"", "resolve");
    EXPECT_EQ(dismissed.exitCode, kDone);
    EXPECT_THAT(dismissed.messages, HasSubstr("users typed in: The next run deletes the row at the laptop."));
    EXPECT_TRUE(isThere());
    EXPECT_EQ(quinrep(L"run --ready --reset-error").exitCode, kDone);
    EXPECT_FALSE(isThere());
    const json decision = quinrepJson(L"conflicts log", "log").result()["decisions"][0];
    EXPECT_EQ(decision["reason"], "typed in twice");
    EXPECT_EQ(decision["lost_row"]["user_name"], "typed in");
}

TEST_F(TypedInAtTheLaptop, ContinueClearsTheErrorAndStillProtectsTheRow)
{
    sections = kContinue;
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kGuarded);
    addUser(source(), 11, L"typed in", kNew);
    const Ended ended = quinrepJson(L"run --ready", "run");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output << ended.messages;
    const json cleared = ended.result()["cleared"];
    EXPECT_EQ(cleared["text"],
              "New in destination(" + toUtf8(destination().name()) + ") - Destination adds are not allowed");
    EXPECT_EQ(cleared["conflicts"][0]["key_info"], "typed in");
    EXPECT_NE(cleared["recorded_at"], nullptr);
    EXPECT_TRUE(isThere());
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(TypedInAtTheLaptop, ContinueLeavesAnErrorOfAnotherCauseToAPerson)
{
    sections = kContinue;
    destination().execute(L"delete from users where unid = 11");
    local().execute(L"update replication_control set error_message = 'somebody else''s' where unique_key = 0");
    const Ended refused = quinrepJson(L"run --ready", "failure");
    EXPECT_EQ(refused.exitCode, kNotReady);
    EXPECT_THAT(refused.messages, HasSubstr("the last run is in error: somebody else's"));
    const json cleared = quinrepJson(L"run --ready --reset-error", "run").result()["cleared"];
    EXPECT_EQ(cleared["text"], "somebody else's");
    EXPECT_EQ(cleared["recorded_at"], nullptr);
}

// At a laptop every deletion at the office is recorded as an error of the run, each night.
TEST_F(LaptopRun, ThatContinuesIsNotStoppedByADeletionAtTheOffice)
{
    sections = kContinue;
    addShortcut(destination(), 1, L"deleted at the office", kOld);
    for (int night = 1; night <= 2; ++night) {
        const Ended ended = quinrepJson(L"run --ready", "run");
        EXPECT_EQ(ended.exitCode, kRecorded) << ended.messages;
        EXPECT_EQ(ended.result()["conflicts_waiting"], 1);
        EXPECT_EQ(ended.result()["conflicts_new"], night == 1 ? 1 : 0);
        EXPECT_EQ(local().count(L"replication_conflict"), night);
    }
    EXPECT_EQ(destination().count(L"shortcut"), 1);
}

TEST_F(LaptopRun, RowThatChangedAtTheOfficeAgainIsNotOverwrittenWhileItsConflictWaits)
{
    addShortcut(source(), 1, L"S", kNew);
    addShortcut(destination(), 1, L"D", kNewer);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    source().execute(L"update shortcut set item_text = 'S2', mod_date = '2100-01-01'");
    const json stops = quinrepJson(L"run --ready", "preview").result()["stops"];
    EXPECT_EQ(stops[0]["reason"], "waiting_conflict");
    EXPECT_EQ(stops[0]["rows"][0]["key_info"], "Recall 1");
    EXPECT_THAT(shortcuts(destination()), testing::ElementsAre(L"D"));
}
