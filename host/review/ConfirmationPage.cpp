#include "review/ConfirmationPage.h"

#include "conflicts/decisions.h"
#include "html_page.h"
#include "html_table.h"
#include "review/html.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string question(const Decision& decision, size_t count, const SideNames& names)
{
    return fmt::format("{}{} {}?", decision.caption(names), decision.dismisses ? "" : " for", rowCount(count));
}

std::string namedRow(const ConflictedRow& row, const std::string& text)
{
    return fmt::format("<li><strong>{}</strong> <small>{}</small>: {}</li>\n", escapeHtml(rowName(row)),
                       escapeHtml(row.table), escapeHtml(text));
}

} // namespace

ConfirmationPage::ConfirmationPage(const ReviewContext& context, const Plan& plan,
                                   const std::vector<ConflictedRow>& rows, const ReviewView& view)
    : context_(context),
      plan_(plan),
      rows_(rows),
      view_(view)
{
    for (const ConflictedRow& row : rows) {
        choices_.push_back(plan.decision.choiceFor(context.configuration.site, row, context.names));
        losses_.push_back(lossBy(plan.decision, context.configuration.site, row));
    }
}

std::string ConfirmationPage::html(const std::string& messages, const std::string& reason) const
{
    const auto& [source, destination] = context_.names;
    return "<main>\n" + messages + "<section class=\"card\"><h1>" +
           escapeHtml(question(plan_.decision, rows_.size(), context_.names)) +
           "</h1>\n<p>Nothing has been done yet.</p>\n" + counts() + confirmForm(reason) + "</section>\n" +
           lostRows(Loss::DeletedNow, "Deleted at " + destination) +
           lostRows(Loss::OverwrittenNow, "Overwritten at " + destination) +
           lostRows(Loss::DestinationDeletedNext, "Deleted at " + destination + " by the next run") +
           lostRows(Loss::DestinationOverwrittenNext, "Overwritten at " + destination + " by the next run") +
           lostRows(Loss::SourceOverwrittenNext, "Overwritten at " + source + " by the next run") + waitingRows() +
           otherRows() + "</main>\n";
}

std::string ConfirmationPage::counts() const
{
    std::vector<Effect> effects;
    if (!plan_.decision.dismisses)
        std::ranges::transform(choices_, std::back_inserter(effects), &Choice::effect);
    const ordered_json counts = countEffects(effects, plan_.decision.dismisses ? rows_.size() : 0);
    std::string facts;
    for (const auto& [name, count] : counts.items())
        facts += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", name, count.dump());
    return "<dl class=\"counts\">" + facts + "</dl>\n";
}

std::string ConfirmationPage::lostRow(const ConflictedRow& row) const
{
    const ordered_json columns = differences(row, kShownValues);
    const std::string lines =
        columns.empty() ? tableRow(tableCell("", "Both sides are equal.", " colspan=\"3\""))
                        : columnLines(columns, row.source.row.exists, row.destination.row.exists, context_.names);
    const std::string name =
        fmt::format("<strong>{}</strong> <small>{}</small>", escapeHtml(rowName(row)), escapeHtml(row.table));
    return tableBody(tableRow(rowHeading(name, " colspan=\"3\" scope=\"rowgroup\""), "name") + lines);
}

std::string ConfirmationPage::lostRows(Loss loss, const std::string& heading) const
{
    std::string bodies;
    size_t count = 0;
    for (size_t index = 0; index < rows_.size(); ++index)
        if (losses_[index] == loss) {
            bodies += lostRow(rows_[index]);
            ++count;
        }
    if (count == 0)
        return {};
    const bool deletes = loss == Loss::DeletedNow || loss == Loss::DestinationDeletedNext;
    return fmt::format("<section class=\"card{}\"><h2>{}{}: {}</h2>\n<div class=\"long\">{}</div></section>\n",
                       deletes ? " loses" : "", deletes ? "<span aria-hidden=\"true\">✕ </span>" : "",
                       escapeHtml(heading), count, sidesTable(context_.names, " today", bodies));
}

std::string ConfirmationPage::waitingRows() const
{
    std::string items;
    for (size_t index = 0; index < rows_.size(); ++index)
        if (choices_[index].effect == Effect::Stays)
            items += namedRow(rows_[index], choices_[index].explanation);
    return items.empty()
               ? ""
               : "<section class=\"card\"><h2>Left waiting</h2>\n<ul class=\"long\">" + items + "</ul></section>\n";
}

std::string ConfirmationPage::otherRows() const
{
    std::string items;
    for (size_t index = 0; index < rows_.size(); ++index)
        if (choices_[index].effect == Effect::Keeps && losses_[index] == Loss::None)
            items += namedRow(rows_[index], nextRunText(rows_[index].next, context_.names));
    return items.empty() ? ""
                         : fmt::format("<section class=\"card\"><h2>{}</h2>\n<ul class=\"long\">{}</ul></section>\n",
                                       plan_.decision.dismisses ? "Dismissed" : "Kept as they are", items);
}

bool ConfirmationPage::changesNothing() const
{
    return std::ranges::all_of(choices_, [](const Choice& choice) { return choice.effect == Effect::Stays; });
}

std::string ConfirmationPage::confirmForm(const std::string& reason) const
{
    const std::string back = fmt::format("<a href=\"{}\">Back to the list</a>", escapeHtml(context_.address(view_)));
    if (changesNothing())
        return "<p>There is nothing to confirm: no row would be changed and no conflict closed.</p>\n" + back;
    const std::string reasonField = fmt::format(
        "<label>Reason<input name=\"reason\" required maxlength=\"500\" value=\"{}\"></label>", escapeHtml(reason));
    const auto deleted = std::ranges::count(losses_, Loss::DeletedNow);
    const std::string button =
        deleted == 0
            ? "<button class=\"first\">Do it</button>"
            : fmt::format("<button class=\"deletes\"><span aria-hidden=\"true\">✕ </span>Do it and delete {}</button>",
                          rowCount(static_cast<size_t>(deleted)));
    return fmt::format("<form class=\"filter\" method=\"post\" action=\"{}confirm\">{}{}{}{}{}</form>\n", context_.root,
                       view_.hiddenFields(), hiddenField("plan", plan_.id), plan_.decision.dismisses ? reasonField : "",
                       button, back);
}
