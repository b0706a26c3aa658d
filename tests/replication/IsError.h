#pragma once

#include "com/error.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

namespace com {

/// The text of an error in a failed expectation.
inline void PrintTo(const Error& error, std::ostream* stream)
{
    *stream << error.number << ", " << testing::PrintToString(error.source) << ": "
            << testing::PrintToString(error.description);
}

} // namespace com

/// An error with this number and source, and a description that is a text or fits a matcher.
template <class Description>
testing::Matcher<com::Error> isError(long number, const std::wstring& source, Description description)
{
    return testing::AllOf(testing::Field("number", &com::Error::number, number),
                          testing::Field("source", &com::Error::source, source),
                          testing::Field("description", &com::Error::description, std::move(description)));
}

/// The number of an error that a routine of the component raises itself.
inline constexpr long kOwnError = static_cast<long>(0x800403E8);
