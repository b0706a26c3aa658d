#pragma once

#include "conflicts/choices.h"
#include "review/ConflictList.h"
#include "review/ReviewContext.h"

#include <nlohmann/json.hpp>
#include <string>

/// The part of the review page with one row: its dates, what differs, and the decisions about it.
class ConflictDetail
{
public:
    ConflictDetail(const ReviewContext& context, const ConflictList& list, const ReviewView& view)
        : context_(context),
          list_(list),
          view_(view),
          row_(list.selectedRow())
    {
    }

    /// `recorded` are the columns recorded of the row.
    std::string html(const nlohmann::ordered_json& recorded) const;

private:
    std::string steps() const;
    std::string dates() const;
    /// The rule by which the next run treats the row as it is today.
    std::string nextRun() const;
    std::string columns(const nlohmann::ordered_json& recorded) const;
    std::string equalSwitch() const;
    std::string decisionForm(const std::string& controls) const;
    std::string choices() const;
    std::string choiceButton(enumResolution use) const;
    std::string dismissal() const;

    const ReviewContext& context_;
    const ConflictList& list_;
    const ReviewView& view_;
    const ConflictedRow& row_;
};
