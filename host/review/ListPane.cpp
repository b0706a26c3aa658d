#include "review/ListPane.h"

#include "html_page.h"
#include "review/Decision.h"
#include "review/html.h"

#include <fmt/format.h>

namespace {

std::string foundOften(const ConflictedRow& row)
{
    return row.records.size() == 1 ? "" : fmt::format(", found {} times", row.records.size());
}

std::string target(const char* value, const std::string& text, bool chosen)
{
    return fmt::format("<label><input type=\"radio\" name=\"all\" value=\"{}\"{}>{}</label>\n", value,
                       chosen ? " checked" : "", text);
}

} // namespace

std::string ListPane::html() const
{
    const ReviewView view = view_.showing(list_.selectedRow().latest().id, list_.selected());
    const size_t begin = list_.groupBegin();
    const size_t end = begin + list_.group().size();
    const std::string title = list_.rows().size() > ConflictList::kRowsOfAGroup
                                  ? fmt::format("Rows {} to {} of {}", begin + 1, end, list_.rows().size())
                                  : rowCount(end);
    return fmt::format("<form class=\"card list\" method=\"post\" action=\"{}resolve\">{}{}"
                       "<h2 id=\"list\" tabindex=\"-1\">{}</h2>\n{}<nav aria-label=\"Conflicts by table\">\n{}</nav>\n"
                       "{}</form>\n",
                       context_.root, view.hiddenFields(), hiddenField("found", std::to_string(list_.rows().size())),
                       title, otherGroups(), entries(), forSeveral());
}

std::string ListPane::otherGroups() const
{
    const size_t count = list_.rows().size();
    if (count <= ConflictList::kRowsOfAGroup)
        return {};
    const size_t begin = list_.groupBegin();
    const size_t lastBegin = (count - 1) / ConflictList::kRowsOfAGroup * ConflictList::kRowsOfAGroup;
    const auto link = [&](const char* text, size_t to, bool leads) {
        return leads ? fmt::format("<a href=\"{}\">{}</a> ",
                                   escapeHtml(context_.address(view_.showing(list_.rows()[to].latest().id))), text)
                     : fmt::format("<span class=\"soft\">{}</span> ", text);
    };
    const bool isFirst = begin == 0;
    const bool isLast = begin == lastBegin;
    return "<p class=\"steps\">" + link("First", 0, !isFirst) +
           link("Previous 50", isFirst ? 0 : begin - ConflictList::kRowsOfAGroup, !isFirst) +
           link("Next 50", isLast ? begin : begin + ConflictList::kRowsOfAGroup, !isLast) +
           link("Last", lastBegin, !isLast) + "</p>\n";
}

std::string ListPane::entries() const
{
    std::string entries;
    std::string table;
    for (const ConflictedRow& row : list_.group()) {
        if (entries.empty() || row.table != table) {
            entries += entries.empty() ? "" : "</ul>\n";
            table = row.table;
            entries += "<h3>" + escapeHtml(table) + "</h3>\n<ul>\n";
        }
        entries += entry(row);
    }
    return entries + "</ul>\n";
}

std::string ListPane::entry(const ConflictedRow& row) const
{
    const std::string& id = row.latest().id;
    const std::string name = escapeHtml(rowName(row));
    const std::string state =
        row.state == RowState::Waits ? "" : fmt::format("<strong>{}</strong>", stateName(row.state));
    return fmt::format("<li>{}<input type=\"checkbox\" name=\"id\" value=\"{}\" aria-label=\"Check {}\">"
                       "<a href=\"{}\"{}>{}<small>{}{}{}</small></a></li>\n",
                       hiddenField("listed", id), escapeHtml(id), name, escapeHtml(context_.address(view_.showing(id))),
                       &row == &list_.selectedRow() ? " aria-current=\"true\"" : "", name,
                       escapeHtml(kindName(row.latest().kind, context_.names)), foundOften(row), state);
}

/// The choices of this form are confirmed before anything is done.
std::string ListPane::forSeveral() const
{
    const size_t count = list_.rows().size();
    const size_t shown = list_.group().size();
    const auto button = [this](const Decision& decision) {
        return fmt::format("<button name=\"use\" value=\"{}\">{}…</button>\n", decision.word(),
                           escapeHtml(decision.caption(context_.names)));
    };
    return "<fieldset><legend>Several rows</legend>\n" + target("", "Apply to the checked rows", true) +
           target("listed", fmt::format("Apply to all {} shown", shown), false) +
           (count > shown ? target("yes", fmt::format("Apply to all {} that were found, shown or not", count), false)
                          : "") +
           (context_.configuration.site == LAPTOP ? button({.use = USE_SOURCE}) + button({.use = USE_DESTINATION})
                                                  : "") +
           button({.dismisses = true}) + "</fieldset>\n";
}
