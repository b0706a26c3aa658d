#include "review/ReviewSite.h"

#include "Failure.h"
#include "Page.h"
#include "commands.h"
#include "conflicts/choices.h"
#include "random.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

constexpr size_t kTokenBytes = 24;

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

std::string field(const FormFields& form, const std::string& name)
{
    const auto found = form.find(name);
    return found == form.end() ? std::string() : found->second;
}

enumResolution useOf(const std::string& name)
{
    for (const enumResolution use : {USE_SOURCE, USE_DESTINATION, WORK_LATER})
        if (name == useName(use))
            return use;
    throw HttpError(400, "unknown resolution");
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

const char* noticeText(const std::string& done)
{
    return done == "settled" ? "The conflict is settled." : done == "kept" ? "The conflict stays in the list." : "";
}

/// What to show of the failure in flight.
std::string failureText()
{
    try {
        throw;
    }
    catch (const HttpError&) {
        throw;
    }
    catch (...) {
        return currentFailure().text;
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
                    fmt::format("<main><p class=\"card trouble\" role=\"alert\">{}</p><p><a href=\"{}\">Try again</a>"
                                "</p></main>\n",
                                escapeHtml(text), root_));
    }
}

// The host is checked too: a name that somebody points at 127.0.0.1 makes another site's page look like this one.
// Browsers tell the origin with every form that is sent; what changes something is done for no one who does not.
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
    if (request.path.size() < root_.size() || (!name.empty() && name != "resolve" && name != "quit"))
        throw HttpError(404, "not found");
    if (request.method != (name.empty() ? "GET" : "POST"))
        throw HttpError(405, "method not allowed");
    if (name == "quit")
        return quit();
    if (name == "resolve")
        return resolve(parseForm(request.body));
    const FormFields& query = request.query;
    return conflictPage(200, {field(query, "table"), field(query, "text"), field(query, "id")},
                        noticeText(field(query, "done")), "");
}

HttpResponse ReviewSite::resolve(const FormFields& form)
{
    const std::string id = field(form, "id");
    if (id.empty())
        throw HttpError(400, "no conflict");
    ReviewView view{field(form, "table"), field(form, "text"), id};
    ordered_json resolved;
    try {
        resolved = resolveConflictsCommand(configuration_, {{.ids = {id}}, useOf(field(form, "use"))}).result["resolved"][0];
    }
    catch (...) {
        return conflictPage(409, view, "", failureText());
    }
    resolved_.push_back(resolved);
    const std::string refused = resolved["refused"];
    if (!refused.empty())
        return conflictPage(409, view, "", "The component refused: " + refused);
    view.id = field(form, "next");
    const char* done = resolved["settled"].get<bool>() ? "settled" : "kept";
    return {303, "Location: " + root_ + view.query() + "&done=" + done + "\r\nCache-Control: no-store\r\n", ""};
}

HttpResponse ReviewSite::conflictPage(int status, const ReviewView& view, const std::string& notice,
                                      const std::string& trouble) const
{
    const ordered_json conflicts = listConflictsCommand(configuration_, {}).result["conflicts"];
    const ConflictPage content(configuration_, root_, conflicts, view);
    ordered_json selected;
    if (!content.selectedId().empty())
        selected = showConflictCommand(configuration_, content.selectedId()).result["conflict"];
    return page(status, "Conflicts", content.html(notice, trouble, selected));
}

HttpResponse ReviewSite::quit()
{
    ended_ = true;
    return page(200, "Review ended",
                "<main><p class=\"card\">The review has ended; this page can be closed.</p></main>\n");
}
