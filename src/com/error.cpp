#include "com/error.h"

#include "com/convert.h"
#include "com/module.h"

#include <comdef.h>
#include <exception>
#include <new>
#include <wrl/client.h>

namespace com {
namespace {

struct RuntimeCode
{
    HRESULT code;
    long number;
};

constexpr RuntimeCode kRuntimeCodes[] = {
    {DISP_E_OVERFLOW, kOverflow},
    {E_OUTOFMEMORY, kOutOfMemory},
    {DISP_E_BADINDEX, kSubscriptOutOfRange},
    {DISP_E_TYPEMISMATCH, kTypeMismatch},
    {REGDB_E_CLASSNOTREG, kCannotCreateObject},
    {DISP_E_UNKNOWNNAME, kNoSuchMember},
    {DISP_E_MEMBERNOTFOUND, kNoSuchMember},
    {DISP_E_PARAMNOTOPTIONAL, kArgumentNotOptional},
    {DISP_E_BADPARAMCOUNT, kWrongArgumentCount},
};

struct RuntimeText
{
    long number;
    const wchar_t* text;
};

constexpr RuntimeText kRuntimeTexts[] = {
    {kInvalidCall, L"Invalid procedure call or argument"},
    {kOverflow, L"Overflow"},
    {kOutOfMemory, L"Out of memory"},
    {kSubscriptOutOfRange, L"Subscript out of range"},
    {kTypeMismatch, L"Type mismatch"},
    {kBadFileName, L"Bad file name or number"},
    {kFileNotFound, L"File not found"},
    {kDiskFull, L"Disk full"},
    {kPermissionDenied, L"Permission denied"},
    {kPathFileAccess, L"Path/File access error"},
    {kPathNotFound, L"Path not found"},
    {kObjectNotSet, L"Object variable or With block variable not set"},
    {kInvalidUseOfNull, L"Invalid use of Null"},
    {kCannotCreateObject, L"ActiveX component can't create object"},
    {kNoSuchMember, L"Object doesn't support this property or method"},
    {kArgumentNotOptional, L"Argument not optional"},
    {kWrongArgumentCount, L"Wrong number of arguments or invalid property assignment"},
};

std::wstring systemText(HRESULT code)
{
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                  static_cast<DWORD>(code), 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r' || text[length - 1] == L' '))
        --length;
    return length > 0 ? std::wstring(text, length) : L"Automation error";
}

} // namespace

std::wstring runtimeText(long number)
{
    for (const RuntimeText& entry : kRuntimeTexts)
        if (entry.number == number)
            return entry.text;
    return {};
}

void raiseRuntimeError(long number)
{
    throw Error{number, moduleName(), runtimeText(number)};
}

long errorNumber(HRESULT code)
{
    for (const RuntimeCode& entry : kRuntimeCodes)
        if (entry.code == code)
            return entry.number;
    if (FAILED(code) && HRESULT_FACILITY(code) == FACILITY_CONTROL)
        return HRESULT_CODE(code);
    return code;
}

HRESULT errorResult(long number)
{
    if (number >= 1 && number <= 0xFFFF)
        return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number);
    return number < 0 ? static_cast<HRESULT>(number) : E_UNEXPECTED;
}

Error platformError(HRESULT code)
{
    const long number = errorNumber(code);
    std::wstring text = runtimeText(number);
    return {number, moduleName(), text.empty() ? systemText(code) : std::move(text)};
}

void check(HRESULT code)
{
    if (FAILED(code))
        throw platformError(code);
}

void checkCall(HRESULT code)
{
    if (SUCCEEDED(code))
        return;
    Error error = platformError(code);
    Microsoft::WRL::ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) == S_OK) {
        BSTR source = nullptr;
        BSTR description = nullptr;
        if (SUCCEEDED(info->GetSource(&source)))
            error.source = takeBstr(source);
        if (SUCCEEDED(info->GetDescription(&description)))
            error.description = takeBstr(description);
    }
    throw Error(std::move(error));
}

Error currentError()
{
    if (!std::current_exception())
        return {};
    try {
        throw;
    }
    catch (const Error& error) {
        return error;
    }
    catch (const _com_error& error) {
        return platformError(error.Error());
    }
    catch (const std::bad_alloc&) {
        return platformError(E_OUTOFMEMORY);
    }
    catch (...) {
        return platformError(E_UNEXPECTED);
    }
}

} // namespace com
