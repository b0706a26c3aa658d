#pragma once

#include <string>
#include <string_view>

namespace adodb {

/// Whether a plain name may contain the character.
bool isNameCharacter(wchar_t c) noexcept;

/// `[name]` as PostgreSQL takes it. A plain name goes out bare, so that it folds to lower case as unquoted names in the
/// same database do; a reserved word is quoted in lower case, because quoting keeps the case; any other name is quoted
/// as it is.
std::wstring postgresName(std::wstring_view bracketed);

} // namespace adodb
