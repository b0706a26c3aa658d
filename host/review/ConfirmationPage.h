#pragma once

#include "review/Decision.h"
#include "review/ReviewContext.h"

#include <string>
#include <vector>

/// The body of the page that says what a decision would do with rows, before anything is done.
class ConfirmationPage
{
public:
    ConfirmationPage(const ReviewContext& context, const Plan& plan, const std::vector<ConflictedRow>& rows,
                     const ReviewView& view);

    /// `messages` is HTML; `reason` is what was typed in so far.
    std::string html(const std::string& messages, const std::string& reason) const;

private:
    std::string counts() const;
    std::string lostRow(const ConflictedRow& row) const;
    std::string lostRows(Loss loss, const std::string& heading) const;
    std::string waitingRows() const;
    std::string otherRows() const;
    std::string confirmForm(const std::string& reason) const;
    bool changesNothing() const;

    const ReviewContext& context_;
    const Plan& plan_;
    const std::vector<ConflictedRow>& rows_;
    const ReviewView& view_;
    std::vector<Choice> choices_;
    std::vector<Loss> losses_;
};
