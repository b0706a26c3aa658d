#pragma once

#include "com/convert.h"
#include "replication/row_sql.h"
#include "text.h"

#include <string>

/// Whether the component copies the rows of this dependent table; it does nothing with any other.
inline bool isKnownDependent(const std::string& table)
{
    return !Utils::getDependentSql(toWide(table), com::textVariant(L"0"), L"").empty();
}
