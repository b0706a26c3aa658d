#include "Odbc.h"

#include <sqlucode.h>

#include <algorithm>
#include <stdexcept>

namespace odbc {
namespace {

constexpr size_t kBlockRows = 500;
constexpr size_t kLongestName = 128;
constexpr SQLLEN kLongestValue = 4000;

template <class Number>
SQLPOINTER attribute(Number value)
{
    return reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(value));
}

std::string narrow(const wchar_t* text)
{
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string narrowed(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrowed.data(), length, nullptr, nullptr);
    return narrowed.c_str();
}

SQLWCHAR* writable(const std::wstring& text)
{
    return const_cast<SQLWCHAR*>(text.c_str());
}

} // namespace

Handle::Handle(SQLSMALLINT kind, SQLHANDLE parent) : kind_(kind)
{
    if (!SQL_SUCCEEDED(SQLAllocHandle(kind, parent, &handle_)))
        throw std::runtime_error("SQLAllocHandle failed");
    if (kind == SQL_HANDLE_ENV)
        SQLSetEnvAttr(handle_, SQL_ATTR_ODBC_VERSION, attribute(SQL_OV_ODBC3), 0);
}

void Handle::check(SQLRETURN result, const char* call) const
{
    if (SQL_SUCCEEDED(result))
        return;
    wchar_t state[SQL_SQLSTATE_SIZE + 1] = L"";
    wchar_t text[SQL_MAX_MESSAGE_LENGTH] = L"";
    SQLINTEGER native = 0;
    SQLGetDiagRecW(kind_, handle_, 1, state, &native, text, static_cast<SQLSMALLINT>(std::size(text)), nullptr);
    throw std::runtime_error(std::string(call) + ": " + narrow(state) + " " + narrow(text));
}

Connection::Connection(const std::wstring& connectionString)
    : environment_(SQL_HANDLE_ENV, SQL_NULL_HANDLE),
      handle_(SQL_HANDLE_DBC, environment_.get())
{
    handle_.check(SQLDriverConnectW(handle_.get(), nullptr, writable(connectionString), SQL_NTS, nullptr, 0, nullptr,
                                    SQL_DRIVER_NOPROMPT),
                  "SQLDriverConnect");
}

void Connection::execute(const std::wstring& sql) const
{
    const Handle statement(SQL_HANDLE_STMT, handle_.get());
    statement.check(SQLExecDirectW(statement.get(), writable(sql), SQL_NTS), "SQLExecDirect");
}

Cursor::Cursor(const Connection& connection, const std::wstring& query) : statement_(SQL_HANDLE_STMT, connection.get())
{
    SQLSetStmtAttrW(statement_.get(), SQL_ATTR_ROW_ARRAY_SIZE, attribute(kBlockRows), 0);
    SQLSetStmtAttrW(statement_.get(), SQL_ATTR_ROWS_FETCHED_PTR, &fetchedRows_, 0);
    statement_.check(SQLExecDirectW(statement_.get(), writable(query), SQL_NTS), "SQLExecDirect");
    SQLSMALLINT count = 0;
    statement_.check(SQLNumResultCols(statement_.get(), &count), "SQLNumResultCols");
    columns_.resize(static_cast<size_t>(count));
    for (size_t column = 0; column < columns_.size(); ++column)
        describe(column);
}

void Cursor::describe(size_t column)
{
    Column& described = columns_[column];
    const auto number = static_cast<SQLUSMALLINT>(column + 1);
    wchar_t name[kLongestName] = L"";
    statement_.check(
        SQLDescribeColW(statement_.get(), number, name, kLongestName, nullptr, nullptr, nullptr, nullptr, nullptr),
        "SQLDescribeCol");
    SQLLEN size = 0;
    statement_.check(SQLColAttributeW(statement_.get(), number, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr, &size),
                     "SQLColAttribute");
    described.name = name;
    described.width = static_cast<size_t>(std::clamp<SQLLEN>(size, 1, kLongestValue)) + 1;
    described.values.resize(described.width * kBlockRows);
    described.lengths.resize(kBlockRows);
    statement_.check(SQLBindCol(statement_.get(), number, SQL_C_WCHAR, described.values.data(),
                                static_cast<SQLLEN>(described.width * sizeof(wchar_t)), described.lengths.data()),
                     "SQLBindCol");
}

bool Cursor::fetchBlock()
{
    const SQLRETURN result = SQLFetch(statement_.get());
    if (result == SQL_NO_DATA)
        return false;
    statement_.check(result, "SQLFetch");
    if (result == SQL_SUCCESS_WITH_INFO)
        throw std::runtime_error("SQLFetch: a value is longer than its column");
    row_ = 0;
    return true;
}

bool Cursor::next()
{
    ++row_;
    return row_ < fetchedRows_ || fetchBlock();
}

size_t Cursor::indexOf(const std::wstring& name) const
{
    for (size_t column = 0; column < columns_.size(); ++column)
        if (columns_[column].name == name)
            return column;
    throw std::runtime_error("there is no column " + narrow(name.c_str()));
}

bool Cursor::isNull(size_t column) const
{
    return columns_[column].lengths[row_] == SQL_NULL_DATA;
}

const wchar_t* Cursor::text(size_t column) const
{
    return columns_[column].values.data() + row_ * columns_[column].width;
}

} // namespace odbc
