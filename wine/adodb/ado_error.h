#pragma once

#include "com/error.h"

namespace adodb {

/// ADO's own errors, by the number in the low word of their HRESULT (0x800A0000 + n).
enum AdoError : long
{
    kArgumentsWrong = 3001,
    kNoCurrentRecord = 3021,
    kInTransaction = 3246,
    kFeatureNotAvailable = 3251,
    kItemNotFound = 3265,
    kDataConversion = 3421,
    kObjectClosed = 3704,
    kObjectOpen = 3705,
    kProviderNotFound = 3706,
    kBoundToCommand = 3707,
    kParameterImproper = 3708,
    kInvalidConnection = 3709,
};

// Errors of the provider below ADO.
inline constexpr long kNoValueForParameter = static_cast<long>(0x80040E10);
inline constexpr long kCannotFetchBackwards = static_cast<long>(0x80040E24);
inline constexpr long kNoTransaction = static_cast<long>(0x8004D00E);
inline constexpr long kTransactionExists = static_cast<long>(0x8004D013);

/// ADO's text for one of the numbers above.
const wchar_t* adoErrorText(long number) noexcept;

/// Throws the error with ADO's text. `source` is the raising class (`ADODB.Recordset`) or the provider.
[[noreturn]] void raiseAdoError(long number, const wchar_t* source);

/// Throws the error with a text of its own.
[[noreturn]] void raiseAdoError(long number, const wchar_t* source, const std::wstring& text);

} // namespace adodb
