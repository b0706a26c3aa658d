#include "review/ReviewSite.h"

#include "Failure.h"
#include "History.h"
#include "commands/rows.h"
#include "conflicts/decisions.h"
#include "conflicts/rows_today.h"
#include "random.h"
#include "review/ConfirmationPage.h"
#include "review/ConflictPage.h"
#include "review/EndPage.h"
#include "review/html.h"
#include "review/page_response.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>
#include <utility>

using nlohmann::ordered_json;

namespace {

constexpr size_t kTokenBytes = 24;
constexpr size_t kPlanBytes = 8;
constexpr char kHeld[] = "No run begins yet, since the last one recorded an error. Run once with quinrep run --ready "
                         "--reset-error.";
constexpr char kNoReason[] = "A dismissal needs a reason, for the decision log. Nothing was done.";

void requireReason(const std::string& reason)
{
    if (reason.empty())
        throw HostError(kFailed, kNoReason, "Type in why the conflict needs no other decision.");
}

/// Whether runs do not begin although no conflict waits any more.
bool isHeldByError(const Configuration& configuration, clsConn& local)
{
    const ordered_json control =
        jsonRows(local, L"select error_f, error_message from replication_control where unique_key = " +
                            siteKey(configuration.site));
    return !control.empty() && errorWaits(configuration, control.front(), History::read(configuration));
}

/// Takes the same time wherever the texts differ.
bool equalInConstantTime(std::string_view given, std::string_view secret)
{
    unsigned different = given.size() == secret.size() ? 0U : 1U;
    for (size_t index = 0; index < secret.size(); ++index) {
        const char c = index < given.size() ? given[index] : '\0';
        different |= static_cast<unsigned>(static_cast<unsigned char>(c ^ secret[index]));
    }
    return different == 0;
}

/// Says so when "all that were found" has come to mean other rows than were counted in the form.
std::string listChange(const FormFields& form, size_t count)
{
    const std::string found = form.first("found");
    return form.first("all") != "yes" || found == std::to_string(count)
               ? ""
               : fmt::format("The list has changed since it was shown: {} rows are in it, not {}.", count, found);
}

/// The text of the failure that is being handled.
std::string failureText()
{
    try {
        throw;
    }
    catch (const HttpError&) {
        throw;
    }
    catch (...) {
        return capitalized(currentFailure().text);
    }
}

} // namespace

ReviewSite::ReviewSite(const Configuration& configuration, unsigned short port)
    : host_(fmt::format("127.0.0.1:{}", port)),
      origin_("http://" + host_),
      token_(randomHex(kTokenBytes)),
      context_{configuration, "/" + token_ + "/", SideNames(configuration)}
{
}

HttpResponse ReviewSite::answer(const HttpRequest& request)
{
    refuseStrangers(request);
    try {
        return route(request);
    }
    catch (...) {
        const std::string text = failureText();
        return pageResponse(500, "Conflicts",
                            "<main>" + messageBox("trouble", "alert", {text}) + "<p><a href=\"" + context_.root +
                                "\">Try again</a></p></main>\n");
    }
}

// The host is checked too: a name that somebody points at 127.0.0.1 makes another site's page look like this one.
// Browsers send the origin with every form; a request that changes something is refused without it.
void ReviewSite::refuseStrangers(const HttpRequest& request) const
{
    const std::string origin = request.header("origin");
    const bool originFits = origin.empty() ? request.method == "GET" : origin == origin_;
    const std::string_view path = request.path;
    const bool knowsToken = equalInConstantTime(path.substr(0, path.find('/', 1)), "/" + token_);
    if (!knowsToken || !originFits || request.header("host") != host_)
        throw HttpError(403, "refused");
}

HttpResponse ReviewSite::route(const HttpRequest& request)
{
    const std::string name = request.path.substr(std::min(context_.root.size(), request.path.size()));
    const bool submits = name == "resolve" || name == "confirm" || name == "quit";
    const bool asksToEnd = name == "end";
    if (request.path.size() < context_.root.size() || (!name.empty() && !submits && !asksToEnd))
        throw HttpError(404, "not found");
    if (request.method != (submits ? "POST" : "GET"))
        throw HttpError(405, "method not allowed");
    if (submits)
        return submit(name, parseForm(request.body));
    const ReviewView view = viewOf(request.query);
    return asksToEnd ? askToEnd(view) : conflictPage(view);
}

