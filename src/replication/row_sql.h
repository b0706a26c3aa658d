#pragma once

#include "ado/Recordset.h"
#include "ado/constants.h"

#include <string>
#include <string_view>

namespace quinmark {

/// How a column's value is written, by its ADO type.
enum class LiteralForm
{
    Unsupported,
    Number,
    Bit,
    Guid,
    Text,
    Date,
};

constexpr LiteralForm literalForm(long type)
{
    switch (type) {
    case ado::adSmallInt:
    case ado::adInteger:
    case ado::adDouble:
    case ado::adCurrency:
        return LiteralForm::Number;
    case ado::adBoolean:
        return LiteralForm::Bit;
    case ado::adGUID:
        return LiteralForm::Guid;
    case ado::adChar:
    case ado::adVarChar:
        return LiteralForm::Text;
    case ado::adDBTimeStamp:
        return LiteralForm::Date;
    default:
        return LiteralForm::Unsupported;
    }
}

} // namespace quinmark

/// One row of a recordset as SQL text. The builders run nothing and use the columns in their order, by their names as
/// they are. Failures are raised with the routine and its table as source ("Utils.getUpdateSql(patient)").
namespace Utils {

/// "Update sTable set ... where sWhere" with every column that is kept.
std::wstring getUpdateSql(const ado::Recordset& rs, const std::wstring& sTable, const std::wstring& sWhere);

/// "Insert into sTable (...) values (...)" with every column that is kept.
std::wstring getInsertSql(const ado::Recordset& rs, const std::wstring& sTable);

/// A column's value as an SQL literal. A type that is not supported shows a message box and gives an empty text.
std::wstring getValue(const ado::Field& fld);

/// The statements that rewrite a parent row's rows in the dependent table on the destination, where `sSourceDB` names
/// the source's database; empty for a table that has none.
std::wstring getDependentSql(const std::wstring& sDependentTable, const _variant_t& vKey,
                             const std::wstring& sSourceDB);

/// Whether a column is left out: PATIENT's LOCK_F always, MOD_DATE when asked. Names are compared without case.
bool isSkipField(std::wstring_view sTable, std::wstring_view sField, bool bSkipModDate);

} // namespace Utils
