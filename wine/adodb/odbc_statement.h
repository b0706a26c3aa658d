#pragma once

#include "odbc_handle.h"

#include <array>
#include <memory>

namespace adodb {

/// A statement handle that is used for one statement after the other, and what lies beside it: an attribute that a
/// driver has been told is not told again, and the memory for a block of rows stays.
class Statement
{
public:
    static constexpr SQLULEN kMostBlockRows = 100;

    explicit Statement(StatementHandle handle) noexcept : handle_(std::move(handle)) {}

    const StatementHandle& handle() const noexcept { return handle_; }

    /// Seconds, 0 waits without limit. A driver without time limits runs statements without one.
    void setTimeout(long seconds);

    /// How many rows one SQLFetch brings, at most kMostBlockRows.
    void setBlockRows(SQLULEN rows);
    SQLULEN blockRows() const noexcept { return blockRows_; }

    /// Memory for the bound columns, until the next call; what is in it is undefined.
    std::byte* block(size_t bytes);

    /// Goes to the next block of rows; the number of its rows, 0 at the end.
    SQLULEN fetch();

    /// Ends the result and lets go of what was bound: ready for another statement.
    void reset() noexcept;

private:
    void setAttribute(SQLINTEGER attribute, SQLPOINTER value) const;

    StatementHandle handle_;
    long timeout_ = -1;
    SQLULEN blockRows_ = 1;
    SQLULEN fetchedRows_ = 0;
    std::unique_ptr<std::array<SQLUSMALLINT, kMostBlockRows>> rowStatus_; ///< once blocks have been used
    std::unique_ptr<std::byte[]> block_;
    size_t blockBytes_ = 0;
};

} // namespace adodb