HttpResponse ReviewSite::submit(const std::string& name, const FormFields& form)
{
    if (name == "quit")
        return quit();
    try {
        return name == "resolve" ? resolve(form) : confirm(form);
    }
    catch (...) {
        troubles_.push_back(failureText());
        return backToList(viewOf(form));
    }
}

HttpResponse ReviewSite::resolve(const FormFields& form)
{
    const Decision decision = Decision::of(form.first("use"));
    ReviewView view = viewOf(form);
    Databases databases(context_.configuration);
    const std::vector<ConflictedRow> rows = chosenRows(databases, form, view);
    const std::string reason = trimmed(form.first("reason"));
    if (!mayBeDoneAtOnce(databases, rows, decision, form.first("seen"))) {
        plan_ = Plan{randomHex(kPlanBytes), decision, {}, {}};
        for (const ConflictedRow& row : rows) {
            plan_->ids.push_back(row.latest().id);
            plan_->fingerprints.push_back(fingerprint(row));
        }
        return confirmationPage(rows, view, listChange(form, rows.size()), reason);
    }
    if (decision.dismisses)
        requireReason(reason);
    carryOut(databases, rows, decision, reason);
    if (troubles_.empty())
        view.id = form.first("next");
    return backToList(view);
}

HttpResponse ReviewSite::confirm(const FormFields& form)
{
    if (!plan_ || form.first("plan") != plan_->id)
        throw HostError(kFailed,
                        "This was confirmed before, or another decision was begun since. Nothing was done now.",
                        "Look at the list, and choose again.");
    Databases databases(context_.configuration);
    const std::vector<ConflictedRow> rows = rowsWithIds(databases, plan_->ids);
    const ReviewView view = viewOf(form);
    const std::string reason = trimmed(form.first("reason"));
    if (!std::ranges::equal(rows, plan_->fingerprints, {}, fingerprint)) {
        plan_.reset();
        throw HostError(kFailed, "The rows are no longer as they were shown. Nothing was done.",
                        "Look at them, and choose again.");
    }
    if (plan_->decision.dismisses && reason.empty())
        return confirmationPage(rows, view, kNoReason, reason);
    const Decision decision = std::exchange(plan_, std::nullopt)->decision;
    carryOut(databases, rows, decision, reason);
    return backToList(view);
}

/// The rows in the list's order.
std::vector<ConflictedRow> ReviewSite::rowsWithIds(Databases& databases, const std::vector<std::string>& ids) const
{
    std::vector<ConflictedRow> rows = recordedRows(databases);
    const std::set<std::string> wanted(ids.begin(), ids.end());
    std::erase_if(rows, [&](const ConflictedRow& row) {
        return std::ranges::none_of(row.records,
                                    [&](const ConflictRecord& record) { return wanted.contains(record.id); });
    });
    if (rows.size() < wanted.size())
        throw HostError(kFailed, "A conflict is no longer in the list: somebody else has decided it. Nothing was done.",
                        "Look at the list, and choose again.");
    lookAtRowsToday(context_.configuration, databases, rows);
    return rows;
}

std::vector<ConflictedRow> ReviewSite::chosenRows(Databases& databases, const FormFields& form,
                                                  const ReviewView& view) const
{
    const std::string target = form.first("all");
    std::vector<ConflictedRow> rows = target == "yes"
                                          ? conflictedRows(context_.configuration, databases, view.filter)
                                          : rowsWithIds(databases, form.all(target == "listed" ? "listed" : "id"));
    if (rows.empty())
        throw HostError(kFailed, "No row is checked. Nothing was done.",
                        "Check rows in the list, or all that are shown.");
    return rows;
}

