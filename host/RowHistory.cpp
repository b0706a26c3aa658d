#include "RowHistory.h"

#include "SideNames.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "conflicts/DecisionLog.h"
#include "result_text.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fstream>
#include <functional>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

std::wstring upper(const std::wstring& text)
{
    return com::upperCase(text);
}

/// An entry of the component's log.
struct LogEntry
{
    /// As isoDate has it; empty for a date in another form than the user's.
    std::string time;
    std::wstring message;
};

/// The time before an entry's tag.
std::string logTime(std::wstring text)
{
    DATE date = 0;
    return SUCCEEDED(VarDateFromStr(text.data(), LOCALE_USER_DEFAULT, 0, &date)) ? isoDate(date) : std::string();
}

/// Reads a log entry by entry: an empty line, and a line with a time and a tag, begin one.
void forEachEntry(const std::string& path, const std::function<void(const LogEntry&)>& visit)
{
    constexpr std::array kTags{L": DEBUG: ", L": STAT : ", L": INFO : ", L": WARN : ", L": ERROR: "};
    std::ifstream file(toWide(path).c_str(), std::ios::binary);
    LogEntry entry;
    bool afterEmptyLine = false;
    for (std::string bytes; std::getline(file, bytes);) {
        if (bytes.ends_with('\r'))
            bytes.pop_back();
        const std::wstring line = fromAnsi(bytes);
        size_t tag = std::wstring::npos;
        for (const wchar_t* known : kTags)
            tag = std::min(tag, line.find(known));
        if (afterEmptyLine && tag != std::wstring::npos) {
            visit(entry);
            entry = {logTime(line.substr(0, tag)), line.substr(tag + std::size(L": DEBUG: ") - 1)};
        }
        else {
            entry.message += L"\n" + line;
        }
        afterEmptyLine = line.empty();
    }
    visit(entry);
}

/// The literals of an insert, by their place.
std::vector<std::wstring> literals(const std::wstring& list)
{
    std::vector<std::wstring> found(1);
    bool quoted = false;
    for (const wchar_t c : list) {
        if (c == L'\'')
            quoted = !quoted;
        if (!quoted && c == L',')
            found.emplace_back();
        else if (quoted || (c != L' ' && c != L'\''))
            found.back() += c;
    }
    for (std::wstring& literal : found)
        std::erase(literal, L'\'');
    return found;
}

/// Knows the statements and dumps of one row, as the component writes them.
class RowInLog
{
public:
    RowInLog(const KeyedTable& table, const std::wstring& key, const SideNames& names)
        : column_(upper(table.sKey)),
          key_(upper(key)),
          condition_(upper(L" where " + keyCondition(table, com::textVariant(key)))),
          update_(upper(L"Update " + table.sTable + L" set ")),
          remove_(upper(L"delete from " + table.sTable)),
          insert_(upper(L"Insert into " + table.sTable + L" (")),
          mismatch_(upper(L"Replication Discrepancy (mismatch) on table: " + table.sTable + L" --> Unid: " + key)),
          missing_(upper(L"Replication Discrepancy (delete) on table: " + table.sTable + L" --> Unid: " + key)),
          names_(names)
    {
    }

    /// What an entry tells of the row; empty for an entry of something else.
    std::string toldBy(const std::wstring& message) const
    {
        const std::wstring text = trimmedUpper(message);
        for (const auto& [connection, side] : {std::pair{kDestination, &names_.destination}, {kSource, &names_.source}})
            if (text.starts_with(connection))
                if (const char* told = statement(text.substr(std::wstring_view(connection).size())))
                    return fmt::format(fmt::runtime(told), *side);
        const std::wstring head = text.substr(0, text.find(L'\n'));
        if (head == mismatch_)
            return "A run left both copies as they were, and logged the columns that differ.";
        return head == missing_ ? "A run left the row as it was, and logged it: one side alone had it." : std::string();
    }

private:
    static constexpr wchar_t kDestination[] = L"CONNDESTINATION: ";
    static constexpr wchar_t kSource[] = L"CONNSOURCE: ";

