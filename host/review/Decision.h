#pragma once

#include "conflicts/choices.h"

#include <optional>
#include <string>
#include <vector>

/// A person's decision about rows.
struct Decision
{
    /// Takes their conflicts off the list; `use` says nothing then.
    bool dismisses = false;
    enumResolution use = WORK_LATER;

    /// The decision that a form's word stands for. Raises HttpError(400).
    static Decision of(const std::string& word);
    std::string word() const;
    /// What it is called on a button.
    std::string caption(const SideNames& names) const;

    Choice choiceFor(enumReplicationUniqueId site, const ConflictedRow& row, const SideNames& names = {}) const;
};

/// A row's content that somebody loses.
enum class Loss
{
    None,
    OverwrittenNow,
    DeletedNow,
    /// By the next run, which no conflict stops.
    DestinationOverwrittenNext,
    DestinationDeletedNext,
    SourceOverwrittenNext,
};

Loss lossBy(const Decision& decision, enumReplicationUniqueId site, const ConflictedRow& row);

/// The outcome, in words that follow the row's name.
std::string whatHappened(const Decision& decision, Effect effect, const ConflictedRow& row, const SideNames& names);

/// Another text as soon as anything that a decision about the row rests on is another.
std::string fingerprint(const ConflictedRow& row);

/// A decision that waits to be confirmed, with the rows as they were shown.
struct Plan
{
    std::string id;
    Decision decision;
    /// A record of each row.
    std::vector<std::string> ids;
    std::vector<std::string> fingerprints;
};
