#include "conflicts/why.h"

#include <fmt/format.h>

namespace {

AppliedRule applied(RowRule rule, const SideNames& names)
{
    const RuleEntry& entry = entryOf(rule);
    return {entry.id, fmt::format(fmt::runtime(entry.words), fmt::arg("source", names.source),
                                  fmt::arg("destination", names.destination))};
}

} // namespace

std::vector<AppliedRule> appliedRules(const ConflictedRow& row, const SideNames& names)
{
    if (!row.decision)
        return {};
    const RowDecision& decision = *row.decision;
    std::vector<AppliedRule> rules;
    if (decision.announced && !entryOf(decision.rule).announced)
        rules.push_back(applied(RowRule::TwoWayChangedOnBoth, names));
    rules.push_back(applied(decision.rule, names));
    if (decision.action == NextRun::ReportsIt && row.next == NextRun::LeavesIt)
        rules.back().words += " Apart from the date the copies agree, so that nothing is recorded.";
    return rules;
}

std::string whyText(const ConflictedRow& row, const SideNames& names)
{
    std::string text;
    for (const AppliedRule& rule : appliedRules(row, names))
        text += (text.empty() ? "" : " ") + (rule.id.empty() ? rule.words : "Rule " + rule.id + ": " + rule.words);
    return text;
}
