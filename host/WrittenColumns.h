#pragma once

#include "db/clsConn.h"

#include <string>
#include <vector>

/// A column that no statement of a run can write, and what to do about it.
struct UnwritableColumn
{
    std::string name;
    std::string text;
    std::string todo;
};

/// The columns of a side's table whose values the server alone gives. They end every full copy of the table, after it
/// has been emptied.
std::vector<UnwritableColumn> serverFilledColumns(clsConn& conn, const std::string& side, const std::wstring& table);

/// The columns of a side's table that end every insert and update of a row: those that the server fills, and those
/// whose names cannot stand in a statement as they are.
std::vector<UnwritableColumn> unwritableColumns(clsConn& conn, const std::string& side, const std::wstring& table);

/// Whether a name can stand in a statement without brackets.
bool isPlainName(clsConn& conn, const std::wstring& name);

/// The triggers of a table that fire.
std::vector<std::string> triggersOf(clsConn& conn, const std::wstring& table);
