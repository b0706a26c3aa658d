#pragma once

#include "support/Raised.h"

#include <ostream>

/// Errors compared and printed whole: EXPECT_EQ(raised([&] { ... }), (com::Error{91, L"source", L"description"})).
namespace com {

inline bool operator==(const Error& left, const Error& right)
{
    return left.number == right.number && left.source == right.source && left.description == right.description;
}

inline void PrintTo(const Error& error, std::ostream* out)
{
    *out << error.number << " from " << ::testing::PrintToString(error.source) << ": "
         << ::testing::PrintToString(error.description);
}

} // namespace com

/// 0x80040000 plus 1000: what the component raises of its own accord.
inline constexpr long kOwnErrorRaised = static_cast<long>(0x800403E8);

/// 0x80040000: what every failed check raises.
inline constexpr long kCheckFailed = static_cast<long>(0x80040000);
