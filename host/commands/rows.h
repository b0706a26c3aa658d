#pragma once

#include "ado/Recordset.h"
#include "com/convert.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "text.h"

#include <nlohmann/json.hpp>
#include <string>

/// A value of a result as JSON: null, a boolean, a whole number, or its text.
inline nlohmann::ordered_json jsonValue(const _variant_t& value)
{
    switch (value.vt) {
    case VT_NULL:
    case VT_EMPTY:
        return nullptr;
    case VT_BOOL:
        return com::toBool(value);
    case VT_I2:
    case VT_I4:
        return com::toInt32(value);
    default:
        return toUtf8(com::toText(value));
    }
}

/// The rows of a query, each an object by its column names.
inline nlohmann::ordered_json jsonRows(clsConn& conn, const std::wstring& sql)
{
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    ado::Recordset rs = openForwardOnly(conn, sql);
    const long count = rs.fieldCount();
    for (; !rs.eof(); rs.moveNext()) {
        nlohmann::ordered_json row;
        for (long index = 0; index < count; ++index)
            row[toUtf8(rs.field(index).name())] = jsonValue(rs.field(index).value());
        rows.push_back(std::move(row));
    }
    rs.close();
    return rows;
}

/// The key of the site's rows in the control tables.
inline std::wstring siteKey(enumReplicationUniqueId site)
{
    return std::to_wstring(static_cast<int>(site));
}
