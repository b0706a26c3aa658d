#include "HostError.h"
#include "conflicts/ConflictedRow.h"

#include <QuinmarkRepDLL.h>
#include <gtest/gtest.h>

TEST(ConflictsFilter, FitsTableKindTextAndDay)
{
    const auto fits = [](const ConflictFilter& filter) {
        return filter.fits("shortcut", CHANGED_ON_BOTH, "Überweisung", "2026-03-20");
    };
    EXPECT_TRUE(fits({}));
    EXPECT_TRUE(fits({.table = "SHORTCUT"}));
    EXPECT_FALSE(fits({.table = "users"}));
    EXPECT_TRUE(fits({.kind = "changed_on_both"}));
    EXPECT_FALSE(fits({.kind = "deleted_on_source"}));
    for (const char* text : {"üBER", "SHORT", "both SIDES"})
        EXPECT_TRUE(fits({.contains = text})) << text;
    EXPECT_FALSE(fits({.contains = "nothing"}));
    const auto deletedFits = [](const std::string& text, const std::string& source) {
        ConflictFilter filter{.contains = text};
        filter.names.source = source;
        return filter.fits("shortcut", DELETED_ON_SOURCE, "", "");
    };
    EXPECT_TRUE(deletedFits("deleted on the source", "the office"));
    EXPECT_TRUE(deletedFits("deleted at the OFFICE", "the office"));
    EXPECT_FALSE(deletedFits("deleted at the office", "this office"));
    EXPECT_TRUE(fits({.before = "2026-03-21"}));
    EXPECT_FALSE(fits({.before = "2026-03-20"}));
}

TEST(ConflictsFilter, TakesNothingButADay)
{
    EXPECT_NO_THROW((ConflictFilter{.before = "2028-02-29"}.requireDay()));
    for (const char* text : {"yesterday", "2026-02-30", "2026-2-3", "2026-11-21x"})
        EXPECT_THROW((ConflictFilter{.before = text}.requireDay()), HostError) << text;
}
