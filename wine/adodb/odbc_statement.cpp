#include "odbc_statement.h"

#include "odbc_error.h"

namespace adodb {

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

std::byte* Statement::block(size_t bytes)
{
    if (bytes > blockBytes_) {
        block_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
        blockBytes_ = bytes;
    }
    return block_.get();
}

SQLULEN Statement::fetch()
{
    if (odbcCheck(SQLFetch(handle_.get()), handle_, L"SQLFetch") == SQL_NO_DATA)
        return 0;
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
    SQLFreeStmt(handle_.get(), SQL_CLOSE);
    SQLFreeStmt(handle_.get(), SQL_UNBIND);
}

} // namespace adodb
