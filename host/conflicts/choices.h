#pragma once

#include "conflicts/ConflictedRow.h"

#include <QuinmarkRepDLL.h>

#include <string>

/// The effect on a row and its conflicts.
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
    /// Whether it would be done and change something.
    bool possible;
    Effect effect;
    /// The effect, or the obstacle and the other way.
    std::string explanation;
};

/// Describes a resolution of a row's conflicts at the site, by the component's own decision, the kind of the row's key
/// and both sides' rows of today.
Choice describeChoice(enumReplicationUniqueId site, enumResolution use, const ConflictedRow& row,
                      const SideNames& names = {});

/// Describes a dismissal.
std::string describeDismissal(const ConflictedRow& row, const SideNames& names = {});

/// The word for a resolution on the command line and in forms.
const char* useName(enumResolution use);
