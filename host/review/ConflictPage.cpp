#include "review/ConflictPage.h"

#include "com/convert.h"
#include "html_page.h"
#include "review/ConflictDetail.h"
#include "review/ListPane.h"
#include "review/html.h"
#include "text.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

std::string option(const std::string& value, const std::string& text, const std::string& chosen)
{
    const bool isChosen = com::upperCase(toWide(value)) == com::upperCase(toWide(chosen));
    return fmt::format("<option value=\"{}\"{}>{}</option>", escapeHtml(value), isChosen ? " selected" : "",
                       escapeHtml(text));
}

} // namespace

std::string ConflictPage::html(const std::string& messages, const ordered_json& recorded) const
{
    constexpr char kSkip[] = "<p class=\"skip\"><a href=\"#selected\">Skip to the conflict</a> "
                             "<a href=\"#list\">Skip to the list</a></p>\n";
    const bool hasRows = !list_.rows().empty();
    const char* none = list_.waiting() == 0 ? "<p class=\"card detail\">No conflicts wait.</p>\n"
                                            : "<p class=\"card detail\">No conflict fits the filter.</p>\n";
    return (hasRows ? kSkip : "") + heading() + "<main>\n" + messages + "<div class=\"review\">\n" + filterForm() +
           (hasRows ? ListPane(context_, list_, view_).html() + ConflictDetail(context_, list_, view_).html(recorded)
                    : none) +
           "</div>\n</main>\n";
}

std::string ConflictPage::heading() const
{
    const SideNames& names = context_.names;
    return fmt::format("<header><h1>Conflicts at {}</h1><p class=\"soft\">{} waiting in {}</p>"
                       "<form method=\"get\" action=\"{}end\">{}<button>End the review…</button></form></header>\n",
                       context_.configuration.localIsSource ? names.source : names.destination, list_.waiting(),
                       escapeHtml(context_.configuration.local().dsn), context_.root, view_.hiddenFields());
}

std::string ConflictPage::filterForm() const
{
    const ConflictFilter& filter = view_.filter;
    std::map<std::string, size_t> tables = list_.tables();
    if (!filter.table.empty() && list_.rows().empty())
        tables.try_emplace(filter.table, 0);
    std::string tableOptions = option("", "All tables", filter.table);
    for (const auto& [table, count] : tables)
        tableOptions += option(table, fmt::format("{} ({})", table, count), filter.table);
    std::string kindOptions = option("", "All kinds", filter.kind);
    for (const std::string& word : kindWords())
        kindOptions += option(word, kindName(kindOfWord(word), context_.names), filter.kind);
    return fmt::format(
        "<form class=\"card filter\" method=\"get\" action=\"{0}\" role=\"search\">{6}"
        "<label>Table<select name=\"table\">{1}</select></label><label>Kind<select name=\"kind\">{2}</select></label>"
        "<label>Description, table or kind contains<input type=\"search\" name=\"text\" value=\"{3}\"></label>"
        "<label>Last found before<input type=\"date\" name=\"before\" value=\"{4}\"></label>"
        "<button>Show</button>{5}</form>\n",
        context_.root, tableOptions, kindOptions, escapeHtml(filter.contains), escapeHtml(filter.before),
        view_.isFiltered() ? fmt::format("<p class=\"soft\">{} found · <a href=\"{}\">Show all</a></p>",
                                         list_.rows().size(), context_.root)
                           : "",
        view_.equalToo.empty() ? "" : hiddenField("equal", view_.equalToo));
}
