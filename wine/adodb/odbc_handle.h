#pragma once

#include <windows.h>

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <utility>

namespace adodb {

/// Owns one ODBC handle of the given kind (SQL_HANDLE_ENV, SQL_HANDLE_DBC, SQL_HANDLE_STMT).
template <SQLSMALLINT Kind>
class OdbcHandle
{
public:
    OdbcHandle() = default;
    explicit OdbcHandle(SQLHANDLE handle) noexcept : handle_(handle) {}
    OdbcHandle(OdbcHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    OdbcHandle& operator=(OdbcHandle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~OdbcHandle()
    {
        if (handle_)
            SQLFreeHandle(Kind, handle_);
    }

    SQLHANDLE get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }

private:
    SQLHANDLE handle_ = nullptr;
};

using EnvironmentHandle = OdbcHandle<SQL_HANDLE_ENV>;
using ConnectionHandle = OdbcHandle<SQL_HANDLE_DBC>;
using StatementHandle = OdbcHandle<SQL_HANDLE_STMT>;

/// An attribute that ODBC passes as a number in a pointer's clothes.
inline SQLPOINTER attributeValue(ULONG_PTR value) noexcept
{
    return reinterpret_cast<SQLPOINTER>(value); // NOLINT(performance-no-int-to-ptr)
}

} // namespace adodb
