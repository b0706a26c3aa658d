#include "review/ConflictDetail.h"

#include "com/convert.h"
#include "conflicts/decisions.h"
#include "conflicts/rows_today.h"
#include "conflicts/why.h"
#include "html_page.h"
#include "html_table.h"
#include "review/Decision.h"
#include "review/html.h"
#include "text.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

constexpr char kDismissKey[] = "i";

std::string fact(const std::string& label, const std::string& text)
{
    return fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", escapeHtml(label), escapeHtml(text));
}

/// The attribute of a control's access key.
std::string accessKey(const char* key)
{
    return fmt::format("accesskey=\"{}\"", key);
}

/// The key, for those who see the control.
std::string keyHint(std::string key)
{
    return "<kbd aria-hidden=\"true\">" + capitalized(std::move(key)) + "</kbd>";
}

const char* keyOf(enumResolution use)
{
    switch (use) {
    case USE_SOURCE:
        return "o";
    case USE_DESTINATION:
        return "t";
    default:
        return "l";
    }
}

} // namespace

std::string ConflictDetail::html(const ordered_json& recorded) const
{
    return fmt::format("<section class=\"card detail\" aria-labelledby=\"selected\">{}"
                       "<h2 id=\"selected\" tabindex=\"-1\">{}</h2>\n<p class=\"soft\">{}{}</p>\n"
                       "<p class=\"soft\"><small>{} {}</small></p>\n<dl>{}</dl>\n",
                       steps(), escapeHtml(rowName(row_)),
                       escapeHtml(capitalized(kindName(row_.latest().kind, context_.names))),
                       row_.state == RowState::Waits ? ""
                                                     : fmt::format(" · <strong>{}</strong>", stateName(row_.state)),
                       escapeHtml(row_.table), escapeHtml(row_.key), dates()) +
           nextRun() + columns(recorded) + choices() + dismissal() +
           "<p class=\"soft keys\">Alt with the letter on a button presses it (in Firefox Alt and Shift).</p>\n"
           "</section>\n";
}

std::string ConflictDetail::steps() const
{
    const size_t count = list_.rows().size();
    const auto link = [&](const char* key, const char* text, size_t to) {
        return fmt::format("<a {} href=\"{}\">{}{}</a> ", accessKey(key),
                           escapeHtml(context_.address(view_.showing(list_.rows()[to].latest().id))), text,
                           keyHint(key));
    };
    if (count == 1)
        return {};
    return fmt::format("<p class=\"steps\"><span class=\"soft\">{} of {}</span> {}{}</p>\n", list_.selected() + 1,
                       count, link("p", "Previous", (list_.selected() + count - 1) % count),
                       link("n", "Next", (list_.selected() + 1) % count));
}

std::string ConflictDetail::dates() const
{
    const ConflictRecord& latest = row_.latest();
    const SideNames& names = context_.names;
    const auto changed = [](const std::string& side, bool lackedIt, const std::optional<DATE>& date) {
        return fact("Changed at " + side, lackedIt ? side + " has no such row" : shownDate(date));
    };
    const std::string facts = changed(names.source, row_.sourceLackedIt(), latest.sourceDate) +
                              changed(names.destination, row_.destinationLackedIt(), latest.destinationDate);
    if (row_.records.size() == 1)
        return facts + fact("Found by the run of", shownDate(latest.found));
    return facts + fact("First found by the run of", shownDate(row_.records.back().found)) +
           fact("Last found by the run of", shownDate(latest.found)) +
           fact("Found", fmt::format("{} times", row_.records.size()));
}

std::string ConflictDetail::nextRun() const
{
    const std::string why = whyText(row_, context_.names);
    return why.empty() ? why
                       : fmt::format("<p class=\"soft\"><strong>In the next run:</strong> {}</p>\n", escapeHtml(why));
}

