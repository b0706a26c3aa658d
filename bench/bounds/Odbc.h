#pragma once

#include <windows.h>

#include <sql.h>
#include <sqlext.h>

#include <string>
#include <vector>

/// Just enough of ODBC. Every failure throws std::runtime_error with the driver's text.
namespace odbc {

class Handle
{
public:
    Handle(SQLSMALLINT kind, SQLHANDLE parent);
    ~Handle() { SQLFreeHandle(kind_, handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    SQLHANDLE get() const { return handle_; }
    void check(SQLRETURN result, const char* call) const;

private:
    SQLSMALLINT kind_;
    SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

/// Every statement commits by itself.
class Connection
{
public:
    explicit Connection(const std::wstring& connectionString);
    ~Connection() { SQLDisconnect(handle_.get()); }

    void execute(const std::wstring& sql) const;
    SQLHANDLE get() const { return handle_.get(); }

private:
    Handle environment_;
    Handle handle_;
};

/// The rows of a query, fetched in blocks, their values as the driver's text. Stands before the first row at first.
class Cursor
{
public:
    Cursor(const Connection& connection, const std::wstring& query);

    /// False behind the last row.
    bool next();
    size_t columnCount() const { return columns_.size(); }
    /// Throws when there is no such column.
    size_t indexOf(const std::wstring& name) const;
    const std::wstring& name(size_t column) const { return columns_[column].name; }
    bool isNull(size_t column) const;
    const wchar_t* text(size_t column) const;

private:
    struct Column
    {
        std::wstring name;
        size_t width; // characters, the closing zero included
        std::vector<wchar_t> values;
        std::vector<SQLLEN> lengths;
    };

    void describe(size_t column);
    bool fetchBlock();

    Handle statement_;
    std::vector<Column> columns_;
    SQLULEN fetchedRows_ = 0;
    SQLULEN row_ = 0;
};

} // namespace odbc
