#include "review/Decision.h"

#include "review/HttpRequest.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>

using nlohmann::ordered_json;

namespace {

constexpr char kDismiss[] = "dismiss";

} // namespace

Decision Decision::of(const std::string& word)
{
    if (word == kDismiss)
        return {.dismisses = true};
    for (const enumResolution use : {USE_SOURCE, USE_DESTINATION, WORK_LATER})
        if (word == useName(use))
            return {.use = use};
    throw HttpError(400, "unknown decision");
}

std::string Decision::word() const
{
    return dismisses ? kDismiss : useName(use);
}

std::string Decision::caption(const SideNames& names) const
{
    if (dismisses)
        return "Dismiss";
    return use == WORK_LATER ? "Later" : fmt::format("Use {}'s", use == USE_SOURCE ? names.source : names.destination);
}

Choice Decision::choiceFor(enumReplicationUniqueId site, const ConflictedRow& row, const SideNames& names) const
{
    return dismisses ? Choice{use, true, Effect::Keeps, describeDismissal(row, names)}
                     : describeChoice(site, use, row, names);
}

Loss lossBy(const Decision& decision, enumReplicationUniqueId site, const ConflictedRow& row)
{
    switch (decision.choiceFor(site, row).effect) {
    case Effect::Overwrites:
        return Loss::OverwrittenNow;
    case Effect::Deletes:
        return Loss::DeletedNow;
    case Effect::Stays:
        return Loss::None;
    case Effect::Keeps:
        break;
    }
    switch (row.next) {
    case NextRun::OverwritesDestination:
        return Loss::DestinationOverwrittenNext;
    case NextRun::DeletesAtDestination:
        return Loss::DestinationDeletedNext;
    case NextRun::OverwritesSource:
        return Loss::SourceOverwrittenNext;
    default:
        return Loss::None;
    }
}

std::string whatHappened(const Decision& decision, Effect effect, const ConflictedRow& row, const SideNames& names)
{
    const std::string next = nextRunText(row.next, names);
    if (decision.dismisses)
        return "the conflict was dismissed. " + next;
    switch (effect) {
    case Effect::Overwrites:
        return fmt::format("{}'s row was copied over {}'s.", names.source, names.destination);
    case Effect::Deletes:
        return fmt::format("the row was deleted at {}.", names.destination);
    case Effect::Keeps:
        return fmt::format("{}'s row was left as it is, and the conflict is closed. {}", names.destination, next);
    case Effect::Stays:
        break;
    }
    return "the conflict stays in the list.";
}

std::string fingerprint(const ConflictedRow& row)
{
    const ordered_json all = ordered_json::array({row.ids(), row.source.columns, row.destination.columns,
                                                  static_cast<int>(row.state), static_cast<int>(row.next)});
    return fmt::format("{:x}",
                       std::hash<std::string>()(all.dump(-1, ' ', false, ordered_json::error_handler_t::replace)));
}