    static std::wstring trimmedUpper(const std::wstring& message)
    {
        return upper(message.substr(0, message.find_last_not_of(L"\r\n") + 1));
    }

    const char* statement(const std::wstring& sql) const
    {
        if (sql.starts_with(update_) && sql.ends_with(condition_))
            return "A run sent the statement that overwrites the row of {}.";
        if (sql == remove_ + condition_)
            return "A run sent the statement that deletes the row at {}.";
        return sql.starts_with(insert_) && insertedKey(sql) == key_
                   ? "A run sent the statement that copies the row to {}."
                   : nullptr;
    }

    std::wstring insertedKey(const std::wstring& sql) const
    {
        constexpr std::wstring_view kBetween = L") VALUES (";
        const size_t end = sql.find(kBetween);
        if (end == std::wstring::npos)
            return {};
        const std::vector<std::wstring> columns = literals(sql.substr(insert_.size(), end - insert_.size()));
        const std::vector<std::wstring> values =
            literals(sql.substr(end + kBetween.size(), sql.size() - end - kBetween.size() - 1));
        const auto place = static_cast<size_t>(std::ranges::find(columns, column_) - columns.begin());
        return place < values.size() ? values[place] : std::wstring();
    }

    std::wstring column_;
    std::wstring key_;
    std::wstring condition_;
    std::wstring update_;
    std::wstring remove_;
    std::wstring insert_;
    std::wstring mismatch_;
    std::wstring missing_;
    const SideNames& names_;
};

std::string decisionText(const ordered_json& decision)
{
    const std::string choice = decision.value("choice", "");
    const std::string reason = decision.value("reason", "");
    const std::string outcome = decision.value("outcome", "");
    return fmt::format("{} decided: {}{}{}.", decision.value("user", "somebody"), choice,
                       reason.empty() ? reason : fmt::format(" ({})", reason),
                       outcome == choice ? std::string() : "; " + outcome);
}

} // namespace

ordered_json rowHistory(const Configuration& configuration, const KeyedTable& table, const ConflictedRow& row)
{
    const SideNames names(configuration);
    std::vector<std::pair<std::string, ordered_json>> events;
    const auto add = [&](const std::string& time, const std::string& order, const char* from, const std::string& text) {
        events.emplace_back(order, ordered_json{{"time", time.empty() ? ordered_json() : ordered_json(time)},
                                                {"from", from},
                                                {"text", text},
                                                {"entry", nullptr}});
    };
    const RowInLog known(table, toWide(row.key), names);
    std::string last;
    forEachEntry(configuration.logFile, [&](const LogEntry& entry) {
        last = entry.time.empty() ? last : entry.time;
        const std::string told = known.toldBy(entry.message);
        if (told.empty())
            return;
        add(entry.time, last, "log", told);
        events.back().second["entry"] = trimmed(toUtf8(entry.message));
    });
    for (const ConflictRecord& record : row.records) {
        const std::string found = record.found ? isoDate(*record.found) : std::string();
        add(found, found, "conflict",
            fmt::format("A run recorded a conflict, which waits: {} ({}).", kindName(record.kind, names), record.id));
    }
    for (const ordered_json& decision : DecisionLog::read(configuration))
        if (sameName(decision.value("table", ""), row.table) && sameName(decision.value("key", ""), row.key)) {
            std::string time = localTime(decision.value("time", ""));
            std::ranges::replace(time, ' ', 'T'); // as the other entries have theirs
            add(time, time, "decision", decisionText(decision));
        }
    std::ranges::stable_sort(events, {}, [](const auto& event) { return event.first; });
    ordered_json history = ordered_json::array();
    for (auto& event : events)
        history.push_back(std::move(event.second));
    return history;
}
