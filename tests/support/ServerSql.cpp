#include "ServerSql.h"

#include "Requirements.h"

#include <map>

namespace {

constexpr wchar_t kNothing[] = L"select 1";

/// Runs `statement` before `event` of each row of `table` that fits `condition`.
Change postgresTrigger(const std::wstring& table, const std::wstring& event, const std::wstring& condition,
                       const std::wstring& statement)
{
    return {L"create function test_trigger() returns trigger language plpgsql as $$begin " + statement +
                L"; return new; end$$; create trigger test_trigger before " + event + L" on " + table +
                L" for each row when (" + condition + L") execute function test_trigger()",
            L"drop function test_trigger() cascade"};
}

} // namespace

bool isPostgreSql()
{
    return setting(L"QUINMARK_SERVER") != L"sqlserver";
}

std::wstring dateType()
{
    return columnType(L"datetime");
}

std::wstring moneyType()
{
    return columnType(L"money");
}

std::wstring columnType(const std::wstring& ofSqlServer)
{
    // Its own money is another type. Its nchar is no national type: the name here is refused.
    static const std::map<std::wstring, std::wstring> kForms{
        {L"float", L"float8"},          {L"money", L"numeric(19,4)"},   {L"bit", L"boolean"},
        {L"uniqueidentifier", L"uuid"}, {L"datetime", L"timestamp(3)"}, {L"nchar(4)", L"no nchar(4)"},
    };
    const auto form = kForms.find(ofSqlServer);
    return isPostgreSql() && form != kForms.end() ? form->second : ofSqlServer;
}

std::wstring numbers(int last)
{
    const std::wstring count = std::to_wstring(last);
    return isPostgreSql() ? L"generate_series(1, " + count + L") n"
                          : L"(select top " + count +
                                L" row_number() over (order by (select null)) as n"
                                L" from sys.all_columns a cross join sys.all_columns b) n";
}

std::wstring repeated(const std::wstring& text, int count)
{
    return isPostgreSql() ? L"repeat(" + text + L", " + std::to_wstring(count) + L")"
                          : L"replicate(cast(" + text + L" as nvarchar(max)), " + std::to_wstring(count) + L")";
}

std::wstring databaseQuery()
{
    return isPostgreSql() ? L"select current_database()" : L"select db_name()";
}

std::wstring sessionQuery()
{
    return isPostgreSql() ? L"select pg_backend_pid()" : L"select cast(@@spid as int)";
}

std::wstring versionQuery()
{
    return isPostgreSql() ? L"select version()" : L"select @@version";
}

std::wstring identityType()
{
    return isPostgreSql() ? L"int generated always as identity" : L"int identity";
}

std::wstring computedColumn(const std::wstring& name, const std::wstring& expression)
{
    return isPostgreSql() ? name + L" int generated always as (" + expression + L") stored"
                          : name + L" as " + expression;
}

Change nullableColumn(const std::wstring& table, const std::wstring& column, const std::wstring& type)
{
    const std::wstring alter = L"alter table " + table + L" alter column " + column + L" ";
    if (isPostgreSql())
        return {alter + L"drop not null", alter + L"set not null"};
    return {alter + type + L" null", alter + type + L" not null"};
}

Change datingTrigger(const std::wstring& table, const std::wstring& date)
{
    if (isPostgreSql())
        return postgresTrigger(table, L"insert or update", L"true", L"new.mod_date = '" + date + L"'");
    return {L"create trigger test_trigger on " + table + L" after insert, update as update " + table +
                L" set mod_date = '" + date + L"' where unid in (select unid from inserted)",
            L"drop trigger test_trigger"};
}

Change updateTrigger(const std::wstring& table, const std::wstring& column, const std::wstring& value,
                     const std::wstring& statement)
{
    const std::wstring fits = column + L" = '" + value + L"'";
    if (isPostgreSql())
        return postgresTrigger(table, L"update", L"new." + fits, statement);
    return {L"create trigger test_trigger on " + table + L" after update as if exists (select 1 from inserted where " +
                fits + L") " + statement,
            L"drop trigger test_trigger"};
}

std::wstring lockTimeout(int milliseconds)
{
    return L"set lock_timeout " +
           (isPostgreSql() ? L"= " + std::to_wstring(milliseconds) : std::to_wstring(milliseconds));
}

std::wstring winDeadlocks()
{
    return isPostgreSql() ? L"" : L"set deadlock_priority high";
}

Change readOnlyDatabase()
{
    const auto change = [](const std::wstring& setting) {
        return L"do $$begin execute format('alter role current_user in database %I " + setting +
               L"', current_database()); end$$";
    };
    if (isPostgreSql())
        return {change(L"set default_transaction_read_only = on"), change(L"reset default_transaction_read_only")};
    return {L"alter database current set read_only with rollback immediate",
            L"alter database current set read_write with rollback immediate"};
}

Change knownTable(const std::wstring& prefix, const std::wstring& table)
{
    if (!isPostgreSql())
        return {};
    const std::wstring schema = prefix.substr(0, prefix.size() - 1);
    return {L"import foreign schema " + schema + L" limit to (" + table + L") from server peer into " + schema,
            L"drop foreign table " + prefix + table};
}

std::wstring emptyStatement(const std::vector<std::wstring>& tables)
{
    std::wstring statements;
    for (const std::wstring& table : tables)
        // SQL Server truncates no table that a foreign key refers to.
        statements += isPostgreSql() ? L"truncate " + table + L" cascade;"
                                     : L"begin try truncate table " + table + L" end try begin catch delete from " +
                                           table + L" end catch;";
    return statements;
}

std::wstring lockTimeoutStatement()
{
    return isPostgreSql() ? L"set lock_timeout = '10s'; set client_min_messages = error" : L"set lock_timeout 10000";
}

std::wstring analyzeStatement(const std::wstring& table)
{
    return isPostgreSql() ? L"vacuum analyze " + table : kNothing;
}

std::wstring workQuery(const std::wstring& table)
{
    if (isPostgreSql())
        return L"select n_tup_ins, n_tup_upd, n_tup_del, seq_scan, idx_scan from pg_stat_user_tables where relid = '" +
               table + L"'::regclass";
    return L"select sum(leaf_insert_count), sum(leaf_update_count), sum(leaf_delete_count + leaf_ghost_count),"
           L" sum(range_scan_count), sum(singleton_lookup_count)"
           L" from sys.dm_db_index_operational_stats(db_id(), object_id('" +
           table + L"'), null, null)";
}

std::wstring settleStatement()
{
    return isPostgreSql() ? L"do $$begin for look in 1..500 loop perform pg_stat_clear_snapshot(); if not exists"
                            L" (select from pg_stat_activity where datname = current_database() and"
                            L" backend_type = 'client backend' and pid <> pg_backend_pid()) then"
                            L" perform pg_stat_force_next_flush(); return; end if; perform pg_sleep(0.02); end loop;"
                            L" raise 'connections are left'; end$$"
                          : kNothing;
}
