#pragma once

#include "conflicts/ConflictedRow.h"

#include <string>
#include <vector>

/// A rule that decides about a row, in words.
struct AppliedRule
{
    /// Its name in docs/replication.md; empty for none.
    std::string id;
    std::string words;
};

/// The rules that decide about the row, in their order; none where nothing is decided.
std::vector<AppliedRule> appliedRules(const ConflictedRow& row, const SideNames& names = {});

/// The same as one text.
std::string whyText(const ConflictedRow& row, const SideNames& names = {});
