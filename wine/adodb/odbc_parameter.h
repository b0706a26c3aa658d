#pragma once

#include "dialect.h"
#include "odbc_error.h"
#include "parameter_data.h"

#include <vector>

namespace adodb {

/// A parameter in the form in which ODBC takes it; lives, at one address, until the statement has been executed.
class OdbcParameter
{
public:
    /// Raises 3708 for an incomplete parameter, "no value given" for an input without value, and 3421 for a number with
    /// more digits than precision and scale allow.
    OdbcParameter(const ParameterData& parameter, Dialect dialect);

    void bind(const StatementHandle& statement, SQLUSMALLINT number);

    /// The value that the database put into an output parameter; raises an error for a value longer than the size.
    _variant_t output() const;

private:
    void store(const VARIANT& value);
    void storeDate(DATE date);
    void storeDecimal(const VARIANT& value);
    void storeBytes(const void* data, size_t size);
    void reserveOutput();

    const ParameterData& parameter_;
    const TypeInfo& type_;
    SQLSMALLINT sqlType_;
    std::vector<std::byte> buffer_;
    SQLLEN length_ = SQL_NULL_DATA;
    SQLULEN columnSize_ = 0;
    SQLSMALLINT digits_ = 0;
};

} // namespace adodb
