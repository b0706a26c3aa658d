#include "odbc_result.h"

#include "value_conversion.h"

#include <algorithm>

namespace adodb {

namespace {

// Longer text and binary columns are read with SQLGetData, so that a row costs what its values need.
constexpr SQLULEN kLongestBoundColumn = 2000;
constexpr size_t kFirstChunkBytes = 4096;

constexpr size_t kBlockBytes = 64 * 1024;

size_t terminatorBytes(const TypeInfo& type)
{
    return type.cType == SQL_C_WCHAR ? sizeof(wchar_t) : type.cType == SQL_C_CHAR ? 1 : 0;
}

/// Bytes for a bound column; 0 when it is to be read in pieces.
size_t boundBytes(const TypeInfo& type, SQLULEN size)
{
    if (!type.isVariable())
        return static_cast<size_t>(type.bufferBytes);
    if (type.isLong() || size == 0 || size > kLongestBoundColumn)
        return 0;
    // A database that counts code points may need two UTF-16 units for each.
    return type.isText() ? (2 * size + 1) * sizeof(wchar_t) : size;
}

long definedSizeOf(const TypeInfo& type, SQLULEN size)
{
    constexpr SQLULEN kMax = 2147483647;
    if (type.definedSize)
        return type.definedSize;
    return static_cast<long>(size == 0 || size > kMax ? kMax : size);
}

} // namespace

bool Result::isInPieces(size_t index) const noexcept
{
    const Column& column = columns_[index];
    const SQLLEN length = statement_->length(index, blockRow_);
    const auto room = static_cast<SQLLEN>(column.boundBytes - terminatorBytes(*column.type));
    return column.boundBytes == 0 || length == SQL_NO_TOTAL || length > room;
}

Result::Result(std::shared_ptr<OdbcConnection> connection, std::shared_ptr<Statement> statement,
               SQLSMALLINT columnCount)
    : connection_(std::move(connection)),
      statement_(std::move(statement))
{
    infos_.reserve(static_cast<size_t>(columnCount));
    columns_.reserve(static_cast<size_t>(columnCount));
    for (SQLSMALLINT number = 1; number <= columnCount; ++number)
        describeColumn(static_cast<SQLUSMALLINT>(number));
    bindColumns();
    fetch();
    empty_ = atEnd_;
}

SqlColumnType Result::columnType(SQLUSMALLINT number, ColumnInfo& info) const
{
    wchar_t name[256];
    name[0] = L'\0';
    SQLSMALLINT nameLength = 0;
    SQLSMALLINT nullable = 0;
    SqlColumnType sql = {};
    odbcCheck(SQLDescribeColW(handle().get(), number, name, static_cast<SQLSMALLINT>(std::size(name)), &nameLength,
                              &sql.sqlType, &sql.size, &sql.digits, &nullable),
              handle(), L"SQLDescribeCol");
    info.name = name;
    if (sql.sqlType == SQL_TINYINT) {
        SQLLEN isUnsigned = SQL_TRUE;
        odbcCheck(SQLColAttributeW(handle().get(), number, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned),
                  handle(), L"SQLColAttribute");
        sql.isUnsigned = isUnsigned == SQL_TRUE;
    }
    const bool isDecimal = sql.sqlType == SQL_DECIMAL || sql.sqlType == SQL_NUMERIC;
    if (isDecimal && connection_->dialect() != Dialect::PostgreSql) {
        odbcCheck(SQLColAttributeW(handle().get(), number, SQL_DESC_TYPE_NAME, name, sizeof name, nullptr, nullptr),
                  handle(), L"SQLColAttribute");
        sql.typeName = name;
    }
    return sql;
}

void Result::describeColumn(SQLUSMALLINT number)
{
    ColumnInfo info{std::pmr::wstring(&names_), {}, 0, 0, 0};
    const SqlColumnType sql = columnType(number, info);
    info.type = adoTypeOfColumn(sql, connection_->dialect());
    const TypeInfo* type = findType(info.type);
    if (!type)
        throw com::Error{E_FAIL, kProviderName,
                         L"Column " + std::wstring(info.name) + L" has the unsupported SQL type " +
                             std::to_wstring(sql.sqlType) + L"."};
    info.definedSize = definedSizeOf(*type, sql.size);
    info.precision = type->precision ? type->precision : static_cast<long>(sql.size);
    const bool hasScale = type->precision == 0 || info.type == adCurrency;
    info.scale = hasScale ? sql.digits : 255;
    infos_.push_back(std::move(info));
    columns_.push_back({type, boundBytes(*type, sql.size), {}});
}

SQLULEN Result::blockRowsOfColumns() const
{
    size_t rowBytes = 0;
    for (const Column& column : columns_) {
        if (column.boundBytes == 0)
            return 1; // such a column is read row by row
        rowBytes += column.boundBytes;
    }
    return static_cast<SQLULEN>(std::clamp<size_t>(kBlockBytes / rowBytes, 1, Statement::kMostBlockRows));
}

void Result::bindColumns()
{
    bool mayBind = true;
    std::vector<Binding> bindings;
    bindings.reserve(columns_.size());
    for (Column& column : columns_) {
        if (!mayBind)
            column.boundBytes = 0;
        else if (column.boundBytes == 0 && !connection_->allowsAnyGetData())
            mayBind = false; // what follows must be read in order, too
        bindings.push_back({column.type->cType, column.boundBytes});
    }
    statement_->bind(bindings, blockRowsOfColumns());
}

void Result::readWhole(SQLUSMALLINT number)
{
    const TypeInfo& type = *columns_[number - 1U].type;
    std::vector<std::byte>& buffer = columns_[number - 1U].pieces;
    if (buffer.size() < kFirstChunkBytes)
        buffer.resize(kFirstChunkBytes);
    const size_t terminator = terminatorBytes(type);
    for (size_t used = 0;;) {
        SQLLEN available = 0;
        const SQLRETURN rc = SQLGetData(handle().get(), number, type.cType, buffer.data() + used,
                                        static_cast<SQLLEN>(buffer.size() - used), &available);
        odbcCheck(rc, handle(), L"SQLGetData");
        const size_t room = buffer.size() - used - terminator;
        const bool complete =
            rc == SQL_NO_DATA || (available != SQL_NO_TOTAL && available <= static_cast<SQLLEN>(room));
        if (complete) {
            const auto last = static_cast<SQLLEN>(used) + (rc == SQL_NO_DATA ? 0 : available);
            statement_->length(number - 1U, blockRow_) = available == SQL_NULL_DATA ? available : last;
            return;
        }
        used += room;
        buffer.resize(available == SQL_NO_TOTAL ? buffer.size() * 2
                                                : buffer.size() + static_cast<size_t>(available) - room);
    }
}

void Result::readCutValue(SQLUSMALLINT number)
{
    if (!connection_->allowsAnyGetData())
        throw com::Error{E_FAIL, kProviderName,
                         L"The value of column " + std::wstring(infos_[number - 1].name) +
                             L" is longer than the column."};
    if (statement_->blockRows() > 1)
        odbcCheck(
            SQLSetPos(handle().get(), static_cast<SQLSETPOSIROW>(blockRow_ + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE),
            handle(), L"SQLSetPos");
    readWhole(number);
}

void Result::readUnbound()
{
    for (SQLUSMALLINT number = 1; const Column& column : columns_) {
        if (column.boundBytes == 0)
            readWhole(number);
        else if (isInPieces(number - 1U))
            readCutValue(number);
        ++number;
    }
}

bool Result::fetchBlock()
{
    blockRow_ = 0;
    fetchedRows_ = statement_->fetch();
    return fetchedRows_ > 0;
}

void Result::fetch()
{
    if (++blockRow_ < fetchedRows_ || fetchBlock()) {
        readUnbound();
        return;
    }
    atEnd_ = true;
    drain();
    releaseStatement();
}

void Result::drain()
{
    // A later statement of a batch reports its failure only when its result is asked for.
    while (odbcCheck(SQLMoreResults(handle().get()), handle(), L"SQLMoreResults") != SQL_NO_DATA) {
    }
}

void Result::releaseStatement() noexcept
{
    if (!statement_)
        return;
    statement_->reset();
    if (statement_.use_count() == 1) // else it is a prepared one, or its execution is not over
        connection_->giveBack(std::move(statement_));
    statement_.reset();
}

void Result::close() noexcept
{
    releaseStatement();
    open_ = false;
    rows_.clear();
    connection_.reset();
}

void Result::materialize()
{
    if (!statement_) {
        wholeInMemory_ = wholeInMemory_ || empty_;
        return;
    }
    std::vector<Row> rows;
    for (; !atEnd_; fetch())
        rows.push_back(currentRow());
    rows_ = std::move(rows);
    rowIndex_ = 0;
    wholeInMemory_ = position_ == 0;
    atEnd_ = rows_.empty();
}

void Result::moveNext()
{
    ++position_;
    if (statement_)
        fetch();
    else
        atEnd_ = ++rowIndex_ >= rows_.size();
}

void Result::moveFirst() noexcept
{
    position_ = rowIndex_ = 0;
    atEnd_ = rows_.empty();
}

long Result::rowCount() const noexcept
{
    return wholeInMemory_ ? static_cast<long>(rows_.size()) : -1;
}

Result::Row Result::currentRow() const
{
    Row row;
    row.reserve(columns_.size());
    for (size_t column = 0; column < columns_.size(); ++column)
        row.push_back(value(column));
    return row;
}

_variant_t Result::value(size_t index) const
{
    if (!rows_.empty())
        return rows_[rowIndex_][index];
    const Column& column = columns_[index];
    const SQLLEN length = statement_->length(index, blockRow_);
    if (length == SQL_NULL_DATA)
        return nullVariant();
    const std::byte* bytes = isInPieces(index) ? column.pieces.data() : statement_->value(index, blockRow_);
    return valueOfBuffer(*column.type, bytes, static_cast<size_t>(length));
}

} // namespace adodb
