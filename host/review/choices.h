#pragma once

#include <QuinmarkRepDLL.h>

#include <string>

/// A resolution as the review page offers it.
struct Choice
{
    enumResolution use;
    /// Whether the component would do it, and then something would happen.
    bool possible;
    /// What it does, or why it is not possible.
    std::string explanation;
};

/// What the component would do with a conflict at the site, by its own decision.
Choice describeChoice(enumReplicationUniqueId site, enumResolution use, long conflictType);

/// The word for a resolution on the command line and in forms.
const char* useName(enumResolution use);
