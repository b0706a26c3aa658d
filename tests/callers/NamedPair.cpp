#include "NamedPair.h"

namespace {

constexpr short kVarChar = 200;
constexpr short kBoolean = 11;
constexpr short kTimeStamp = 135;
constexpr DATE kLastRun = 46341.5;

_variant_t text(const std::wstring& value)
{
    return _variant_t(value.c_str());
}

_variant_t date(DATE value)
{
    return _variant_t(value, VT_DATE);
}

bool has(const std::wstring& statement, const std::wstring& part)
{
    return statement.find(part) != std::wstring::npos;
}

} // namespace

AdoAnswer NamedPair::answer(const std::wstring& connection, const std::wstring& statement) const
{
    const bool mayConflict = has(statement, L"shortcut");
    if (has(statement, L" join "))
        return changedRows(mayConflict || has(statement, L"nrv_mod_date"));
    if (has(statement, L"mod_date from " + sourcePrefix()))
        return missingRows(L"new", missingInDestination(), kLastRun + 0.25);
    if (has(statement, L"mod_date from " + destinationPrefix()))
        return missingRows(L"gone", missingInSource(), kLastRun + (mayConflict || mayDelete(statement) ? -1 : 0.25));
    if (has(statement, L"elect * from ") && has(statement, L"'" + name_))
        return row(connection, statement);
    if (statement.starts_with(L"select item_name"))
        return adoTexts(L"item_name", {L"item of " + connection});
    if (statement.starts_with(L"insert into ") && has(statement, L" select * "))
        return adoAffected(copied());
    if (statement == L"InsertReplicationConflict")
        return {{}, 0, {{0, text(L"{conflict of " + name_ + L"}")}}};
    return control(statement);
}

/// Old rows that only one side has would be announced in boxes by two-way runs, and be in conflict at a laptop.
bool NamedPair::mayDelete(const std::wstring& statement) const
{
    return isOffices() && !has(statement, L"both");
}

AdoAnswer NamedPair::control(const std::wstring& statement) const
{
    if (statement.starts_with(L"Select [id] from control"))
        return adoTexts(L"id", {L"12", L"3.46"});
    if (statement.starts_with(L"select ready_f"))
        return {{{{L"ready_f", kBoolean}, {L"error_f", kBoolean}, {L"error_message", kVarChar}},
                 {{true, true, text(L"earlier error of " + name_)}}},
                0,
                {}};
    if (statement.starts_with(L"select * from replication_control"))
        return {{{{L"last_timestamp", kTimeStamp}}, {{date(kLastRun)}}}, 0, {}};
    if (has(statement, L"getdate() from control"))
        return {{{{L"", kTimeStamp}}, {{date(kLastRun + 1 + number_)}}}, 0, {}};
    return adoAffected(1);
}

AdoAnswer NamedPair::changedRows(bool lastIsNewerInDestination) const
{
    AdoAnswer answer{{{{L"unid", kVarChar},
                       {L"src_mod_date", kTimeStamp},
                       {L"dest_mod_date", kTimeStamp},
                       {L"nrv_mod_date", kTimeStamp},
                       {L"zt_mod_date", kTimeStamp}},
                      {}},
                     0,
                     {}};
    for (int index = 0; index < changed(); ++index) {
        const bool last = lastIsNewerInDestination && index + 1 == changed();
        const _variant_t source = date(kLastRun + (last ? -1 : 0.5));
        const _variant_t destination = date(kLastRun + (last ? 0.5 : -1));
        answer.rows.rows.push_back({text(key(L"changed", index)), source, destination, source, destination});
    }
    return answer;
}

AdoAnswer NamedPair::missingRows(const wchar_t* kind, int count, DATE modified) const
{
    AdoAnswer answer{{{{L"unid", kVarChar}, {L"mod_date", kTimeStamp}}, {}}, 0, {}};
    for (int index = 0; index < count; ++index)
        answer.rows.rows.push_back({text(key(kind, index)), date(modified)});
    return answer;
}

AdoAnswer NamedPair::row(const std::wstring& connection, const std::wstring& statement) const
{
    const size_t begin = statement.rfind(L" = '") + 4;
    const std::wstring found = statement.substr(begin, statement.size() - begin - 1);
    return {{{{L"unid", kVarChar}, {L"item_name", kVarChar}, {L"mod_date", kTimeStamp}},
             {{text(found), text(found + L" of " + connection), date(kLastRun + 0.5)}}},
            0,
            {}};
}
