#include "conflicts/choices.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using testing::HasSubstr;

struct ChoiceCase
{
    const char* name;
    enumReplicationUniqueId site;
    enumResolution use;
    long kind;
    /// The difference from a row that both sides have and the next run reports again.
    std::function<void(ConflictedRow&)> change;
    Effect effect;
    /// Begins with "Not possible: " where it is not.
    const char* explanation;
};

const auto kAsItIs = [](ConflictedRow&) {};
const auto kNumeric = [](ConflictedRow& row) { row.numericKey = true; };
const auto kNotAtTheSource = [](ConflictedRow& row) { row.source.row.exists = false; };
const auto kToBeDeleted = [](ConflictedRow& row) { row.next = NextRun::DeletesAtDestination; };

const ChoiceCase kChoices[] = {
    {"Source", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH, kAsItIs, Effect::Overwrites,
     "Copies the source's row over the destination's."},
    {"SourceThatDeletedIt", LAPTOP, USE_SOURCE, DELETED_ON_SOURCE, kNotAtTheSource, Effect::Deletes,
     "Deletes the row at the destination too."},
    {"Destination", LAPTOP, USE_DESTINATION, CHANGED_ON_BOTH, kAsItIs, Effect::Keeps,
     "Leaves the destination's row as it is and closes the conflict. The next run reports the row again and leaves it "
     "as it is."},
    {"Later", LAPTOP, WORK_LATER, CHANGED_ON_BOTH, kAsItIs, Effect::Stays,
     "Leaves the conflict in the list. The next run reports the row again and leaves it as it is."},
    {"LaterWithARowToBeDeleted", OFFICES, WORK_LATER, NEW_ON_DEST, kToBeDeleted, Effect::Stays,
     "The next run deletes the row at the destination. It stops before that as long as the conflict waits."},
    {"NumericKeyFromTheSource", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH, kNumeric, Effect::Stays,
     "Not possible: the component cannot take the source's row into a table with numeric keys. Save the record again "
     "at the source, then dismiss the conflict; the next run copies it."},
    {"NumericKeyToBeDeleted", LAPTOP, USE_SOURCE, DELETED_ON_SOURCE, kNumeric, Effect::Stays,
     "Not possible: the component cannot delete a row of a table with numeric keys."},
    {"OtherKey", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH, [](ConflictedRow& row) { row.otherKey = true; }, Effect::Stays,
     "Not possible: the component finds rows by unid, and this table has another key."},
    {"RowThatCannotBeRead", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH,
     [](ConflictedRow& row) { row.state = RowState::Unknown; }, Effect::Stays, "Not possible: the row cannot be read."},
    {"RowThatTheSourceLost", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH, kNotAtTheSource, Effect::Stays,
     "Not possible: the source has no such row any more."},
    {"RowThatTheDestinationLost", LAPTOP, USE_SOURCE, CHANGED_ON_BOTH,
     [](ConflictedRow& row) { row.destination.row.exists = false; }, Effect::Stays,
     "Not possible: the destination has no such row any more."},
    {"RowThatTheSourceHasAgain", LAPTOP, USE_SOURCE, DELETED_ON_SOURCE, kAsItIs, Effect::Stays,
     "Not possible: the source has the row again. Dismiss the conflict."},
    {"SourceThatNeverHadIt", LAPTOP, USE_SOURCE, NEW_ON_DEST, kNotAtTheSource, Effect::Stays,
     "Not possible: for this kind of conflict there is no row of the source to take over."},
    {"SourceAtTheOffices", OFFICES, USE_SOURCE, CHANGED_ON_BOTH, kAsItIs, Effect::Stays,
     "Not possible: the component copies nothing at the offices. The next run reports the row again and leaves it as "
     "it is. To have the source's row at the destination: save the record again at the source"},
    {"DestinationAtTheOffices", OFFICES, USE_DESTINATION, NEW_ON_DEST, kToBeDeleted, Effect::Stays,
     "Not possible: at the offices the component does not copy back to the source. The next run deletes the row at "
     "the destination. To keep the destination's row: type its values in at the source"},
};

class Choices : public testing::TestWithParam<ChoiceCase>
{
};

} // namespace

TEST_P(Choices, SayWhatTheyDoOrWhyTheyAreNotPossible)
{
    const ChoiceCase& with = GetParam();
    ConflictedRow row{.table = "t", .key = "k", .state = RowState::Waits};
    row.records.emplace_back().kind = with.kind;
    row.source.row.exists = row.destination.row.exists = true;
    row.next = NextRun::ReportsIt;
    with.change(row);
    const Choice choice = describeChoice(with.site, with.use, row);
    EXPECT_EQ(choice.effect, with.effect);
    EXPECT_EQ(choice.possible, !std::string(with.explanation).starts_with("Not possible: "));
    EXPECT_THAT(choice.explanation, HasSubstr(with.explanation));
}

INSTANTIATE_TEST_SUITE_P(, Choices, testing::ValuesIn(kChoices),
                         [](const auto& info) { return std::string(info.param.name); });
