#pragma once

#include "Session.h"
#include "review/Decision.h"
#include "review/HttpServer.h"
#include "review/ReviewContext.h"

#include <optional>
#include <string>

/// Answers the review's requests: shows the conflicts of a configuration's local database to whoever knows the token.
class ReviewSite
{
public:
    ReviewSite(const Configuration& configuration, unsigned short port);

    /// The address of the page, with the token.
    std::string address() const { return origin_ + context_.root; }
    /// Whether the person ended the review.
    bool ended() const { return ended_; }
    /// All decisions and refusals, as `conflicts resolve` tells them.
    const nlohmann::ordered_json& resolved() const { return resolved_; }

    /// Raises HttpError for a request that has no business here.
    HttpResponse answer(const HttpRequest& request);

private:
    void refuseStrangers(const HttpRequest& request) const;
    HttpResponse route(const HttpRequest& request);
    HttpResponse submit(const std::string& name, const FormFields& form);
    HttpResponse resolve(const FormFields& form);
    HttpResponse confirm(const FormFields& form);
    HttpResponse askToEnd(const ReviewView& view) const;
    HttpResponse quit();
    HttpResponse conflictPage(const ReviewView& view);
    HttpResponse confirmationPage(const std::vector<ConflictedRow>& rows, const ReviewView& view,
                                  const std::string& trouble, const std::string& reason) const;
    ReviewView viewOf(const FormFields& fields) const;
    HttpResponse backToList(const ReviewView& view) const;

    std::vector<ConflictedRow> rowsWithIds(Databases& databases, const std::vector<std::string>& ids) const;
    std::vector<ConflictedRow> chosenRows(Databases& databases, const FormFields& form, const ReviewView& view) const;
    bool mayBeDoneAtOnce(Databases& databases, const std::vector<ConflictedRow>& rows, const Decision& decision,
                         const std::string& seen) const;
    void carryOut(Databases& databases, const std::vector<ConflictedRow>& rows, const Decision& decision,
                  const std::string& reason);
    std::string messages(const std::string& trouble) const;

    std::string host_;
    std::string origin_;
    std::string token_;
    ReviewContext context_;
    bool ended_ = false;
    nlohmann::ordered_json resolved_ = nlohmann::ordered_json::array();
    /// The last plan that waits for confirmation.
    std::optional<Plan> plan_;
    /// Messages for the next page, told once.
    std::vector<std::string> notices_;
    std::vector<std::string> troubles_;
};
