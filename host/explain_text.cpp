#include "explain_text.h"

#include "result_text.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

constexpr size_t kLineWidth = 100;
constexpr size_t kValueWidth = 36;
/// Characters of a long value in front of its first difference.
constexpr size_t kContext = 12;

bool beginsCharacter(char unit)
{
    return (static_cast<unsigned char>(unit) & 0xC0U) != 0x80U;
}

/// A part of a value in one line, by characters of UTF-8, with dots for what is left out.
std::string folded(const std::string& text, size_t from, size_t width)
{
    std::string part;
    size_t place = 0;
    for (const char unit : text) {
        place += beginsCharacter(unit) ? 1 : 0;
        if (place > from && place <= from + width)
            part += static_cast<unsigned char>(unit) < ' ' ? ' ' : unit;
    }
    return (from == 0 ? "" : "...") + part + (place > from + width ? "..." : "");
}

size_t characters(std::string_view text)
{
    return static_cast<size_t>(std::ranges::count_if(text, beginsCharacter));
}

/// Where the shown parts of two values begin, so that the first difference is in them.
size_t shownFrom(const std::string& left, const std::string& right)
{
    if (std::max(characters(left), characters(right)) <= kValueWidth)
        return 0;
    const auto differs = std::ranges::mismatch(left, right).in1;
    const size_t same = characters({left.begin(), differs});
    return same > kContext ? same - kContext : 0;
}

std::string valueText(const ordered_json& value, size_t from = 0, size_t width = kValueWidth)
{
    return value.is_null() ? "Null" : folded(resultText(value), from, width);
}

/// Texts with a separator between them, in lines of a width, each indented.
std::string wrapped(const std::vector<std::string>& texts, const std::string& separator)
{
    std::string lines;
    std::string line;
    for (const std::string& text : texts) {
        if (!line.empty() && characters(line) + characters(text) > kLineWidth) {
            lines += "    " + line + "\n";
            line.clear();
        }
        line += text + (&text == &texts.back() ? "" : separator);
    }
    return line.empty() ? lines : lines + "    " + line + "\n";
}

std::string sentence(std::string text)
{
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return text;
}

/// The copies side by side: differing columns one below the other, the others in a paragraph.
std::string copies(const ordered_json& row)
{
    std::vector<std::string> same;
    std::vector<std::string> lines;
    size_t widest = 0;
    for (const ordered_json& column : row["columns"])
        if (column["differs"] == true)
            widest = std::max(widest, characters(column["column"].get<std::string>()));
    const bool sourceHasIt = row["source"]["has_it"] == true;
    const bool bothHaveIt = sourceHasIt && row["destination"]["has_it"] == true;
    const auto add = [&](const std::string& name, const std::string& left, const std::string& right) {
        lines.push_back(bothHaveIt ? fmt::format("    {:<{}}  {:<{}}  {}\n", name, widest, left, kValueWidth + 6, right)
                                   : fmt::format("    {:<{}}  {}\n", name, widest, left));
    };
    for (const ordered_json& column : row["columns"]) {
        const std::string name = column["column"];
        if (column["differs"] == false) {
            same.push_back(name + " " + valueText(column["source"], 0, kValueWidth / 2));
        }
        else if (bothHaveIt) {
            const size_t from = shownFrom(resultText(column["source"]), resultText(column["destination"]));
            add(name, valueText(column["source"], from), valueText(column["destination"], from));
        }
        else {
            add(name, valueText(column[sourceHasIt ? "source" : "destination"], 0, 2 * kValueWidth), "");
        }
    }
    std::string text;
    if (!lines.empty() && bothHaveIt)
        text = fmt::format("    {:<{}}  {:<{}}  {}\n", "", widest, resultText(row["source"]["name"]), kValueWidth + 6,
                           resultText(row["destination"]["name"]));
    for (const std::string& line : lines)
        text += line;
    return same.empty() ? text : text + "  The same on both sides:\n" + wrapped(same, "; ");
}

std::string dateLine(const ordered_json& side)
{
    const std::string name = resultText(side["name"]);
    if (side["has_it"] == false)
        return sentence(name) + " has no such row.\n";
    if (side["mod_date"].is_null())
        return fmt::format("Changed at {}: at a time that is not known, mod_date is Null.\n", name);
    return fmt::format("Changed at {}: {}{}\n", name, resultText(side["mod_date"]),
                       side["since_last_run"].is_null() ? ""
                       : side["since_last_run"] == true ? ", since the last run"
                                                        : ", not since the last run");
}

std::string stopLines(const ordered_json& stops)
{
    std::string lines;
    for (const ordered_json& stop : stops) {
        const std::string table = resultText(stop["table"]);
        lines += fmt::format("    {}{}\n",
                             stop["this_row"] == true ? "this row: "
                             : table.empty()          ? ""
                                                      : table + ": ",
                             resultText(stop["text"]));
    }
    return lines.empty() ? lines : "As things are, a run does not begin:\n" + lines;
}

} // namespace

std::string explainText(const ordered_json& result)
{
    const ordered_json& row = result["row"];
    const std::string about = resultText(row["key_info"]);
    std::string text =
        fmt::format("{} {}{}\n", resultText(row["table"]), resultText(row["key"]), about.empty() ? "" : ": " + about) +
        copies(row) + "\n" + dateLine(row["source"]) + dateLine(row["destination"]) +
        fmt::format("The last run's interval ended: {}\n\n",
                    row["last_run"].is_null() ? "not known" : resultText(row["last_run"]));
    if (!row["method"].is_null())
        text += fmt::format("The table's method is {}.\n", resultText(row["method"]));
    for (const ordered_json& rule : row["rules"])
        text += rule["id"].is_null() ? resultText(rule["words"]) + "\n"
                                     : fmt::format("{} (rule {} of the document \"How tables are replicated\")\n",
                                                   resultText(rule["words"]), resultText(rule["id"]));
    text += "\n" + resultText(row["next_run"]["text"]) + "\n" + stopLines(row["next_run"]["stops"]);
    if (!row["conflict"].is_null())
        text +=
            fmt::format("A conflict of the row waits: decide it with `quinrep review`, or see what `quinrep conflicts "
                        "show {}` offers.\n",
                        resultText(row["conflict"]));
    text += "\n";
    text += row["history"].empty() ? "So far: nothing is recorded.\n" : "So far:\n";
    for (const ordered_json& event : row["history"])
        text += fmt::format("    {}  {}\n", event["time"].is_null() ? "at an unknown time" : resultText(event["time"]),
                            resultText(event["text"]));
    return text;
}
