#include "com/boundary.h"

#include "support/recording_error.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace com {
namespace {

/// The error of a call that throws: its code and the error object, as a caller reads them.
template <class Thrown>
Error throughBoundary(const Thrown& thrown)
{
    SetErrorInfo(0, nullptr);
    return raised([&] { checkCall(comBoundary([&] { throw thrown; })); });
}

HRESULT codeOf(long number)
{
    return comBoundary([&] { throw Error{number, L"a.b", L"text"}; });
}

TEST(ComBoundary, SuccessLeavesNoErrorObject)
{
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(comBoundary([] {}), S_OK);
    Microsoft::WRL::ComPtr<IErrorInfo> info;
    EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
}

TEST(ComBoundary, ErrorKeepsNumberSourceAndDescription)
{
    for (const long number : {static_cast<long>(0x800403E8), 5L, 3265L}) {
        const Error error{number, L"clsConn.open", L"No such thing"};
        EXPECT_EQ(throughBoundary(error), error);
    }
}

TEST(ComBoundary, NumbersMapByRange)
{
    EXPECT_EQ(codeOf(1), static_cast<HRESULT>(0x800A0001));
    EXPECT_EQ(codeOf(65535), static_cast<HRESULT>(0x800AFFFF));
    EXPECT_EQ(codeOf(0), E_UNEXPECTED);
    EXPECT_EQ(codeOf(65536), E_UNEXPECTED);
    EXPECT_EQ(codeOf(-2147467259), E_FAIL);
}

TEST(ComBoundary, WhatThePlatformThrowsIsTranslated)
{
    EXPECT_EQ(throughBoundary(std::bad_alloc()), (Error{7, L"QuinmarkRepDLL", L"Out of memory"}));
    EXPECT_EQ(throughBoundary(_com_error(DISP_E_TYPEMISMATCH)), (Error{13, L"QuinmarkRepDLL", L"Type mismatch"}));
    EXPECT_EQ(throughBoundary(_com_error(static_cast<HRESULT>(0x80040E14))).number, static_cast<long>(0x80040E14));
}

TEST(ComBoundary, AnythingElseIsUnexpected)
{
    for (const Error& error : {throughBoundary(std::runtime_error("?")), throughBoundary(42)}) {
        EXPECT_EQ(error.number, E_UNEXPECTED);
        EXPECT_EQ(error.source, L"QuinmarkRepDLL");
        EXPECT_NE(error.description, L"");
    }
}

TEST(CurrentError, IsEmptyWhenNothingIsInFlight)
{
    EXPECT_EQ(currentError(), Error());
}

TEST(RuntimeErrors, HaveTheirTexts)
{
    const std::pair<long, const wchar_t*> texts[] = {
        {5, L"Invalid procedure call or argument"},
        {6, L"Overflow"},
        {7, L"Out of memory"},
        {9, L"Subscript out of range"},
        {13, L"Type mismatch"},
        {52, L"Bad file name or number"},
        {53, L"File not found"},
        {61, L"Disk full"},
        {70, L"Permission denied"},
        {75, L"Path/File access error"},
        {76, L"Path not found"},
        {91, L"Object variable or With block variable not set"},
        {94, L"Invalid use of Null"},
        {429, L"ActiveX component can't create object"},
        {438, L"Object doesn't support this property or method"},
    };
    for (const auto& [number, text] : texts)
        EXPECT_EQ(raised([&] { raiseRuntimeError(number); }), (Error{number, L"QuinmarkRepDLL", text}));
}

TEST(ErrorNumber, IsTheRuntimesWhereThereIsOne)
{
    const std::pair<HRESULT, long> numbers[] = {
        {DISP_E_OVERFLOW, 6},
        {E_OUTOFMEMORY, 7},
        {DISP_E_BADINDEX, 9},
        {DISP_E_TYPEMISMATCH, 13},
        {REGDB_E_CLASSNOTREG, 429},
        {DISP_E_UNKNOWNNAME, 438},
        {DISP_E_MEMBERNOTFOUND, 438},
        {DISP_E_PARAMNOTOPTIONAL, 449},
        {DISP_E_BADPARAMCOUNT, 450},
        // facility CONTROL: the low word
        {static_cast<HRESULT>(0x800A0CC1), 3265},
        {static_cast<HRESULT>(0x800A0005), 5},
        // all else
        {E_FAIL, E_FAIL},
        {static_cast<HRESULT>(0x80040E14), static_cast<long>(0x80040E14)},
    };
    for (const auto& [code, number] : numbers)
        EXPECT_EQ(errorNumber(code), number) << std::hex << code;
}

TEST(RequireOut, ClearsTheCallersVariable)
{
    long number = 5;
    EXPECT_EQ(&requireOut(&number), &number);
    EXPECT_EQ(number, 0);
}

TEST(RequireText, NullBstrIsTheEmptyText)
{
    BSTR none = nullptr;
    EXPECT_EQ(requireText(&none), L"");
}

} // namespace
} // namespace com
