#include "Proposal.h"

#include <fmt/format.h>

namespace {

/// A table of more rows takes too long to be copied whole every evening.
constexpr long long kSmall = 10'000;

/// Why a table cannot be copied whole; empty when it can.
std::string whyNotWhole(const TableFacts& facts)
{
    if (!facts.noCopy.empty())
        return facts.noCopy;
    return facts.referrers.empty() ? "" : "foreign keys of " + joinedNames(facts.referrers) + " refer to it";
}

} // namespace

std::string joinedNames(const std::vector<std::string>& names)
{
    return fmt::format("{}", fmt::join(names, ", "));
}

ProposedTable leftOut(const std::string& name, std::string reason)
{
    ProposedTable out;
    out.table.name = name;
    out.isLeftOut = true;
    out.reasons = {std::move(reason)};
    return out;
}

ProposedTable proposed(const std::string& name, enumReplicationMethod method, std::string reason)
{
    ProposedTable table;
    table.table.name = name;
    table.table.method = method;
    table.reasons = {std::move(reason)};
    return table;
}

ProposedTable proposeMethod(const TableFacts& facts)
{
    if (!facts.difference.empty())
        return leftOut(facts.name, "both sides need the same columns in the same order: " + facts.difference);
    if (!facts.hasKey || !facts.hasDate)
        return leftOut(facts.name, fmt::format("it has no column {}; method \"full_copy\" needs none{}",
                                               !facts.hasKey ? "unid" : "mod_date",
                                               facts.hasDate ? ", and \"by_key\" takes another key" : ""));
    const std::string notWhole = whyNotWhole(facts);
    if (!facts.noRows.empty())
        return notWhole.empty() ? proposed(facts.name, ONE_WAY_DELETE_ALL, "copied whole: " + facts.noRows)
                                : leftOut(facts.name, facts.noRows + ", and it cannot be copied whole: " + notWhole);
    if (facts.isDescribed)
        return proposed(facts.name, ONE_WAY_ALLOW_DELETES, "row by row; it has a description for conflicts");
    if (facts.sourceRows <= kSmall && notWhole.empty())
        return proposed(facts.name, ONE_WAY_DELETE_ALL,
                        fmt::format("copied whole: it has no description, without which a conflict ends the run in an "
                                    "error; it is small ({} rows), and no table refers to it",
                                    facts.sourceRows));
    return proposed(facts.name, ONE_WAY_ALLOW_DELETES,
                    fmt::format("row by row. It has no description, so a run ends in an error at its first conflict; "
                                "it cannot be copied whole: {}",
                                notWhole.empty() ? fmt::format("it has {} rows", facts.sourceRows) : notWhole));
}
