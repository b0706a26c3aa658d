#pragma once

#include "conflicts/choices.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// How a row's conflicts came out, as results tell it.
struct Decided
{
    nlohmann::ordered_json result;
    /// Whether a call failed, and not only a choice was refused.
    bool failed = false;
};

/// Carries out the choice of each row, where that is possible: the component resolves the latest record of a row, and
/// then its repeats are removed. Every decision is in the decision log first. Raises HostError when that cannot be
/// written, and com::Error when the component cannot be had.
std::vector<Decided> resolveRows(const Configuration& configuration, Databases& databases,
                                 const std::vector<ConflictedRow>& rows, const std::vector<Choice>& choices);

/// Takes the conflicts of the rows off the list by the host's own statements, details first, whatever the component
/// would say of them. The rows stay as they are. In the decision log as above, with the reason.
std::vector<Decided> dismissRows(const Configuration& configuration, Databases& databases,
                                 const std::vector<ConflictedRow>& rows, const std::string& reason);

/// A form of a copy's values.
using Values = nlohmann::ordered_json CopyToday::*;

/// Both copies of a row as they are today, column by column; null for Null and for no row.
nlohmann::ordered_json columnsToday(const ConflictedRow& row, Values values = &CopyToday::columns);
/// Those columns where the copies differ.
nlohmann::ordered_json differences(const ConflictedRow& row, Values values = &CopyToday::columns);

/// How many rows a decision overwrites, deletes, keeps as they are, leaves waiting and dismisses.
nlohmann::ordered_json countEffects(const std::vector<Effect>& effects, size_t dismissed);
