#pragma once

#include "com/convert.h"
#include "com/dispatch.h"
#include "error_of.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace adodb {

/// An open connection to the database that QUINMARK_OFFICE_DSN and QUINMARK_PASSWORD name, and a table and a procedure
/// for each test program. Without the settings a test is skipped; with QUINMARK_REQUIRE_DATABASE=1 it fails.
class DatabaseTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    com::Dispatch openConnection() const;
    std::wstring connectionString() const;

    /// Makes the table, with these columns after `id integer primary key`.
    void createTable(const std::wstring& columns) const;

    com::Dispatch execute(const std::wstring& sql) const;
    com::Dispatch query(const std::wstring& sql, long cursorType = 0) const;
    _variant_t scalar(const std::wstring& sql) const;
    com::Dispatch command(const std::wstring& text) const;
    /// A command that calls the procedure, which is made of its parameters and text: a function on PostgreSQL.
    com::Dispatch procedure(const std::wstring& postgreSql, const std::wstring& sqlServer) const;
    /// Whether `body`, which needs `what` of the server, went through. Where a SQL Server refuses it, the test is
    /// skipped with the server's message, and has to return; PostgreSQL has everything.
    [[nodiscard]] static bool goesThrough(const wchar_t* what, const std::function<void()>& body);
    /// An update that waits for a row of the table, which `holder` keeps locked.
    std::wstring waitingUpdate(const com::Dispatch& holder) const;

    /// A new parameter, appended to the command.
    static com::Dispatch append(const com::Dispatch& command, const wchar_t* name, long type, long direction, long size,
                                const _variant_t& value = com::missing());

    static com::Dispatch createCommand();
    static com::Dispatch createRecordset();
    static _variant_t field(const com::Dispatch& recordset, const _variant_t& index);

    /// The number of affected rows that a command or a connection's statement returns.
    static long affectedBy(const com::Dispatch& executing, std::initializer_list<_variant_t> statement = {});

    std::wstring dsn;
    std::wstring password;
    std::wstring table = L"dbo.adodbtest_" + std::to_wstring(GetCurrentProcessId());
    com::Dispatch connection;
};

std::wstring textOf(const _variant_t& value);

inline _variant_t object(const com::Dispatch& dispatch)
{
    return {dispatch.get()};
}

} // namespace adodb
