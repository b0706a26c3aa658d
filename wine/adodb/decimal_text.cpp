#include "decimal_text.h"

#include "com/error.h"

#include <algorithm>
#include <charconv>

namespace adodb {

namespace {

/// value * 10 + digit in the 96 bits of a DECIMAL; false on overflow.
bool appendDigit(DECIMAL& value, unsigned digit)
{
    const auto low = static_cast<ULONGLONG>(value.Lo32) * 10 + digit;
    const auto middle = static_cast<ULONGLONG>(value.Mid32) * 10 + (low >> 32);
    const auto high = static_cast<ULONGLONG>(value.Hi32) * 10 + (middle >> 32);
    value.Lo32 = static_cast<ULONG>(low);
    value.Mid32 = static_cast<ULONG>(middle);
    value.Hi32 = static_cast<ULONG>(high);
    return high >> 32 == 0;
}

/// value / 10, giving the remainder.
unsigned removeDigit(DECIMAL& value)
{
    ULONGLONG rest = 0;
    for (ULONG* part : {&value.Hi32, &value.Mid32, &value.Lo32}) {
        rest = rest << 32 | *part;
        *part = static_cast<ULONG>(rest / 10);
        rest %= 10;
    }
    return static_cast<unsigned>(rest);
}

} // namespace

CY currencyOfText(std::string_view text)
{
    std::string digits(text);
    const size_t point = std::min(digits.find('.'), digits.size());
    digits.erase(point, 1);
    const size_t wanted = point + 4; // a currency value counts ten-thousandths
    if (digits.size() > wanted && digits.find_first_not_of('0', wanted) != std::string::npos)
        com::raiseRuntimeError(com::kOverflow);
    digits.resize(wanted, '0');
    CY value = {};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value.int64);
    if (error == std::errc::result_out_of_range)
        com::raiseRuntimeError(com::kOverflow);
    if (error != std::errc() || end != digits.data() + digits.size())
        com::raiseRuntimeError(com::kTypeMismatch);
    return value;
}

DECIMAL decimalOfText(std::string_view text)
{
    DECIMAL value = {};
    bool fraction = false;
    if (text.starts_with('-')) {
        value.sign = DECIMAL_NEG;
        text.remove_prefix(1);
    }
    if (text.empty())
        com::raiseRuntimeError(com::kTypeMismatch);
    for (const char c : text) {
        if (c == '.' && !fraction) {
            fraction = true;
            continue;
        }
        if (c < '0' || c > '9')
            com::raiseRuntimeError(com::kTypeMismatch); // NaN and infinity have no automation value
        if (!appendDigit(value, static_cast<unsigned>(c - '0')) || (fraction && ++value.scale > 28))
            com::raiseRuntimeError(com::kOverflow);
    }
    return value;
}

std::string decimalText(const DECIMAL& value)
{
    DECIMAL rest = value;
    std::string reversed;
    for (int digit = 0; digit <= value.scale || rest.Hi32 || rest.Mid32 || rest.Lo32; ++digit) {
        if (digit == value.scale && value.scale > 0)
            reversed += '.';
        reversed += static_cast<char>('0' + removeDigit(rest));
    }
    if (value.sign & DECIMAL_NEG)
        reversed += '-';
    return {reversed.rbegin(), reversed.rend()};
}

} // namespace adodb
