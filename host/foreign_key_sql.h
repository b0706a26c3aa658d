#pragma once

#include "ForeignKeys.h"

#include <string>

/// A table of a foreign key in a statement, in brackets: its name may be a word of SQL. One of another schema has that
/// in front of its name.
std::wstring tableInStatement(const std::string& name);

/// The condition under which a foreign key binds the row `child`: none of its columns is Null.
std::wstring binds(const ForeignKey& key, const std::wstring& child);

/// The condition under which the row `child` refers to a row `parent` of a table for which `condition` holds too.
std::wstring refersTo(const ForeignKey& key, const std::wstring& child, const std::wstring& table,
                      const std::wstring& parent, const std::wstring& condition = {});
