#include "Sabotage.h"

#include "com/error.h"

#include <gtest/gtest.h>

namespace {

constexpr wchar_t kConstraint[] = L"CK_replication_test";

/// What makes a table of the other database, whose prefix is given, known here; nothing where one server sees both.
std::wstring importStatement(const OwnTable::Pair& pair, const std::wstring& prefix, const std::wstring& name)
{
    const std::wstring schema = prefix.substr(0, prefix.size() - 1);
    return pair.isPostgreSql
               ? L"import foreign schema " + schema + L" limit to (" + name + L") from server peer into " + schema
               : L"";
}

std::wstring forgetStatement(const OwnTable::Pair& pair, const std::wstring& prefix, const std::wstring& name)
{
    return pair.isPostgreSql ? L"drop foreign table " + prefix + name : L"";
}

} // namespace

Sabotage::Sabotage(const PracticeSide& side, const std::wstring& change, std::wstring undo)
    : side_(side),
      undo_(std::move(undo))
{
    if (!change.empty())
        side_.execute(change);
}

Sabotage::~Sabotage()
{
    try {
        undo();
    }
    catch (const com::Error& error) {
        ADD_FAILURE() << error.description;
    }
}

void Sabotage::undo()
{
    if (const std::wstring statement = std::exchange(undo_, {}); !statement.empty())
        side_.execute(statement);
}

FailingRows::FailingRows(const PracticeSide& side, const std::wstring& table, const std::wstring& condition)
    : Sabotage(side, L"alter table " + table + L" add constraint " + kConstraint + L" check (not (" + condition + L"))",
               L"alter table " + table + L" drop constraint " + kConstraint)
{
}

CutConnection::CutConnection(const PracticeSide& side, const std::wstring& table, const std::wstring& event,
                             const std::wstring& condition)
    : function_(side,
                L"create or replace function cut_connection() returns trigger language plpgsql as "
                L"'begin perform pg_terminate_backend(pg_backend_pid()); perform pg_sleep(5); return new; end'",
                L"drop function cut_connection()"),
      trigger_(side,
               L"create trigger cut_connection before " + event + L" on " + table + L" for each row when (" +
                   condition + L") execute function cut_connection()",
               L"drop trigger cut_connection on " + table)
{
}

OwnTable::OwnTable(const Pair& pair, const std::wstring& name, const std::wstring& columns)
    : source_(pair.source, L"create table " + name + L" (" + columns + L")", L"drop table " + name),
      destination_(pair.destination, L"create table " + name + L" (" + columns + L")", L"drop table " + name),
      sourceInDestination_(pair.destination, importStatement(pair, pair.sourcePrefix, name),
                           forgetStatement(pair, pair.sourcePrefix, name)),
      destinationInSource_(pair.source, importStatement(pair, pair.destinationPrefix, name),
                           forgetStatement(pair, pair.destinationPrefix, name))
{
}
