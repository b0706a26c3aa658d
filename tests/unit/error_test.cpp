#include "com/error.h"

#include <gtest/gtest.h>

#include <comdef.h>
#include <new>

namespace com {
namespace {

TEST(ErrorNumber, ControlFacilityIsItsLowWord)
{
    EXPECT_EQ(errorNumber(static_cast<HRESULT>(0x800A0CC1)), 3265);
    EXPECT_EQ(errorNumber(static_cast<HRESULT>(0x800A0005)), 5);
}

TEST(ErrorNumber, RuntimeConditionsHaveTheirNumbers)
{
    EXPECT_EQ(errorNumber(DISP_E_OVERFLOW), 6);
    EXPECT_EQ(errorNumber(E_OUTOFMEMORY), 7);
    EXPECT_EQ(errorNumber(DISP_E_BADINDEX), 9);
    EXPECT_EQ(errorNumber(DISP_E_TYPEMISMATCH), 13);
    EXPECT_EQ(errorNumber(REGDB_E_CLASSNOTREG), 429);
    EXPECT_EQ(errorNumber(DISP_E_UNKNOWNNAME), 438);
    EXPECT_EQ(errorNumber(DISP_E_MEMBERNOTFOUND), 438);
    EXPECT_EQ(errorNumber(DISP_E_PARAMNOTOPTIONAL), 449);
    EXPECT_EQ(errorNumber(DISP_E_BADPARAMCOUNT), 450);
}

TEST(ErrorNumber, EveryOtherFailureKeepsItsValue)
{
    EXPECT_EQ(errorNumber(E_FAIL), E_FAIL);
    EXPECT_EQ(errorNumber(static_cast<HRESULT>(0x80040E14)), static_cast<long>(0x80040E14));
}

TEST(ErrorResult, SmallNumbersMoveIntoFacilityControl)
{
    EXPECT_EQ(errorResult(5), static_cast<HRESULT>(0x800A0005));
    EXPECT_EQ(errorResult(65535), static_cast<HRESULT>(0x800AFFFF));
}

TEST(ErrorResult, NegativeNumbersGoOutAsTheyAre)
{
    EXPECT_EQ(errorResult(-2147220504), static_cast<HRESULT>(0x800403E8));
}

TEST(CurrentError, TranslatesWhatIsInFlight)
{
    const auto translated = [](auto thrown) {
        try {
            throw thrown;
        }
        catch (...) {
            return currentError();
        }
    };
    const Error own = translated(Error{5, L"a.b", L"text"});
    EXPECT_EQ(own.number, 5);
    EXPECT_EQ(own.source, L"a.b");
    EXPECT_EQ(own.description, L"text");
    EXPECT_EQ(translated(std::bad_alloc()).number, 7);
    EXPECT_EQ(translated(std::bad_alloc()).description, L"Out of memory");
    EXPECT_EQ(translated(_com_error(DISP_E_OVERFLOW)).number, 6);
}

TEST(CurrentError, IsEmptyWhenNothingIsInFlight)
{
    EXPECT_EQ(currentError().number, 0);
    EXPECT_EQ(currentError().description, L"");
}

} // namespace
} // namespace com
