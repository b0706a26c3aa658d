#include "RunStop.h"

#include "com/convert.h"
#include "conflicts/key_info.h"
#include "db/forward_only.h"
#include "text.h"

#include <algorithm>
#include <initializer_list>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// Rows of a stop that are described; the others are listed by their keys.
constexpr size_t kDescribedRows = 100;

bool isNumber(const std::wstring& text)
{
    return !text.empty() && std::ranges::all_of(text, [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

void addTo(ordered_json& rows, Databases& databases, const std::string& table, const _variant_t& key)
{
    const bool described = rows.size() < kDescribedRows;
    rows.push_back({{"key", toUtf8(com::concatText(key))},
                    {"key_info", described ? describeRow(databases, table, key) : std::string()}});
}

} // namespace

const char* reasonName(StopReason reason)
{
    switch (reason) {
    case StopReason::Deletes:
        return "deletes";
    case StopReason::Updates:
        return "updates";
    case StopReason::WaitingConflict:
        return "waiting_conflict";
    case StopReason::WillFail:
        return "will_fail";
    case StopReason::Interval:
        return "interval";
    case StopReason::Hook:
        return "hook";
    case StopReason::MessageBoxes:
        break;
    }
    return "message_boxes";
}

bool isPassed(StopReason reason, bool force, bool attended)
{
    return reason == StopReason::MessageBoxes ? attended : force;
}

ordered_json RunStop::toJson() const
{
    return {{"reason", reasonName(reason)}, {"table", table}, {"rows", rows}, {"text", text}};
}

void TableStops::addRow(StopReason reason, const std::string& text, const _variant_t& key)
{
    RunStop& stop = find(reason, text);
    addTo(stop.rows, databases_, table_, key);
}

RunStop& TableStops::find(StopReason reason, const std::string& text)
{
    const auto found =
        std::ranges::find_if(stops_, [&](const RunStop& stop) { return stop.reason == reason && stop.text == text; });
    return found != stops_.end() ? *found : stops_.emplace_back(RunStop{reason, table_, text});
}

std::string describeRow(Databases& databases, const std::string& table, const _variant_t& key)
{
    const std::wstring name = toWide(table);
    if (!isSafeKey(key) || (hasNumericKey(name) && !isNumber(com::concatText(key))))
        return {};
    const std::wstring sql = keyInfoSql(name, key);
    if (sql.empty())
        return {};
    for (clsConn* side : {&databases.destination(), &databases.source()}) {
        try {
            ado::Recordset rs = openForwardOnly(*side, sql);
            const std::wstring text = rs.eof() ? L"" : com::concatText(rs.field(0).value());
            rs.close();
            if (!text.empty())
                return toUtf8(text);
        }
        catch (const com::Error&) {
            // A description is a help for the reader; the key stands without it.
            return {};
        }
    }
    return {};
}

ordered_json listRows(Databases& databases, const std::string& table, const std::vector<_variant_t>& keys)
{
    ordered_json rows = ordered_json::array();
    for (const _variant_t& key : keys)
        addTo(rows, databases, table, key);
    return rows;
}

bool isSafeKey(const _variant_t& key)
{
    return com::concatText(key).find(L'\'') == std::wstring::npos;
}
