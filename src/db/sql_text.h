#pragma once

#include <string>
#include <string_view>

/// Text as SQL literals.
namespace Common {

/// 's' with its apostrophes doubled; Null for an empty text. With a wildcard flag: see SqlLikePattern.
std::wstring SqlQuote(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard);

/// Appends to `sql` what SqlQuote without a wildcard flag gives.
void appendSqlQuote(std::wstring& sql, std::wstring_view s);

/// A LIKE pattern: 's' with its apostrophes doubled and "%" put before or after it; '%' for an empty text whatever the
/// flags. Wildcard characters inside `s` stay wildcards.
std::wstring SqlLikePattern(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard);

} // namespace Common
