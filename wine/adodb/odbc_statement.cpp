#include "odbc_statement.h"

#include "odbc_error.h"

namespace adodb {

namespace {

size_t alignedBytes(size_t bytes)
{
    constexpr size_t kAlignment = alignof(SQLBIGINT);
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

} // namespace

void Statement::setTimeout(long seconds)
{
    if (seconds != timeout_)
        SQLSetStmtAttrW(handle_.get(), SQL_ATTR_QUERY_TIMEOUT, attributeValue(static_cast<ULONG_PTR>(seconds)), 0);
    timeout_ = seconds;
}

void Statement::setAttribute(SQLINTEGER attribute, SQLPOINTER value) const
{
    odbcCheck(SQLSetStmtAttrW(handle_.get(), attribute, value, 0), handle_, L"SQLSetStmtAttr");
}

void Statement::setBlockRows(SQLULEN rows)
{
    if (rows == blockRows_)
        return;
    if (!rowStatus_) {
        auto status = std::make_unique<std::array<SQLUSMALLINT, kMostBlockRows>>();
        setAttribute(SQL_ATTR_ROWS_FETCHED_PTR, &fetchedRows_);
        setAttribute(SQL_ATTR_ROW_STATUS_PTR, status->data());
        rowStatus_ = std::move(status);
    }
    setAttribute(SQL_ATTR_ROW_ARRAY_SIZE, attributeValue(rows));
    blockRows_ = rows;
}

void Statement::layOut(const std::vector<Binding>& columns, SQLULEN rows)
{
    places_.clear();
    lengths_.resize(columns.size() * rows);
    size_t bytes = 0;
    for (const Binding& binding : columns) {
        places_.push_back({bytes, lengths_.data() + places_.size() * rows});
        bytes += alignedBytes(binding.bytes * rows);
    }
    block_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
}

void Statement::bind(const std::vector<Binding>& columns, SQLULEN rows)
{
    if (columns == bindings_ && rows == blockRows_)
        return;
    SQLFreeStmt(handle_.get(), SQL_UNBIND);
    bindings_.clear();
    setBlockRows(rows);
    layOut(columns, rows);
    for (SQLUSMALLINT number = 1; const Binding& binding : columns) {
        const Place& place = places_[number - 1U];
        if (binding.bytes)
            odbcCheck(SQLBindCol(handle_.get(), number, binding.cType, block_.get() + place.values,
                                 static_cast<SQLLEN>(binding.bytes), place.lengths),
                      handle_, L"SQLBindCol");
        ++number;
    }
    bindings_ = columns;
}

SQLULEN Statement::fetch()
{
    const SQLRETURN rc = odbcCheck(SQLFetch(handle_.get()), handle_, L"SQLFetch");
    if (rc == SQL_NO_DATA)
        return 0;
    // FreeTDS gives out the rows before a failure in this way, and afterwards only says that there are no more.
    if (rc == SQL_SUCCESS_WITH_INFO)
        throwToldError(SQL_HANDLE_STMT, handle_.get(), L"SQLFetch");
    if (blockRows_ == 1)
        return 1;
    // A row that cannot be read is no failure of a block as a whole.
    for (SQLULEN row = 0; row < fetchedRows_; ++row)
        if ((*rowStatus_)[row] == SQL_ROW_ERROR)
            throwOdbcError(SQL_HANDLE_STMT, handle_.get(), L"SQLFetch");
    return fetchedRows_;
}

void Statement::reset() noexcept
{
    // It may tell the failure of a later statement of a batch. The handle then stays in use, until it is closed again.
    if (!SQL_SUCCEEDED(SQLFreeStmt(handle_.get(), SQL_CLOSE)))
        SQLFreeStmt(handle_.get(), SQL_CLOSE);
}

} // namespace adodb
