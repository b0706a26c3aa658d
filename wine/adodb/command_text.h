#pragma once

#include "parameter_data.h"

#include <span>
#include <string>

namespace adodb {

/// The statement for a command: text goes as it is, a procedure's name becomes ODBC's call with a marker for each
/// parameter, a table's name the query of its rows. `options` is a CommandTypeEnum, alone or with ExecuteOptionEnum
/// bits; unspecified and unknown are text. Raises 3001 for another type, or for an empty text.
std::wstring textOfCommand(const std::wstring& text, long options, std::span<ParameterData* const> parameters);

/// Whether the options ask for no recordset (adExecuteNoRecords).
bool wantsNoRecords(long options) noexcept;

} // namespace adodb
