#include "control/RaiseError.h"

#include "support/recording_error.h"

#include <limits>

namespace {

using com::Error;

Error raisedFor(long number, const std::wstring& description = L"text")
{
    return raised([&] { Common::RaiseError(L"class.routine", number, description); });
}

TEST(RaiseError, NumberOneBecomesTheObjectErrorBasePlusOne)
{
    EXPECT_EQ(raisedFor(1), (Error{static_cast<long>(0x80040001), L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(1, L"Exiting method"), (Error{-2147221503, L"class.routine", L"Exiting method"}));
}

TEST(RaiseError, NumberZeroBecomesTheObjectErrorBase)
{
    EXPECT_EQ(raisedFor(0), (Error{-2147221504, L"class.routine", L"text"}));
}

TEST(RaiseError, RuntimeNumbersKeepTheirValue)
{
    EXPECT_EQ(raisedFor(2), (Error{2, L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(5), (Error{5, L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(512), (Error{512, L"class.routine", L"text"}));
}

TEST(RaiseError, NumbersFrom513AreMovedIntoTheObjectErrorRange)
{
    EXPECT_EQ(raisedFor(513), (Error{static_cast<long>(0x80040201), L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(1000), (Error{-2147220504, L"class.routine", L"text"}));
}

TEST(RaiseError, LargestNumberDoesNotOverflowTheNegativeBase)
{
    const long largest = std::numeric_limits<long>::max();
    EXPECT_EQ(raisedFor(largest), (Error{static_cast<long>(0x80040000) + largest, L"class.routine", L"text"}));
}

TEST(RaiseError, NegativeNumbersKeepTheirValue)
{
    EXPECT_EQ(raisedFor(-2147467259), (Error{-2147467259, L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(-1), (Error{-1, L"class.routine", L"text"}));
    EXPECT_EQ(raisedFor(std::numeric_limits<long>::min()), (Error{-2147483647L - 1, L"class.routine", L"text"}));
}

TEST(RaiseError, ExitingMethodTellsOfTheErrorInFlight)
{
    const Error error = raised([] {
        try {
            com::raiseRuntimeError(com::kObjectNotSet);
        }
        catch (...) {
            Common::RaiseError(L"class.routine", 91, L"Exiting method");
        }
    });
    EXPECT_EQ(error,
              (Error{91, L"class.routine", L"Error: 91\r\nDesc:Object variable or With block variable not set"}));
}

TEST(RaiseError, ExitingMethodKeepsNumbersThatWouldBeMoved)
{
    EXPECT_EQ(raisedFor(0, L"Exiting method"), (Error{0, L"class.routine", L"Error: 0\r\nDesc:"}));
    EXPECT_EQ(raisedFor(1000, L"Exiting method"), (Error{1000, L"class.routine", L"Error: 0\r\nDesc:"}));
}

TEST(RaiseError, ExitingMethodIsComparedWithCase)
{
    EXPECT_EQ(raisedFor(91, L"exiting method"), (Error{91, L"class.routine", L"exiting method"}));
}

TEST(Reraise, KeepsNumberAndDescriptionUnderTheNewSource)
{
    const Error error = raised([] {
        try {
            throw Error{-2147217900, L"inner.routine", L"Syntax error"};
        }
        catch (...) {
            Common::reraise(L"outer.routine");
        }
    });
    EXPECT_EQ(error, (Error{-2147217900, L"outer.routine", L"Syntax error"}));
}

TEST(Reraise, PassesAClimbingErrorOnUnchangedAfterItWasMovedOnce)
{
    const Error error = raised([] {
        try {
            Common::RaiseError(L"inner.routine", Common::kOwnError, L"text");
        }
        catch (...) {
            Common::reraise(L"outer.routine");
        }
    });
    EXPECT_EQ(error, (Error{kOwnErrorRaised, L"outer.routine", L"text"}));
}

} // namespace
