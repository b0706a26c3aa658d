#pragma once

#include "review/ConflictList.h"
#include "review/ReviewContext.h"

#include <nlohmann/json.hpp>
#include <string>

/// The body of the review page.
class ConflictPage
{
public:
    ConflictPage(const ReviewContext& context, const ConflictList& list, const ReviewView& view)
        : context_(context),
          list_(list),
          view_(view)
    {
    }

    /// `messages` is HTML; `recorded` are the columns recorded of the selected row.
    std::string html(const std::string& messages, const nlohmann::ordered_json& recorded) const;

private:
    std::string heading() const;
    std::string filterForm() const;

    const ReviewContext& context_;
    const ConflictList& list_;
    const ReviewView& view_;
};
