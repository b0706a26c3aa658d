#include "RandomAnswers.h"

#include <functional>
#include <span>

namespace {

constexpr short kInteger = 3;
constexpr short kDate = 135;
constexpr short kBoolean = 11;
constexpr short kText = 200;
constexpr short kLongText = 201;
constexpr short kGuid = 72;
constexpr short kUnsupported = 9999;

} // namespace

AdoAnswer RandomAnswers::operator()(const std::wstring& statement)
{
    if (!calm && dice_.oneIn(30))
        throw AdoFailure{dice_.oneOf({E_FAIL, E_OUTOFMEMORY, static_cast<HRESULT>(0x80040E14)}),
                         dice_.oneIn(4) ? L"" : L"The server says no", L"Provider",
                         dice_.oneIn(2) ? AdoMoment::Before : AdoMoment::After};
    AdoAnswer answer;
    answer.affected = dice_.oneIn(5) ? static_cast<long>(dice_.below(3)) : 1;
    if (statement.find(L"select") == 0 || statement.find(L"Select") == 0)
        answer.rows = rows();
    answer.outputs[0] = _variant_t(static_cast<long>(dice_.below(3)));
    return answer;
}

/// The first column of a row is what `select top 1 getdate()` and counts read, too.
AdoRows RandomAnswers::rows()
{
    const auto when = [&] { return _variant_t(45000.0 + static_cast<double>(dice_.below(5)) / 3, VT_DATE); };
    const auto number = [&](size_t below) { return _variant_t(static_cast<long>(dice_.below(below))); };
    struct Column
    {
        const wchar_t* name;
        short type;
        std::function<_variant_t()> value;
    };
    const Column columns[] = {{L"mod_date", kDate, when},
                              {L"unid", kInteger, [&] { return number(4); }},
                              {L"id", kText, [] { return L"3.46"; }},
                              {L"ready_f", kBoolean, [&] { return dice_.oneIn(2); }},
                              {L"error_f", kBoolean, [&] { return dice_.oneIn(4); }},
                              {L"error_message", kText, [] { return L"earlier failure"; }},
                              {L"last_timestamp", kDate, when},
                              {L"unique_key", kGuid, [] { return L"{0CCCC1CB-870D-424E-AE26-DA2F1294AC8C}"; }},
                              {L"table_name", kText, [] { return L"users"; }},
                              {L"patient_id", kInteger, [] { return 7L; }},
                              {L"guid", kGuid, [] { return L"{0CCCC1CB-870D-424E-AE26-DA2F1294AC8D}"; }},
                              {L"conflict_type", kInteger, [&] { return number(7); }},
                              {L"key_info", kText, [] { return L"O'Hara"; }},
                              {L"source_mod_date", kDate, when},
                              {L"destination_mod_date", kDate, when},
                              {L"last_replicate_date", kDate, when},
                              {L"memo", kLongText, [] { return L"text\r\nof two lines"; }}};
    const size_t width = dice_.oneIn(20) ? 1 + dice_.below(std::size(columns)) : std::size(columns);
    const size_t count = dice_.oneIn(3) ? 0 : 1 + dice_.below(3);
    AdoRows rows;
    rows.rows.resize(count);
    for (const Column& column : std::span(columns).first(width)) {
        rows.columns.push_back({column.name, column.type});
        for (std::vector<_variant_t>& row : rows.rows)
            row.push_back(column.value());
    }
    if (dice_.oneIn(20))
        rows.columns.front().type = kUnsupported;
    for (std::vector<_variant_t>& row : rows.rows) {
        if (dice_.oneIn(4))
            row[dice_.below(width)] = adoNull();
        if (dice_.oneIn(10))
            row[dice_.below(width)] = _variant_t(L"no such thing");
    }
    return rows;
}
