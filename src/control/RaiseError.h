#pragma once

#include <string>

namespace Common {

/// Number of the conditions that the component finds itself; reaches the host as 0x800403E8.
inline constexpr long kOwnError = 1000;

/// Raises an error on behalf of the routine `sSource`; never returns. In this order:
/// 1 becomes 0x80040001; the description "Exiting method" keeps the number and gets the text of the error in flight;
/// 0 and 513 or more are moved to 0x80040000 plus the number; all else stays as it is.
[[noreturn]] void RaiseError(const std::wstring& sSource, long lNumber, const std::wstring& sDescription);

/// The end of every error trap: raises the error in flight again, tagged with the routine that caught it.
[[noreturn]] void reraise(const std::wstring& sSource);

} // namespace Common
