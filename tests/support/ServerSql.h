#pragma once

#include <string>
#include <vector>

// The SQL that differs between the servers that may keep the practice's databases; it stands nowhere else.

/// PostgreSQL, unless QUINMARK_SERVER says "sqlserver".
bool isPostgreSql();

/// A statement, and the one that takes it back; both empty where the server needs none.
struct Change
{
    std::wstring make;
    std::wstring undo;
};

/// The type of a date and time with its thousandths of a second.
std::wstring dateType();
/// The type of an amount with four decimals.
std::wstring moneyType();
/// The server's form of a column type of SQL Server; the name itself, which it refuses, where it has none.
std::wstring columnType(const std::wstring& ofSqlServer);

/// A table of the numbers `n` from 1 to `last`.
std::wstring numbers(int last);
/// `text`, an expression, written `count` times; one of any length.
std::wstring repeated(const std::wstring& text, int count);
/// The name of the database, and the number of the connection's session.
std::wstring databaseQuery();
std::wstring sessionQuery();

/// The server's name and version, in one row.
std::wstring versionQuery();

/// The type of a whole number that the server alone gives, and a column that it computes from others.
std::wstring identityType();
std::wstring computedColumn(const std::wstring& name, const std::wstring& expression);

/// Has a column of this type, which refuses Null, accept it.
Change nullableColumn(const std::wstring& table, const std::wstring& column, const std::wstring& type);

/// A trigger, test_trigger, that gives every row of `table` that is inserted or updated this mod_date.
Change datingTrigger(const std::wstring& table, const std::wstring& date);

/// A trigger that runs `statement` with every update of `table` that gives a row this value in `column`.
Change updateTrigger(const std::wstring& table, const std::wstring& column, const std::wstring& value,
                     const std::wstring& statement);

/// A lock that somebody holds ends a statement of this connection after so long.
std::wstring lockTimeout(int milliseconds);

/// Has this connection's statements win deadlocks; empty where the one that waits first loses.
std::wstring winDeadlocks();

/// Lets nobody write the database that it is run in; connections from before may be ended.
Change readOnlyDatabase();

/// Makes a table of the other database known under that database's prefix.
Change knownTable(const std::wstring& prefix, const std::wstring& table);

/// Empties tables, dependent ones first, so that rows inserted later are found in the order of their insertion.
std::wstring emptyStatement(const std::vector<std::wstring>& tables);
/// A lock that somebody holds ends a statement instead of stopping it for ever.
std::wstring lockTimeoutStatement();

/// Has a server that would do it later look at a table anew before it plans queries.
std::wstring analyzeStatement(const std::wstring& table);
/// Rows inserted, updated and deleted in a table, scans of all of it, and look-ups by its key, since it was made or the
/// server was started.
std::wstring workQuery(const std::wstring& table);
/// Waits until other connections to this database have ended, where their work counts only then, and counts this one's.
std::wstring settleStatement();
