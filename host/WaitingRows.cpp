#include "WaitingRows.h"

#include "com/convert.h"
#include "db/forward_only.h"
#include "text.h"

namespace {

std::pair<std::wstring, std::wstring> row(const std::wstring& table, const _variant_t& key)
{
    return {com::upperCase(table), com::upperCase(com::concatText(key))};
}

} // namespace

WaitingRows::WaitingRows(clsConn& local)
{
    ado::forEachRow(
        openForwardOnly(local, L"select table_name, guid, patient_id from replication_conflict"),
        [this](const ado::Field& table, const ado::Field& guid, const ado::Field& number) {
            const _variant_t key = guid.value();
            rows_.insert(row(com::concatText(table.value()), key.vt == VT_NULL ? number.value() : key));
        },
        L"table_name", L"guid", L"patient_id");
}

bool WaitingRows::contains(const std::string& table, const _variant_t& key) const
{
    return !rows_.empty() && rows_.contains(row(toWide(table), key));
}
