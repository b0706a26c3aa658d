#include "HostError.h"
#include "Quinrep.h"
#include "text.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

constexpr wchar_t kShortcut[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";

class ConflictsCommand : public Quinrep
{
protected:
    /// A run at the laptop that leaves one conflict: a shortcut that changed on both sides.
    void runIntoConflict()
    {
        runAt(LAPTOP);
        tables = "[[table]]\nname = \"shortcut\"\nmethod = \"one_way_deletes\"\n";
        addShortcut(source(), L"S", kNew);
        addShortcut(destination(), L"D", kNewer);
        EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    }

    void addShortcut(const PracticeSide& side, const std::wstring& name, const std::wstring& modified)
    {
        side.execute(L"insert into shortcut (unid, item_name, mod_date) values ('" + std::wstring(kShortcut) + L"', '" +
                     name + L"', '" + modified + L"')");
    }

    std::wstring onlyConflict()
    {
        const Ended ended = quinrepJson(L"conflicts list", "list");
        EXPECT_EQ(ended.json()["conflicts"].size(), 1U) << ended.output;
        return toWide(ended.json()["conflicts"][0]["unid"].get<std::string>());
    }
};

} // namespace

TEST_F(ConflictsCommand, ListAndShowTellTheConflict)
{
    runIntoConflict();
    const Ended shown = quinrepJson(L"conflicts show " + onlyConflict(), "show");
    EXPECT_EQ(shown.json()["conflict"]["conflict"], "changed on both sides");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["column"], "item_name");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["source"], "S");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["destination"], "D");
}

TEST_F(ConflictsCommand, UseSourceOverwritesTheDestination)
{
    runIntoConflict();
    const Ended ended = quinrepJson(L"conflicts resolve " + onlyConflict() + L" --use source", "resolve");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    EXPECT_EQ(ended.json()["resolved"][0]["settled"], true);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"S");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, UseDestinationKeepsTheRowForAllOfATable)
{
    runIntoConflict();
    EXPECT_EQ(quinrep(L"conflicts resolve --all --table users --use destination").output, "no conflicts\n");
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --table shortcut --use destination", "resolve").exitCode, kDone);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"D");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, LaterLeavesItWaiting)
{
    runIntoConflict();
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --use later", "resolve").exitCode, kRecorded);
    EXPECT_EQ(local().count(L"replication_conflict"), 1);
}

TEST_F(ConflictsCommand, ConflictWithoutADateIsShownAndItsResolutionIsAClearError)
{
    runIntoConflict();
    local().execute(L"update replication_conflict set source_mod_date = null");
    const std::wstring id = onlyConflict();
    EXPECT_EQ(quinrepJson(L"conflicts show " + id, "show").json()["conflict"]["source_mod_date"], nullptr);
    const Ended ended = quinrepJson(L"conflicts resolve " + id + L" --use source", "resolve");
    EXPECT_EQ(ended.exitCode, kFailed);
    const std::string refused = ended.json()["resolved"][0]["refused"];
    EXPECT_THAT(refused, HasSubstr("13 (0x800A000D)"));
    EXPECT_THAT(refused, HasSubstr("One of its dates is empty"));
    EXPECT_EQ(local().count(L"replication_conflict"), 1);
}

TEST_F(ConflictsCommand, UnknownConflictAndMissingChoiceAreUsage)
{
    EXPECT_EQ(quinrep(L"conflicts show {00000000-0000-0000-0000-000000000000}").exitCode, kUsage);
    EXPECT_EQ(quinrep(L"conflicts resolve --use source").exitCode, kUsage);
    EXPECT_EQ(quinrep(L"conflicts resolve --all").exitCode, kUsage);
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use nothing").exitCode, kUsage);
}
