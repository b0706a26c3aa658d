#pragma once

#include <array>
#include <comdef.h>
#include <string>
#include <string_view>

/// The platform's own conversions under the user's locale; the only place that turns values into text, dates and
/// numbers. All raise 13 for what cannot be converted, 6 for what does not fit, and 94 for Null (unless told).
namespace com {

/// The text of a value without a copy: it may point into the value, which has to outlive it. Raises as `toText`.
class TextView
{
public:
    explicit TextView(const VARIANT& value);
    TextView(const TextView&) = delete;
    TextView& operator=(const TextView&) = delete;

    operator std::wstring_view() const { return text_; }

private:
    void convert(const VARIANT& value);
    void write(long number);

    std::array<wchar_t, 12> digits_{};
    _variant_t converted_;
    std::wstring_view text_;
};

/// Text of a value; raises 94 for Null.
std::wstring toText(const VARIANT& value);

/// Text of a value joined to an empty text: Null gives the empty text.
std::wstring concatText(const VARIANT& value);

/// OLE date of a value (days since 30 December 1899, the time of day as the fraction).
DATE toDate(const VARIANT& value);

short toInt16(const VARIANT& value);
long toInt32(const VARIANT& value);
bool toBool(const VARIANT& value);

/// Whether a value is a date, or a text that reads as one; Null and Empty are not.
bool isDate(const VARIANT& value);

/// `text` in upper case by the user's locale.
std::wstring upperCase(std::wstring text);

/// `text` without the blanks at both ends.
std::wstring trim(const std::wstring& text);

/// A date in the locale's short form, followed by the time unless that is midnight.
std::wstring dateText(DATE date);

/// A copy of a value itself, followed through references to the variable that holds it.
_variant_t copyValue(const VARIANT& value);

/// Converts a value to another variant type; raises as above.
_variant_t changeType(const VARIANT& value, VARTYPE type);

/// A variant holding `text`, embedded zeros included.
_variant_t textVariant(const std::wstring& text);

/// A copy of `text` that the caller owns (raises 7 when there is no memory).
BSTR newBstr(const std::wstring& text);

/// The text of a BSTR that stays its owner's; a null BSTR is the empty text.
std::wstring fromBstr(BSTR text);

/// The text of a BSTR that was handed over, which is freed; a null BSTR is the empty text.
std::wstring takeBstr(BSTR text);

inline VARIANT_BOOL toVariantBool(bool value)
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

/// A left-out optional argument.
_variant_t missing();

/// Whether an optional argument was left out.
bool isMissing(const VARIANT& value);

} // namespace com
