#pragma once

#include "ado_types.h"
#include "odbc_connection.h"

#include <comdef.h>

#include <memory>
#include <memory_resource>
#include <string>
#include <vector>

namespace adodb {

/// A result column as ADO describes it.
struct ColumnInfo
{
    std::pmr::wstring name;
    AdoType type;
    long definedSize; ///< bytes, characters for text
    long precision;
    long scale;
};

/// The rows of one executed statement. It streams, holding the current row only, until it is materialized; the
/// connection is busy while it streams and free as soon as the last row has been read.
class Result
{
public:
    /// `statement` has been executed and has `columnCount` columns.
    Result(std::shared_ptr<OdbcConnection> connection, std::shared_ptr<Statement> statement, SQLSMALLINT columnCount);

    ~Result() { releaseStatement(); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;

    const std::vector<ColumnInfo>& columns() const noexcept { return infos_; }

    bool isOpen() const noexcept { return open_; }
    bool isStreaming() const noexcept { return open_ && statement_ != nullptr; }
    /// Lets the statement go; values are gone with it.
    void close() noexcept;
    /// Reads what is left into memory and lets the statement go.
    void materialize();

    bool isEmpty() const noexcept { return empty_; }
    bool isAtEnd() const noexcept { return atEnd_; }
    bool isOnFirstRow() const noexcept { return position_ == 0 && !atEnd_; }
    /// From the first row to the end, `moveNext` by `moveNext`.
    void moveNext();
    /// Only a result that was materialized on its first row can go back.
    bool canMoveFirst() const noexcept { return wholeInMemory_; }
    void moveFirst() noexcept;
    /// Number of rows when all are in memory, else -1.
    long rowCount() const noexcept;

    /// The value of a column in the current row.
    _variant_t value(size_t column) const;

private:
    struct Column
    {
        const TypeInfo* type;
        size_t boundBytes;             ///< of a value in the statement's block; 0 for a column that is read in pieces
        std::vector<std::byte> pieces; ///< a value that was, as it is not bound, or as the block has no room for it
    };
    using Row = std::vector<_variant_t>;

    void describeColumn(SQLUSMALLINT number);
    SqlColumnType columnType(SQLUSMALLINT number, ColumnInfo& info) const;
    void bindColumns();
    SQLULEN blockRowsOfColumns() const;
    void fetch();
    bool fetchBlock();
    const StatementHandle& handle() const { return statement_->handle(); }
    void readUnbound();
    void readCutValue(SQLUSMALLINT number);
    void readWhole(SQLUSMALLINT number);
    /// Whether the current row's value is, or has to be, read with SQLGetData.
    bool isInPieces(size_t index) const noexcept;
    void drain();
    void releaseStatement() noexcept;
    Row currentRow() const;

    std::shared_ptr<OdbcConnection> connection_;
    std::shared_ptr<Statement> statement_;
    std::pmr::monotonic_buffer_resource names_; ///< of the columns; a look at one row would spend much on them
    std::vector<ColumnInfo> infos_;
    std::vector<Column> columns_;
    SQLULEN fetchedRows_ = 0; ///< how many the last fetch brought
    size_t blockRow_ = 0;     ///< the current row among them
    std::vector<Row> rows_;
    size_t rowIndex_ = 0; ///< in rows_
    size_t position_ = 0; ///< rows passed since the first
    bool open_ = true;
    bool empty_ = false;
    bool atEnd_ = false;
    bool wholeInMemory_ = false;
};

} // namespace adodb
