#pragma once

#include <comdef.h>

#include <string>
#include <string_view>

/// Decimal numbers in the database's spelling, `[-]digits[.digits]`. All conversions are exact: what does not fit
/// raises 6 (overflow), what is no number 13.
namespace adodb {

DECIMAL decimalOfText(std::string_view text);
std::string decimalText(const DECIMAL& value);
CY currencyOfText(std::string_view text);

} // namespace adodb
