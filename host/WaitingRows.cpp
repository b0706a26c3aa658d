#include "WaitingRows.h"

#include "com/convert.h"
#include "db/forward_only.h"
#include "text.h"

#include <algorithm>
#include <iterator>

using namespace quinmark;

namespace {

std::pair<std::wstring, std::wstring> row(const std::wstring& table, const _variant_t& key)
{
    return {com::upperCase(table), com::upperCase(com::concatText(key))};
}

} // namespace

WaitingRows::WaitingRows(clsConn& local)
{
    ado::forEachRow(
        openForwardOnly(local, L"select unid, table_name, guid, patient_id from replication_conflict"),
        [this](const ado::Field& id, const ado::Field& table, const ado::Field& guid, const ado::Field& number) {
            const _variant_t key = guid.value();
            ids_.insert(toUtf8(com::concatText(id.value())));
            rows_.insert(row(com::concatText(table.value()), key.vt == VT_NULL ? number.value() : key));
        },
        L"unid", L"table_name", L"guid", L"patient_id");
}

bool WaitingRows::contains(const std::string& table, const _variant_t& key) const
{
    return !rows_.empty() && rows_.contains(row(toWide(table), key));
}

size_t WaitingRows::countNotIn(const WaitingRows& before) const
{
    return static_cast<size_t>(
        std::ranges::count_if(rows_, [&](const auto& one) { return !before.rows_.contains(one); }));
}

std::vector<std::string> WaitingRows::idsNotIn(const WaitingRows& before) const
{
    std::vector<std::string> ids;
    std::ranges::set_difference(ids_, before.ids_, std::back_inserter(ids));
    return ids;
}