std::string ConflictDetail::columns(const ordered_json& recorded) const
{
    const SideNames& names = context_.names;
    const auto table = [&](const char* when, const ordered_json& columns, bool sourceExists, bool destinationExists) {
        return sidesTable(names, when, tableBody(columnLines(columns, sourceExists, destinationExists, names)));
    };
    const auto today = [&] {
        return table(" today", columnsToday(row_, kShownValues), row_.source.row.exists, row_.destination.row.exists);
    };
    const bool asFound = isStillAsRecorded(row_, recorded);
    const bool canBeRead = row_.state == RowState::Waits || row_.state == RowState::Equal;
    const bool showsEqual = canBeRead && !view_.equalToo.empty();
    std::string html;
    if (!(asFound && showsEqual))
        html += recorded.empty() ? "<p>No differing columns were recorded.</p>\n"
                                 : table("", recorded, !row_.sourceLackedIt(), !row_.destinationLackedIt());
    if (row_.state == RowState::Waits && !asFound)
        html += showsEqual ? "<h3>The row is not as it was found. All its columns as they are today</h3>\n"
                           : "<p class=\"soft\">The row is not as it was found. What is there today is shown before it "
                             "is overwritten or deleted.</p>\n";
    if (showsEqual)
        html += today();
    return html + (canBeRead ? equalSwitch() : "");
}

std::string ConflictDetail::equalSwitch() const
{
    ReviewView other = view_.showing(row_.latest().id);
    other.equalToo = view_.equalToo.empty() ? "yes" : "";
    return fmt::format("<p><a {} href=\"{}\">{}{}</a></p>\n", accessKey("e"), escapeHtml(context_.address(other)),
                       view_.equalToo.empty() ? "Show equal columns too" : "Show only what differs", keyHint("e"));
}

std::string ConflictDetail::decisionForm(const std::string& controls) const
{
    const size_t next = (list_.selected() + 1) % list_.rows().size();
    return fmt::format("<form method=\"post\" action=\"{}resolve\">{}{}{}{}\n{}</form>\n", context_.root,
                       view_.showing(row_.latest().id, list_.selected()).hiddenFields(),
                       hiddenField("id", row_.latest().id), hiddenField("next", list_.rows()[next].latest().id),
                       hiddenField("seen", fingerprint(row_)), controls);
}

std::string ConflictDetail::choices() const
{
    std::string buttons;
    for (const enumResolution use : {USE_SOURCE, USE_DESTINATION, WORK_LATER})
        buttons += choiceButton(use);
    return decisionForm("<div class=\"choices\">" + buttons + "</div>");
}

std::string ConflictDetail::choiceButton(enumResolution use) const
{
    const Decision decision{.use = use};
    const Choice choice = decision.choiceFor(context_.configuration.site, row_, context_.names);
    const bool deletes = choice.effect == Effect::Deletes;
    const std::string name = useName(use);
    const std::string caption = deletes ? "Delete at " + context_.names.destination : decision.caption(context_.names);
    const bool losesRow = deletes || (choice.effect == Effect::Keeps &&
                                      lossBy(decision, context_.configuration.site, row_) != Loss::None);
    return fmt::format("<div><button name=\"use\" value=\"{0}\" {1} aria-describedby=\"why-{0}\"{2}{3}>{4}{5}{6}"
                       "</button><p class=\"soft\" id=\"why-{0}\">{7}</p></div>\n",
                       name, accessKey(keyOf(use)), deletes ? " class=\"deletes\"" : "",
                       choice.possible ? "" : " disabled", deletes ? "<span aria-hidden=\"true\">✕ </span>" : "",
                       escapeHtml(caption), keyHint(keyOf(use)), effectText(choice.explanation, losesRow));
}

std::string ConflictDetail::dismissal() const
{
    const bool losesRow = lossBy({.dismisses = true}, context_.configuration.site, row_) != Loss::None;
    return decisionForm(fmt::format(
        "<fieldset><legend>Dismiss</legend><p class=\"soft\" id=\"why-dismiss\">{}</p><label>Reason<input "
        "name=\"reason\" required maxlength=\"500\"></label><button name=\"use\" value=\"dismiss\" {} "
        "aria-describedby=\"why-dismiss\">Dismiss{}</button></fieldset>",
        effectText(describeDismissal(row_, context_.names), losesRow), accessKey(kDismissKey), keyHint(kDismissKey)));
}
