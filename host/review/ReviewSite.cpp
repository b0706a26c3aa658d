#include "review/ReviewSite.h"

#include "Failure.h"
#include "conflicts/decisions.h"
#include "conflicts/rows_today.h"
#include "html_page.h"
#include "random.h"
#include "review/ConfirmationPage.h"
#include "review/html.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>
#include <utility>

using nlohmann::ordered_json;

namespace {

constexpr size_t kTokenBytes = 24;
constexpr size_t kPlanBytes = 8;
constexpr char kNoReason[] = "A dismissal needs a reason, for the decision log. Nothing was done.";

void requireReason(const std::string& reason)
{
    if (reason.empty())
        throw HostError(kFailed, kNoReason, "Type in why the conflict needs no other decision.");
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

HttpResponse page(int status, const std::string& title, const std::string& body)
{
    const std::string nonce = randomHex(16);
    return {status,
            "Content-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
            "Referrer-Policy: same-origin\r\nCross-Origin-Opener-Policy: same-origin\r\n"
            "Cross-Origin-Resource-Policy: same-origin\r\nContent-Security-Policy: " +
                contentPolicy(nonce) + "; frame-ancestors 'none'\r\n",
            htmlPage(title, nonce, body)};
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
        std::string text = currentFailure().text;
        if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
            text.front() = static_cast<char>(text.front() - 'a' + 'A'); // as a sentence of its own
        return text;
    }
}

} // namespace

ReviewSite::ReviewSite(const Configuration& configuration, unsigned short port)
    : configuration_(configuration),
      host_(fmt::format("127.0.0.1:{}", port)),
      origin_("http://" + host_),
      token_(randomHex(kTokenBytes)),
      root_("/" + token_ + "/")
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
        return page(500, "Conflicts",
                    "<main>" + messageBox("trouble", "alert", {text}) + "<p><a href=\"" + root_ +
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
    const std::string name = request.path.substr(std::min(root_.size(), request.path.size()));
    const bool submits = name == "resolve" || name == "confirm" || name == "quit";
    if (request.path.size() < root_.size() || (!name.empty() && !submits))
        throw HttpError(404, "not found");
    if (request.method != (submits ? "POST" : "GET"))
        throw HttpError(405, "method not allowed");
    return submits ? submit(name, parseForm(request.body)) : conflictPage(ReviewView::of(request.query));
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
        return backToList(ReviewView::of(form));
    }
}

HttpResponse ReviewSite::resolve(const FormFields& form)
{
    const Decision decision = Decision::of(form.first("use"));
    ReviewView view = ReviewView::of(form);
    Databases databases(configuration_);
    const std::vector<ConflictedRow> rows = chosenRows(databases, form, view);
    const std::string reason = trimmed(form.first("reason"));
    if (!mayBeDoneAtOnce(databases, rows, decision, form.first("seen"))) {
        plan_ = Plan{randomHex(kPlanBytes), decision, {}, {}};
        for (const ConflictedRow& row : rows) {
            plan_->ids.push_back(row.latest().id);
            plan_->fingerprints.push_back(fingerprint(row));
        }
        return confirmationPage(rows, view, "", reason);
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
    Databases databases(configuration_);
    const std::vector<ConflictedRow> rows = rowsWithIds(databases, plan_->ids);
    const ReviewView view = ReviewView::of(form);
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
    std::vector<ConflictedRow> rows = conflictedRows(configuration_, databases, {});
    const std::set<std::string> wanted(ids.begin(), ids.end());
    std::erase_if(rows, [&](const ConflictedRow& row) {
        return std::ranges::none_of(row.records,
                                    [&](const ConflictRecord& record) { return wanted.contains(record.id); });
    });
    if (rows.size() < wanted.size())
        throw HostError(kFailed, "A conflict is no longer in the list: somebody else has decided it. Nothing was done.",
                        "Look at the list, and choose again.");
    return rows;
}

std::vector<ConflictedRow> ReviewSite::chosenRows(Databases& databases, const FormFields& form,
                                                  const ReviewView& view) const
{
    std::vector<ConflictedRow> rows = form.first("all").empty()
                                          ? rowsWithIds(databases, form.all("id"))
                                          : conflictedRows(configuration_, databases, view.filter);
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
    const Effect effect = decision.choiceFor(configuration_.site, row).effect;
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
        choices.push_back(decision.choiceFor(configuration_.site, row));
    const std::vector<Decided> results = decision.dismisses ? dismissRows(configuration_, databases, rows, reason)
                                                            : resolveRows(configuration_, databases, rows, choices);
    for (size_t index = 0; index < rows.size(); ++index) {
        const ConflictedRow& row = rows[index];
        const std::string refused = results[index].result["refused"];
        const Effect effect = choices[index].effect;
        resolved_.push_back(results[index].result);
        if (refused.empty())
            notices_.push_back(rowName(row) + ": " + whatHappened(decision, effect, row));
        else
            troubles_.push_back(rowName(row) + ": " + refused +
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
    Databases databases(configuration_);
    ConflictList list{.rows = conflictedRows(configuration_, databases, {})};
    list.waiting = list.rows.size();
    for (const ConflictedRow& row : list.rows)
        ++list.tables[row.table];
    std::string wrong;
    try {
        if (!view.filter.kind.empty() && kindOfWord(view.filter.kind) == 0)
            throw HostError(kUsage, "there is no kind of conflict \"" + view.filter.kind + "\"");
        filterRows(configuration_, list.rows, view.filter);
    }
    catch (const HostError& error) {
        wrong = std::string("The filter cannot be used: ") + error.what() + ". Choose another.";
        list.rows.clear();
    }
    const ConflictPage content(configuration_, root_, list, view);
    ordered_json columns;
    if (const ConflictedRow* selected = content.selected())
        columns = recordedColumns(databases.local(), *selected);
    HttpResponse response = page(wrong.empty() ? 200 : 400, "Conflicts", content.html(messages(wrong), columns));
    notices_.clear();
    troubles_.clear();
    return response;
}

HttpResponse ReviewSite::confirmationPage(const std::vector<ConflictedRow>& rows, const ReviewView& view,
                                          const std::string& trouble, const std::string& reason) const
{
    const ConfirmationPage content(configuration_, root_, *plan_, rows, view);
    return page(trouble.empty() ? 200 : 400, "Confirm", content.html(messages(trouble), reason));
}

HttpResponse ReviewSite::backToList(const ReviewView& view) const
{
    return {303, "Location: " + root_ + view.query() + "\r\nCache-Control: no-store\r\n", ""};
}

HttpResponse ReviewSite::quit()
{
    ended_ = true;
    return page(200, "Review ended",
                "<main><p class=\"card\">The review has ended; this page can be closed.</p></main>\n");
}
