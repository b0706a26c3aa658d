#include "commands/report_chart.h"

#include "History.h"
#include "html_page.h"
#include "html_table.h"
#include "result_text.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <map>
#include <vector>

using nlohmann::ordered_json;

namespace {

constexpr size_t kRuns = 30;
constexpr char kResult[] = "Result";
constexpr char kRowsChanged[] = "Rows changed";
constexpr char kNewConflicts[] = "New conflicts";
/// Units of the drawing: the place of a run, its bar, the height of the highest one, and the line that all stand on.
constexpr int kPlace = 20;
constexpr int kBar = 14;
constexpr int kHighest = 96;
constexpr int kBase = 118;
constexpr int kWidth = kPlace * static_cast<int>(kRuns);

/// The rows that a run added, changed and deleted on both sides; 0 where it did not write.
long long changedRows(const ordered_json& run)
{
    long long sum = 0;
    for (const char* counter : {"adds", "updates", "deletes", "source_adds", "source_updates", "source_deletes"})
        sum += run[counter].is_number() ? run[counter].get<long long>() : 0;
    return sum;
}

std::string minuteOf(const ordered_json& time)
{
    return localTime(time).substr(0, 16);
}

std::string outcomeWords(const ordered_json& run)
{
    static const std::map<std::string, const char*> kWords = {
        {"done", "went through"},        {"conflicts", "went through, with conflicts"}, {"failed", "failed"},
        {"refused", "did not begin"},    {"stopped", "stopped before it began"},        {"running", "goes on"},
        {"broken off", "was broken off"}};
    return kWords.at(resultText(run["outcome"]));
}

std::string symbol(const char* kind, const std::string& path)
{
    return fmt::format("<path class=\"{}\" d=\"{}\"/>", kind, path);
}

std::string cross(int x, int y)
{
    return symbol("fault", fmt::format("M{} {}l10 10m0 -10l-10 10", x - 5, y - 5));
}

std::string diamond(int x, int y)
{
    return symbol("waits", fmt::format("M{} {}l6 6l-6 6l-6 -6z", x, y - 6));
}

/// By the square root, so that the first copy of all rows leaves something to be seen of the other nights.
int heightOf(long long rows, long long most)
{
    return static_cast<int>(kHighest * std::sqrt(static_cast<double>(rows) / static_cast<double>(most)));
}

/// A run: a bar for the rows that it changed, with a diamond on top for conflicts, or a cross.
std::string drawn(const ordered_json& run, int left, long long most)
{
    const int middle = left + kPlace / 2;
    std::string shapes;
    if (wentThrough(run)) {
        const long long rows = changedRows(run);
        const int height = rows == 0 ? 1 : std::max(3, heightOf(rows, most));
        shapes = fmt::format("<rect class=\"bar\" x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"/>",
                             left + (kPlace - kBar) / 2, kBase - height, kBar, height);
        if (run["outcome"] == "conflicts")
            shapes += diamond(middle, kBase - height - 9);
    }
    else if (run["outcome"] != "running")
        shapes = cross(middle, kBase - 10);
    return fmt::format("<g><title>{}: {}, {} rows</title>{}</g>\n", minuteOf(run["began"]), outcomeWords(run),
                       changedRows(run), shapes);
}

std::string legend(const char* text, const std::string& shape)
{
    return fmt::format("<span><svg class=\"symbol\" viewBox=\"0 0 16 16\" aria-hidden=\"true\">{}</svg> {}</span>",
                       shape, text);
}

std::string drawing(const std::vector<ordered_json>& runs, long long most)
{
    std::string shapes;
    int left = kWidth - kPlace * static_cast<int>(runs.size());
    for (const ordered_json& run : runs) {
        shapes += drawn(run, left, most);
        left += kPlace;
    }
    return fmt::format(
               "<svg class=\"chart\" viewBox=\"0 0 {0} {1}\" role=\"img\" aria-label=\"The last {2} runs, oldest "
               "first; the table below says the same\">\n{3}<path class=\"base\" d=\"M0 {1}H{0}\"/></svg>\n"
               "<p class=\"soft ends\"><span>{4}</span><span>{5}</span></p>\n",
               kWidth, kBase, runs.size(), shapes, minuteOf(runs.front()["began"]), minuteOf(runs.back()["began"])) +
           "<p class=\"soft legend\">" +
           legend(fmt::format("rows changed by a run, {} at most", most).c_str(),
                  "<rect class=\"bar\" x=\"3\" y=\"2\" width=\"10\" height=\"14\"/>") +
           legend("conflicts were found", diamond(8, 8)) + legend("the run did not go through", cross(8, 8)) + "</p>\n";
}

std::string row(const ordered_json& run)
{
    std::string result = outcomeWords(run);
    if (const std::string error = resultText(run["error"]); !wentThrough(run) && !error.empty())
        result += fmt::format("<br><small>{}</small>", escapeHtml(error));
    return tableRow(
        rowHeading(minuteOf(run["began"])) + tableCell(kResult, result) +
        tableCell(kRowsChanged, std::to_string(changedRows(run)), kNumber) +
        tableCell(kNewConflicts, run["conflicts_new"].is_null() ? "-" : resultText(run["conflicts_new"]), kNumber));
}

} // namespace

std::string runsChart(const ordered_json& runs)
{
    const std::vector<ordered_json> shown(runs.end() - static_cast<std::ptrdiff_t>(std::min(runs.size(), kRuns)),
                                          runs.end());
    if (shown.size() < 2)
        return {};
    long long most = 0;
    std::string rows;
    for (const ordered_json& run : shown) {
        most = std::max(most, wentThrough(run) ? changedRows(run) : 0);
        rows = row(run) + rows;
    }
    const std::string headings = columnHeading("Began") + columnHeading(kResult) +
                                 columnHeading(kRowsChanged, kNumber) + columnHeading(kNewConflicts, kNumber);
    return fmt::format("<section class=\"card runs\"><h2>The last {} runs</h2>\n{}<details><summary>The same as a "
                       "table</summary>\n{}</details></section>\n",
                       shown.size(), drawing(shown, std::max(most, 1LL)), wideTable(headings, rows));
}
