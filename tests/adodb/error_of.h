#pragma once

#include "support/Raised.h"

namespace adodb {

long numberOf(auto&& body)
{
    return errorOf(body).number;
}

inline constexpr long kFailed = static_cast<long>(0x80004005);
inline constexpr long kNoValue = static_cast<long>(0x80040E10);
inline constexpr long kStatementFailed = static_cast<long>(0x80040E14);
inline constexpr long kCannotGoBack = static_cast<long>(0x80040E24);
inline constexpr long kConstraintFailed = static_cast<long>(0x80040E2F);
inline constexpr long kTimedOut = static_cast<long>(0x80040E31);
inline constexpr long kNoSuchTable = static_cast<long>(0x80040E37);
inline constexpr long kLogonRefused = static_cast<long>(0x80040E4D);
inline constexpr long kNotInTransaction = static_cast<long>(0x8004D00E);
inline constexpr long kTransactionIsOpen = static_cast<long>(0x8004D013);

} // namespace adodb
