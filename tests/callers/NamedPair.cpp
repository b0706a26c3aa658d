#include "NamedPair.h"

namespace {

constexpr DATE kLastRun = 46341.5;

_variant_t text(const std::wstring& value)
{
    return _variant_t(value.c_str());
}

_variant_t date(DATE value)
{
    return _variant_t(value, VT_DATE);
}

} // namespace

AdoAnswer NamedPair::answer(const std::wstring& connection, const std::wstring& statement) const
{
    const auto has = [&statement](const std::wstring& part) { return statement.find(part) != std::wstring::npos; };
    const bool mayConflict = has(L"shortcut");
    if (has(L" join "))
        return changedRows(mayConflict || has(L"nrv_mod_date"));
    if (has(L"mod_date from " + sourcePrefix()))
        return missingRows(L"new", missingInDestination(), kLastRun + 0.25);
    // Old rows that only one side has would be announced in boxes by two-way runs, and be in conflict at a laptop.
    if (has(L"mod_date from " + destinationPrefix()))
        return missingRows(L"gone", missingInSource(),
                           kLastRun + (mayConflict || (isOffices() && !has(L"both")) ? -1 : 0.25));
    if (has(L"elect * from ") && has(L"'" + name_)) {
        const size_t begin = statement.rfind(L" = '") + 4;
        const std::wstring key = statement.substr(begin, statement.size() - begin - 1);
        return adoRows({L"unid", L"item_name", L"mod_date"},
                       {{text(key), text(key + L" of " + connection), date(kLastRun + 0.5)}});
    }
    if (statement.starts_with(L"select item_name"))
        return adoTexts(L"item_name", {L"item of " + connection});
    if (statement.starts_with(L"insert into ") && has(L" select * "))
        return adoAffected(copied());
    if (statement == L"InsertReplicationConflict")
        return {{}, 0, {{0, text(L"{conflict of " + name_ + L"}")}}};
    if (statement.starts_with(L"Select [id] from control"))
        return adoTexts(L"id", {L"12", L"3.46"});
    if (statement.starts_with(L"select ready_f"))
        return adoRows({L"ready_f", L"error_f", L"error_message"}, {{true, true, text(L"earlier error of " + name_)}});
    if (statement.starts_with(L"select * from replication_control"))
        return adoRows({L"last_timestamp"}, {{date(kLastRun)}});
    if (has(L"getdate() from control"))
        return adoRows({L""}, {{date(kLastRun + 1 + number_)}});
    return adoAffected(1);
}

AdoAnswer NamedPair::changedRows(bool lastIsNewerInDestination) const
{
    std::vector<std::vector<_variant_t>> rows;
    for (int index = 0; index < changed(); ++index) {
        const bool last = lastIsNewerInDestination && index + 1 == changed();
        const _variant_t source = date(kLastRun + (last ? -1 : 0.5));
        const _variant_t destination = date(kLastRun + (last ? 0.5 : -1));
        rows.push_back({text(key(L"changed", index)), source, destination, source, destination});
    }
    return adoRows({L"unid", L"src_mod_date", L"dest_mod_date", L"nrv_mod_date", L"zt_mod_date"}, std::move(rows));
}

AdoAnswer NamedPair::missingRows(const wchar_t* kind, int count, DATE modified) const
{
    std::vector<std::vector<_variant_t>> rows;
    for (int index = 0; index < count; ++index)
        rows.push_back({text(key(kind, index)), date(modified)});
    return adoRows({L"unid", L"mod_date"}, std::move(rows));
}
