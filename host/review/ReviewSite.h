#pragma once

#include "Configuration.h"
#include "review/ConflictPage.h"
#include "review/HttpServer.h"

#include <string>

/// What the review's server answers: the conflicts of a configuration's local database, to whoever knows the token.
class ReviewSite
{
public:
    ReviewSite(const Configuration& configuration, unsigned short port);

    /// The address of the page, with the token.
    std::string address() const { return origin_ + root_; }
    /// Whether the person ended the review.
    bool ended() const { return ended_; }
    /// What was resolved or refused, each as `conflicts resolve` tells it.
    const nlohmann::ordered_json& resolved() const { return resolved_; }

    /// Raises HttpError for a request that has no business here.
    HttpResponse answer(const HttpRequest& request);

private:
    void refuseStrangers(const HttpRequest& request) const;
    HttpResponse route(const HttpRequest& request);
    HttpResponse resolve(const FormFields& form);
    HttpResponse conflictPage(int status, const ReviewView& view, const std::string& notice,
                              const std::string& trouble) const;
    HttpResponse quit();

    const Configuration& configuration_;
    std::string host_;
    std::string origin_;
    std::string token_;
    std::string root_;
    bool ended_ = false;
    nlohmann::ordered_json resolved_ = nlohmann::ordered_json::array();
};
