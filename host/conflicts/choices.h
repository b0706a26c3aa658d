#pragma once

#include "conflicts/ConflictedRow.h"

#include <QuinmarkRepDLL.h>

#include <string>

/// What becomes of a row and its conflicts.
enum class Effect
{
    /// The destination's row is overwritten, or deleted; its conflicts are closed.
    Overwrites,
    Deletes,
    /// The row is left as it is, and its conflicts are closed.
    Keeps,
    /// Nothing changes: it is left for later, or the choice is not possible.
    Stays,
};

/// A resolution as it is offered for a row.
struct Choice
{
    enumResolution use;
    /// Whether it would be done, and then something would happen.
    bool possible;
    Effect effect;
    /// What it does, or why it is not possible and what to do instead.
    std::string explanation;
};

/// What the component would do with a row's conflicts at the site, by its own decision, by the kind of the row's key
/// and by what both sides hold today.
Choice describeChoice(enumReplicationUniqueId site, enumResolution use, const ConflictedRow& row);

/// What a dismissal leads to.
std::string describeDismissal(const ConflictedRow& row);

/// The word for a resolution on the command line and in forms.
const char* useName(enumResolution use);
