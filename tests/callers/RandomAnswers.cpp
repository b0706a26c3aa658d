#include "RandomAnswers.h"

#include "com/convert.h"

namespace {

constexpr short kInteger = 3;
constexpr short kDate = 135;
constexpr short kBoolean = 11;
constexpr short kText = 200;
constexpr short kLongText = 201;
constexpr short kGuid = 72;
constexpr short kUnsupported = 9999;

/// The first column of a row is what `select top 1 getdate()` and counts read, too.
const std::vector<AdoColumn> kColumns = {{L"mod_date", kDate},
                                         {L"unid", kInteger},
                                         {L"id", kText},
                                         {L"ready_f", kBoolean},
                                         {L"error_f", kBoolean},
                                         {L"error_message", kText},
                                         {L"last_timestamp", kDate},
                                         {L"unique_key", kGuid},
                                         {L"table_name", kText},
                                         {L"patient_id", kInteger},
                                         {L"guid", kGuid},
                                         {L"conflict_type", kInteger},
                                         {L"key_info", kText},
                                         {L"source_mod_date", kDate},
                                         {L"destination_mod_date", kDate},
                                         {L"last_replicate_date", kDate},
                                         {L"memo", kLongText}};

_variant_t date(double value)
{
    return _variant_t(value, VT_DATE);
}

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

AdoRows RandomAnswers::rows()
{
    AdoRows rows{kColumns, {}};
    if (dice_.oneIn(20))
        rows.columns.front().type = kUnsupported;
    if (dice_.oneIn(20))
        rows.columns.resize(1 + dice_.below(rows.columns.size()));
    const size_t count = dice_.oneIn(3) ? 0 : 1 + dice_.below(3);
    for (size_t index = 0; index < count; ++index) {
        rows.rows.push_back(row());
        rows.rows.back().resize(rows.columns.size());
    }
    return rows;
}

std::vector<_variant_t> RandomAnswers::row()
{
    const auto when = [&] { return date(45000.0 + static_cast<double>(dice_.below(5)) / 3); };
    std::vector<_variant_t> row = {when(),
                                   key(),
                                   _variant_t(L"3.46"),
                                   _variant_t(dice_.oneIn(2)),
                                   _variant_t(dice_.oneIn(4)),
                                   _variant_t(L"earlier failure"),
                                   when(),
                                   _variant_t(L"{0CCCC1CB-870D-424E-AE26-DA2F1294AC8C}"),
                                   _variant_t(L"users"),
                                   _variant_t(7L),
                                   _variant_t(L"{0CCCC1CB-870D-424E-AE26-DA2F1294AC8D}"),
                                   _variant_t(static_cast<long>(dice_.below(7))),
                                   _variant_t(L"O'Hara"),
                                   when(),
                                   when(),
                                   when(),
                                   _variant_t(L"text\r\nof two lines")};
    if (dice_.oneIn(4))
        row[dice_.below(row.size())] = adoNull();
    if (dice_.oneIn(10))
        row[dice_.below(row.size())] = _variant_t(L"no such thing");
    return row;
}

_variant_t RandomAnswers::key()
{
    return _variant_t(static_cast<long>(dice_.below(4)));
}
