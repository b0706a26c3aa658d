#include "ForeignKeys.h"
#include "foreign_key_sql.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

using Group = std::vector<std::string>;

ForeignKey refers(const std::string& child, const std::string& parent)
{
    return {"FK", child, parent, {}, OnDelete::Refuse};
}

} // namespace

TEST(ParentsFirst, PutsEachTableAfterThoseThatItRefersToAndKeepsTheOrderElse)
{
    EXPECT_THAT(parentsFirst({"item", "users", "hdr", "patient"}, {refers("item", "hdr"), refers("hdr", "patient")}),
                ElementsAre(Group{"patient"}, Group{"hdr"}, Group{"item"}, Group{"users"}));
}

TEST(ParentsFirst, KnowsTablesInAnyCaseAndInBracketsAndLeavesOutStrangers)
{
    EXPECT_THAT(parentsFirst({"[order]", "Patient"}, {refers("order", "PATIENT"), refers("order", "stranger")}),
                ElementsAre(Group{"Patient"}, Group{"[order]"}));
}

TEST(ParentsFirst, TableThatRefersToItselfIsNoCircle)
{
    EXPECT_THAT(parentsFirst({"staff"}, {refers("staff", "staff")}), ElementsAre(Group{"staff"}));
}

TEST(ParentsFirst, CircleIsOneGroupAfterItsParentsAndBeforeItsChildren)
{
    EXPECT_THAT(parentsFirst({"below", "a", "b", "c", "above"}, {refers("a", "b"), refers("b", "c"), refers("c", "a"),
                                                                 refers("below", "b"), refers("c", "above")}),
                ElementsAre(Group{"above"}, Group{"a", "b", "c"}, Group{"below"}));
}

TEST(ForeignKeySql, HoldsAllColumnsOfTheKeyByNamesInBrackets)
{
    const ForeignKey key{"FK", "letter.order", "dentist", {{"dc_id", "dc_id"}, {"to", "dentist_id"}}, OnDelete::Refuse};
    EXPECT_EQ(tableInStatement(key.child), L"[letter].[order]");
    EXPECT_EQ(binds(key, L"c"), L"c.[dc_id] is not null and c.[to] is not null");
    EXPECT_EQ(
        refersTo(key, L"c", L"[dentist]", L"p", L"p.unid in ('1')"),
        L"exists (select 1 from [dentist] p where p.[dc_id] = c.[dc_id] and p.[dentist_id] = c.[to] and p.unid in "
        L"('1'))");
}
