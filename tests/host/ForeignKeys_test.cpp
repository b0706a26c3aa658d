#include "ForeignKeys.h"

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
