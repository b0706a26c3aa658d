#pragma once

#include <string>
#include <windows.h>

namespace com {

/// The one exception of the component.
struct Error
{
    /// 1 to 65535: a runtime condition or a class's own number; negative: a failure code of the platform or a database.
    long number = 0;
    std::wstring source;
    std::wstring description;
};

/// Conditions of the automation runtime itself, by their numbers.
enum RuntimeError : long
{
    kInvalidCall = 5,
    kOverflow = 6,
    kOutOfMemory = 7,
    kSubscriptOutOfRange = 9,
    kTypeMismatch = 13,
    kBadFileName = 52,
    kFileNotFound = 53,
    kDiskFull = 61,
    kPermissionDenied = 70,
    kPathFileAccess = 75,
    kPathNotFound = 76,
    kObjectNotSet = 91,
    kInvalidUseOfNull = 94,
    kCannotCreateObject = 429,
    kNoSuchMember = 438,
    kArgumentNotOptional = 449,
    kWrongArgumentCount = 450,
};

/// Base of the numbers that a class gives to errors of its own.
inline constexpr long kObjectErrorBase = static_cast<long>(0x80040000);

/// The runtime's text for one of its own numbers; an empty text for any other.
std::wstring runtimeText(long number);

/// Throws the runtime's own error `number` with the runtime's text and the module's name as source.
[[noreturn]] void raiseRuntimeError(long number);

/// The error number of a failed platform call: the low word for facility CONTROL, the runtime's number where there is
/// one (DISP_E_TYPEMISMATCH is 13), else the code itself.
long errorNumber(HRESULT code);

/// The failure code that carries `number` to a host: 0x800A0000 + number for 1 to 65535, a negative one unchanged.
HRESULT errorResult(long number);

/// The error for a failed platform call that left no error object: its number with the runtime's or system's text and
/// the module's name as source.
Error platformError(HRESULT code);

/// Throws `platformError(code)` when `code` is a failure.
void check(HRESULT code);

/// Throws when a call failed: with its number, and source and description of the error object that it left, if any. A
/// call that may leave none wants an older one cleared before it.
void checkCall(HRESULT code);

/// The exception that is being handled: an Error as it stands, `_com_error` and `std::bad_alloc` (7) translated.
/// Without one, number 0 and empty texts.
Error currentError();

} // namespace com
