// A column's value has one form in the results of all commands, and a recorded one is still compared as it stands.
#include "Quinrep.h"

#include "support/Sabotage.h"
#include "text.h"

#include <memory>

namespace {

constexpr char kAtSource[] = "2026-01-02T03:04:05";
constexpr char kAtDestination[] = "2026-01-02T00:00:00";

/// A shortcut that both sides changed, with a further date and a number in which they differ.
class ValuesOfAConflict : public Quinrep
{
protected:
    void prepare() override
    {
        runAt(LAPTOP);
        tables = tableSection("shortcut", "one_way_deletes");
        for (const PracticeSide* side : {&source(), &destination()})
            columns_.emplace_back(std::make_unique<Sabotage>(
                *side, L"alter table shortcut add seen " + dateType() + L"; alter table shortcut add times int",
                L"delete from shortcut; alter table shortcut drop column seen; alter table "
                L"shortcut drop column times"));
        addShortcut(source(), 1, L"S", kNew);
        addShortcut(destination(), 1, L"S", kNewer);
        source().execute(L"update shortcut set seen = '2026-01-02T03:04:05', times = 7");
        destination().execute(L"update shortcut set seen = '2026-01-02T00:00:00'");
    }

    void TearDown() override
    {
        columns_.clear();
        Quinrep::TearDown();
    }

    static json values(const char* column, const json& atSource, const json& atDestination)
    {
        return {{"column", column}, {"source", atSource}, {"destination", atDestination}};
    }

private:
    std::vector<std::unique_ptr<Sabotage>> columns_;
};

} // namespace

TEST_F(ValuesOfAConflict, AreTextsIsoDatesAndNullInEveryCommand)
{
    const json seen = values("seen", kAtSource, kAtDestination);
    const json rows = quinrepJson(L"verify", "verify").result()["tables"][0]["rows"];
    EXPECT_EQ(rows[0]["columns"], json({values("mod_date", "2025-03-11T09:15:00", "2025-03-12T10:45:00"), seen,
                                        values("times", "7", nullptr)}));
    EXPECT_EQ(quinrepJson(L"run", "run").exitCode, kRecorded);
    const json id = quinrepJson(L"conflicts list", "list").result()["conflicts"][0]["unid"];
    const json conflict = quinrepJson(L"conflicts show " + toWide(id.get<std::string>()), "show").result()["conflict"];
    EXPECT_EQ(conflict["columns"], json({seen, values("times", "7", "")})) << "the record has no Null";
    EXPECT_EQ(conflict["today"], rows[0]["columns"]);
    EXPECT_EQ(conflict["changed_since"], false);
    EXPECT_EQ(conflict["source_mod_date"], "2025-03-11T09:15:00");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    const json decision = quinrepJson(L"conflicts log", "log").result()["decisions"][0];
    EXPECT_EQ(decision["columns"], rows[0]["columns"]);
    EXPECT_EQ(decision["lost_row"]["seen"], kAtDestination);
    EXPECT_EQ(decision["lost_row"]["times"], nullptr);
}

TEST_F(ValuesOfAConflict, AreComparedAsTheyWereRecorded)
{
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    destination().execute(L"update shortcut set seen = '2026-01-02T00:00:01'");
    const Ended ended = quinrepJson(L"conflicts resolve --all --use source", "resolve");
    EXPECT_EQ(ended.exitCode, kRecorded);
    EXPECT_THAT(ended.result()["resolved"][0]["refused"].get<std::string>(), HasSubstr("no longer as it was found"));
}

TEST_F(ValuesOfAConflict, ShowDatesToAPersonWithABlankForTheT)
{
    EXPECT_THAT(quinrep(L"verify").output,
                HasSubstr("    seen: source '2026-01-02 03:04:05', destination '2026-01-02 00:00:00'\n"));
}
