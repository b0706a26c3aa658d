#include "conflicts/choices.h"

#include "conflicts/resolution_policy.h"

#include <fmt/format.h>

using namespace quinmark;

namespace {

Choice impossible(enumResolution use, const std::string& why)
{
    return {use, false, Effect::Stays, "Not possible: " + why};
}

constexpr char kOtherKey[] =
    "the component finds rows by unid, and this table has another key. Make both sides equal in "
    "the practice's program, then dismiss the conflict.";

/// Describes what can be done with one row's conflicts at a site.
class Description
{
public:
    Description(enumReplicationUniqueId site, const ConflictedRow& row, const SideNames& names)
        : site_(site),
          row_(row),
          source_(names.source),
          destination_(names.destination),
          next_(nextRunText(row.next, names))
    {
    }

    Choice of(enumResolution use) const
    {
        switch (decideResolution(static_cast<short>(site_), use, row_.latest().kind)) {
        case ResolutionStep::CopyFromSource:
            return copyFromSource(use);
        case ResolutionStep::DeleteAtDestination:
            return deleteAtDestination(use);
        case ResolutionStep::AcceptDestination:
            return {use, true, Effect::Keeps,
                    fmt::format("Leaves {}'s row as it is and closes the conflict. {}", destination_, next_)};
        case ResolutionStep::Keep:
            return keep(use);
        case ResolutionStep::RefuseToReplicateBack:
            return impossible(use, fmt::format("at the offices the component does not copy back to {}. {}", source_,
                                               atTheOffices(use)));
        case ResolutionStep::RefuseUnknown:
            break;
        }
        return impossible(use, "the component does not know this resolution.");
    }

private:
    /// A conflict that waits stops a run that would delete or overwrite its row.
    std::string whileItWaits() const
    {
        switch (row_.next) {
        case NextRun::OverwritesDestination:
        case NextRun::OverwritesSource:
        case NextRun::DeletesAtDestination:
            return next_ + " It stops before that as long as the conflict waits.";
        default:
            return next_;
        }
    }

    std::string saveAgain() const
    {
        return fmt::format("Save the record again at {}, then dismiss the conflict; the next run copies it.", source_);
    }

    Choice copyFromSource(enumResolution use) const
    {
        if (row_.otherKey)
            return impossible(use, kOtherKey);
        if (row_.numericKey)
            return impossible(use, fmt::format("the component cannot take {}'s row into a table with numeric keys. {}",
                                               source_, saveAgain()));
        if (row_.state == RowState::Unknown)
            return impossible(use, "the row cannot be read.");
        if (!row_.source.row.exists)
            return impossible(use, fmt::format("{} has no such row any more. {}", source_, next_));
        if (!row_.destination.row.exists)
            return impossible(use, fmt::format("{} has no such row any more. {}", destination_, saveAgain()));
        return {use, true, Effect::Overwrites, fmt::format("Copies {}'s row over {}'s.", source_, destination_)};
    }

    Choice deleteAtDestination(enumResolution use) const
    {
        if (row_.otherKey)
            return impossible(use, kOtherKey);
        if (row_.numericKey)
            return impossible(use,
                              fmt::format("the component cannot delete a row of a table with numeric keys. Delete the "
                                          "record at {} in the practice's program, then dismiss the conflict.",
                                          destination_));
        if (row_.state == RowState::Unknown)
            return impossible(use, "the row cannot be read.");
        if (row_.source.row.exists)
            return impossible(use, fmt::format("{} has the row again. Dismiss the conflict.", source_));
        return {use, true, Effect::Deletes, fmt::format("Deletes the row at {} too.", destination_)};
    }

    /// Tells the next run's action and how to prevent it.
    std::string atTheOffices(enumResolution use) const
    {
        if (use == USE_SOURCE)
            return next_ + (row_.source.row.exists && row_.next != NextRun::OverwritesDestination
                                ? fmt::format(" To have {0}'s row at {1}: save the record again at {0}, then dismiss "
                                              "the conflict.",
                                              source_, destination_)
                                : " Dismiss the conflict to let it.");
        return next_ +
               (row_.destination.row.exists
                    ? fmt::format(" To keep {}'s row: type its values in at {}, then dismiss the conflict.",
                                  destination_, source_)
                    : fmt::format(" To have the row nowhere: delete it at {}, then dismiss the conflict.", source_));
    }

    Choice keep(enumResolution use) const
    {
        if (use == WORK_LATER)
            return {use, true, Effect::Stays, "Leaves the conflict in the list. " + whileItWaits()};
        if (site_ == OFFICES)
            return impossible(use, "the component copies nothing at the offices. " + atTheOffices(use));
        return impossible(use, fmt::format("for this kind of conflict there is no row of {} to take over.", source_));
    }

    enumReplicationUniqueId site_;
    const ConflictedRow& row_;
    const std::string& source_;
    const std::string& destination_;
    std::string next_;
};

} // namespace

Choice describeChoice(enumReplicationUniqueId site, enumResolution use, const ConflictedRow& row,
                      const SideNames& names)
{
    return Description(site, row, names).of(use);
}

std::string describeDismissal(const ConflictedRow& row, const SideNames& names)
{
    return "Takes the conflict off the list and changes no row. " + nextRunText(row.next, names);
}

const char* useName(enumResolution use)
{
    switch (use) {
    case USE_SOURCE:
        return "source";
    case USE_DESTINATION:
        return "destination";
    default:
        return "later";
    }
}
