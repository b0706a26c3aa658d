#pragma once

#include "odbc_handle.h"

#include <array>
#include <memory>
#include <vector>

namespace adodb {

/// The binding of a result column.
struct Binding
{
    SQLSMALLINT cType;
    size_t bytes; ///< of a value; 0 for a column that is not bound

    bool operator==(const Binding&) const = default;
};

/// A statement handle that is used for one statement after the other. The driver keeps settings, which are not sent
/// again: the time limit, the number of rows in a block, and the column bindings, since most statements return the same
/// columns as the one before.
class Statement
{
public:
    static constexpr SQLULEN kMostBlockRows = 100;

    explicit Statement(StatementHandle handle) noexcept : handle_(std::move(handle)) {}

    const StatementHandle& handle() const noexcept { return handle_; }

    /// Seconds, 0 waits without limit. A driver without time limits runs statements without one.
    void setTimeout(long seconds);

    /// Binds the columns to memory for as many rows as one SQLFetch is to bring, at most kMostBlockRows.
    void bind(const std::vector<Binding>& columns, SQLULEN rows);
    SQLULEN blockRows() const noexcept { return blockRows_; }
    /// A bound column's value in a row of the block.
    const std::byte* value(size_t column, size_t row) const noexcept
    {
        return block_.get() + places_[column].values + row * bindings_[column].bytes;
    }
    /// Its bytes, or SQL_NULL_DATA; where the driver puts them.
    SQLLEN& length(size_t column, size_t row) const noexcept { return places_[column].lengths[row]; }

    /// Goes to the next block of rows; the number of its rows, 0 at the end.
    SQLULEN fetch();

    /// Ends the result: ready for another statement.
    void reset() noexcept;

private:
    struct Place
    {
        size_t values; ///< in the block
        SQLLEN* lengths;
    };

    void setAttribute(SQLINTEGER attribute, SQLPOINTER value) const;
    void setBlockRows(SQLULEN rows);
    void layOut(const std::vector<Binding>& columns, SQLULEN rows);

    StatementHandle handle_;
    long timeout_ = -1;
    SQLULEN blockRows_ = 1;
    SQLULEN fetchedRows_ = 0;
    std::unique_ptr<std::array<SQLUSMALLINT, kMostBlockRows>> rowStatus_; ///< once blocks have been used
    std::vector<Binding> bindings_; ///< as the driver has them; empty when it may have others
    std::vector<Place> places_;
    std::vector<SQLLEN> lengths_;
    std::unique_ptr<std::byte[]> block_;
};

} // namespace adodb
