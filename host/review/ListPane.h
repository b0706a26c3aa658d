#pragma once

#include "review/ConflictList.h"
#include "review/ReviewContext.h"

#include <string>

/// The part of the review page with one group of the list, and what can be done with several of its rows.
class ListPane
{
public:
    ListPane(const ReviewContext& context, const ConflictList& list, const ReviewView& view)
        : context_(context),
          list_(list),
          view_(view)
    {
    }

    std::string html() const;

private:
    std::string otherGroups() const;
    std::string entries() const;
    std::string entry(const ConflictedRow& row) const;
    std::string forSeveral() const;

    const ReviewContext& context_;
    const ConflictList& list_;
    const ReviewView& view_;
};