/// A row that is still as shown needs no confirmation, nor does a decision that changes nothing.
bool ReviewSite::mayBeDoneAtOnce(Databases& databases, const std::vector<ConflictedRow>& rows, const Decision& decision,
                                 const std::string& seen) const
{
    if (rows.size() != 1)
        return false;
    const ConflictedRow& row = rows.front();
    const Effect effect = decision.choiceFor(context_.configuration.site, row).effect;
    if (effect == Effect::Stays)
        return true;
    const bool losesRow = effect == Effect::Overwrites || effect == Effect::Deletes;
    return seen == fingerprint(row) && (!losesRow || isStillAsRecorded(row, recordedColumns(databases.local(), row)));
}

void ReviewSite::carryOut(Databases& databases, const std::vector<ConflictedRow>& rows, const Decision& decision,
                          const std::string& reason)
{
    std::vector<Choice> choices;
    for (const ConflictedRow& row : rows)
        choices.push_back(decision.choiceFor(context_.configuration.site, row));
    const std::vector<Decided> results = decision.dismisses
                                             ? dismissRows(context_.configuration, databases, rows, reason)
                                             : resolveRows(context_.configuration, databases, rows, choices);
    for (size_t index = 0; index < rows.size(); ++index) {
        const ConflictedRow& row = rows[index];
        const std::string refused = results[index].result["refused"];
        const Effect effect = choices[index].effect;
        resolved_.push_back(results[index].result);
        if (refused.empty())
            notices_.push_back(rowName(row) + ": " + whatHappened(decision, effect, row, context_.names));
        else
            troubles_.push_back(
                rowName(row) + ": " +
                (choices[index].possible
                     ? refused
                     : decision.choiceFor(context_.configuration.site, row, context_.names).explanation) +
                (results[index].failed ? " The conflict stays; try again when that is mended." : ""));
    }
}

/// The messages of the next page, and one more trouble.
std::string ReviewSite::messages(const std::string& trouble) const
{
    std::vector<std::string> troubles = troubles_;
    if (!trouble.empty())
        troubles.push_back(trouble);
    return messageBox("notice", "status", notices_) + messageBox("trouble", "alert", troubles);
}

HttpResponse ReviewSite::conflictPage(const ReviewView& view)
{
    Databases databases(context_.configuration);
    ConflictList list(context_.configuration, recordedRows(databases), view);
    lookAtRowsToday(context_.configuration, databases, list.group());
    const ConflictPage content(context_, list, view);
    const ordered_json recorded =
        list.rows().empty() ? ordered_json() : recordedColumns(databases.local(), list.selectedRow());
    std::string told = messages(list.wrongFilter());
    if (list.waiting() == 0 && isHeldByError(context_.configuration, databases.local()))
        told += messageBox("trouble", "status", {kHeld});
    HttpResponse response =
        pageResponse(list.wrongFilter().empty() ? 200 : 400, "Conflicts", content.html(told, recorded));
    notices_.clear();
    troubles_.clear();
    return response;
}

HttpResponse ReviewSite::confirmationPage(const std::vector<ConflictedRow>& rows, const ReviewView& view,
                                          const std::string& trouble, const std::string& reason) const
{
    const ConfirmationPage content(context_, *plan_, rows, view);
    return pageResponse(200, "Confirm", content.html(messages(trouble), reason));
}

ReviewView ReviewSite::viewOf(const FormFields& fields) const
{
    ReviewView view = ReviewView::of(fields);
    view.filter.names = context_.names;
    return view;
}

HttpResponse ReviewSite::backToList(const ReviewView& view) const
{
    return {303, "Location: " + context_.address(view) + "\r\nCache-Control: no-store\r\n", ""};
}

HttpResponse ReviewSite::askToEnd(const ReviewView& view) const
{
    const auto decided = std::ranges::count_if(resolved_, [](const auto& result) { return result["settled"] == true; });
    return pageResponse(200, "End the review?", endPage(context_, view, static_cast<size_t>(decided)));
}

HttpResponse ReviewSite::quit()
{
    ended_ = true;
    return pageResponse(200, "Review ended",
                        "<main><section class=\"card\"><h1>The review has ended</h1>\n<p>This page can be "
                        "closed.</p></section></main>\n");
}
