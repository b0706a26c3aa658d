#pragma once

#include "Configuration.h"
#include "SideNames.h"
#include "review/ReviewView.h"

#include <string>

/// What the pages of a review have in common.
struct ReviewContext
{
    const Configuration& configuration;
    /// The path of the pages, with a slash at its end.
    std::string root;
    SideNames names;

    std::string address(const ReviewView& view) const { return root + view.query(); }
};
