#include "review/ConfirmationPage.h"

#include "conflicts/decisions.h"
#include "html_page.h"
#include "review/html.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string question(const Decision& decision, size_t count)
{
    const std::string what = decision.dismisses                ? "Dismiss"
                             : decision.use == USE_SOURCE      ? "Use the source for"
                             : decision.use == USE_DESTINATION ? "Use the destination for"
                                                               : "Leave for later";
    return fmt::format("{} {} {}?", what, count, count == 1 ? "row" : "rows");
}

std::string namedRow(const ConflictedRow& row, const std::string& text)
{
    return fmt::format("<li><strong>{}</strong> <small>{}</small>: {}</li>\n", escapeHtml(rowName(row)),
                       escapeHtml(row.table), escapeHtml(text));
}

std::string lostRow(const ConflictedRow& row)
{
    return fmt::format(
        "<tbody><tr><th colspan=\"3\" scope=\"rowgroup\"><strong>{}</strong> <small>{}</small></th></tr>\n{}"
        "</tbody>\n",
        escapeHtml(rowName(row)), escapeHtml(row.table),
        columnLines(differences(row), row.source.row.exists, row.destination.row.exists));
}

} // namespace

ConfirmationPage::ConfirmationPage(const Configuration& configuration, const std::string& root, const Plan& plan,
                                   const std::vector<ConflictedRow>& rows, const ReviewView& view)
    : configuration_(configuration),
      root_(root),
      plan_(plan),
      rows_(rows),
      view_(view)
{
    for (const ConflictedRow& row : rows) {
        choices_.push_back(plan.decision.choiceFor(configuration.site, row));
        losses_.push_back(lossBy(plan.decision, configuration.site, row));
    }
}

std::string ConfirmationPage::html(const std::string& messages, const std::string& reason) const
{
    return "<main>\n" + messages + "<section class=\"card\"><h1>" + question(plan_.decision, rows_.size()) +
           "</h1>\n<p>Nothing has been done yet.</p>\n" + counts() + confirmForm(reason) + "</section>\n" +
           lostRows(Loss::OverwrittenNow, "Overwritten at the destination") +
           lostRows(Loss::DeletedNow, "Deleted at the destination") +
           lostRows(Loss::DestinationOverwrittenNext, "Overwritten at the destination by the next run") +
           lostRows(Loss::DestinationDeletedNext, "Deleted at the destination by the next run") +
           lostRows(Loss::SourceOverwrittenNext, "Overwritten at the source by the next run") + waitingRows() +
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
    return fmt::format("<section class=\"card\"><h2>{}: {}</h2>\n<div class=\"long\"><table class=\"sides\"><thead><tr>"
                       "<th scope=\"col\">Column</th><th scope=\"col\">Source today</th><th scope=\"col\">Destination "
                       "today</th></tr></thead>\n{}</table></div></section>\n",
                       heading, count, bodies);
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
            items += namedRow(rows_[index], nextRunText(rows_[index].next));
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
    const std::string back = fmt::format("<a href=\"{}\">Back to the list</a>", escapeHtml(root_ + view_.query()));
    if (changesNothing())
        return "<p>There is nothing to confirm: no row would be changed and no conflict closed.</p>\n" + back;
    const std::string reasonField = fmt::format(
        "<label>Reason<input name=\"reason\" required maxlength=\"500\" value=\"{}\"></label>", escapeHtml(reason));
    return fmt::format("<form class=\"filter\" method=\"post\" action=\"{}confirm\">{}{}{}<button class=\"first\">Do it"
                       "</button>{}</form>\n",
                       root_, view_.hiddenFields(), hiddenField("plan", plan_.id),
                       plan_.decision.dismisses ? reasonField : "", back);
}
