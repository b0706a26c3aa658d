#include "control/RaiseError.h"

#include "support/recording_error.h"

#include <limits>

namespace {

using com::Error;

struct Raised
{
    long number;
    const wchar_t* description;
    long raisedNumber;
    const wchar_t* raisedDescription;
};

TEST(RaiseError, MovesNumbersByTheirRange)
{
    constexpr long kLargest = std::numeric_limits<long>::max();
    constexpr long kLeast = std::numeric_limits<long>::min();
    const Raised cases[] = {
        // into the range of the objects' errors: 0, 1 and from 513 on
        {0, L"text", -2147221504, L"text"},
        {1, L"text", -2147221503, L"text"},
        {1, L"Exiting method", -2147221503, L"Exiting method"},
        {513, L"text", -2147220991, L"text"},
        {1000, L"text", -2147220504, L"text"},
        {kLargest, L"text", 262143, L"text"},
        // all else keeps its value
        {2, L"text", 2, L"text"},
        {512, L"text", 512, L"text"},
        {-1, L"text", -1, L"text"},
        {-2147467259, L"text", -2147467259, L"text"},
        {kLeast, L"text", kLeast, L"text"},
        // and so does any number but 1 with this description, which tells of the error in flight
        {0, L"Exiting method", 0, L"Error: 0\r\nDesc:"},
        {1000, L"Exiting method", 1000, L"Error: 0\r\nDesc:"},
        {91, L"exiting method", 91, L"exiting method"},
    };
    for (const auto& [number, description, raisedNumber, raisedDescription] : cases)
        EXPECT_EQ(raised([&] { Common::RaiseError(L"class.routine", number, description); }),
                  (Error{raisedNumber, L"class.routine", raisedDescription}));
}

/// The error that `handle` raises while another is in flight.
template <class Handler>
Error raisedHandling(const Error& inFlight, Handler handle)
{
    return raised([&] {
        try {
            throw Error(inFlight);
        }
        catch (...) {
            handle();
        }
    });
}

TEST(RaiseError, ExitingMethodTellsOfTheErrorInFlight)
{
    EXPECT_EQ(raisedHandling({13, L"inner.routine", L"Type mismatch"},
                             [] { Common::RaiseError(L"class.routine", 91, L"Exiting method"); }),
              (Error{91, L"class.routine", L"Error: 13\r\nDesc:Type mismatch"}));
}

TEST(Reraise, KeepsNumberAndDescriptionUnderTheNewSource)
{
    for (const long number : {-2147217900L, kOwnErrorRaised})
        EXPECT_EQ(raisedHandling({number, L"inner.routine", L"text"}, [] { Common::reraise(L"outer.routine"); }),
                  (Error{number, L"outer.routine", L"text"}));
}

} // namespace
