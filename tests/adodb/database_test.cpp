#include "database_test.h"

#include "com/convert.h"
#include "command.h"
#include "connection.h"
#include "recordset.h"
#include "support/Requirements.h"

namespace adodb {

void DatabaseTest::SetUp()
{
    dsn = setting(L"QUINMARK_OFFICE_DSN");
    password = setting(L"QUINMARK_PASSWORD");
    if (dsn.empty() || password.empty())
        return skipWithout(L"QUINMARK_OFFICE_DSN and QUINMARK_PASSWORD", L"QUINMARK_REQUIRE_DATABASE");
    connection = openConnection();
}

void DatabaseTest::TearDown()
{
    if (connection) {
        connection = openConnection();
        execute(L"drop table if exists " + table + L"; drop " + (isPostgreSql() ? L"function" : L"procedure") +
                L" if exists " + table + L"_p");
    }
    connection = {};
    EXPECT_FALSE(com::moduleInUse()) << "an object is left";
}

com::Dispatch DatabaseTest::openConnection() const
{
    const com::Dispatch opened(com::makeObject<Connection>().Get());
    opened.call(L"Open", {connectionString().c_str()});
    return opened;
}

std::wstring DatabaseTest::connectionString() const
{
    return L"DSN=" + dsn + L";UID=quinmarkapp_user;PWD=" + password;
}

void DatabaseTest::createTable(const std::wstring& columns) const
{
    execute(L"create table " + table + L" (id integer primary key" + (columns.empty() ? L"" : L", ") + columns + L")");
}

com::Dispatch DatabaseTest::execute(const std::wstring& sql) const
{
    return com::Dispatch::from(connection.call(L"Execute", {com::textVariant(sql)}));
}

com::Dispatch DatabaseTest::query(const std::wstring& sql, long cursorType) const
{
    com::Dispatch recordset = createRecordset();
    recordset.call(L"Open", {com::textVariant(sql), object(connection), cursorType});
    return recordset;
}

_variant_t DatabaseTest::scalar(const std::wstring& sql) const
{
    return field(query(sql), 0L);
}

com::Dispatch DatabaseTest::command(const std::wstring& text) const
{
    com::Dispatch created = createCommand();
    created.putReference(L"ActiveConnection", connection);
    created.put(L"CommandText", com::textVariant(text));
    return created;
}

com::Dispatch DatabaseTest::procedure(const std::wstring& postgreSql, const std::wstring& sqlServer) const
{
    execute(L"create " +
            (isPostgreSql() ? L"function " + table + L"_p" + postgreSql : L"procedure " + table + L"_p " + sqlServer));
    com::Dispatch call = command(table + L"_p");
    call.put(L"CommandType", 4L);
    return call;
}

bool DatabaseTest::goesThrough(const wchar_t* what, const std::function<void()>& body)
{
    if (!isPostgreSql())
        return tryOrSkip(what, body);
    body();
    return true;
}

std::wstring DatabaseTest::waitingUpdate(const com::Dispatch& holder) const
{
    createTable(L"");
    execute(L"insert into " + table + L" values (1)");
    const std::wstring update = L"update " + table + L" set id = 2 where id = 1";
    holder.call(L"BeginTrans");
    holder.call(L"Execute", {com::textVariant(update)});
    return update;
}

com::Dispatch DatabaseTest::append(const com::Dispatch& command, const wchar_t* name, long type, long direction,
                                   long size, const _variant_t& value)
{
    const _variant_t parameter = command.call(L"CreateParameter", {name, type, direction, size, value});
    com::Dispatch::from(command.property(L"Parameters")).call(L"Append", {parameter});
    return com::Dispatch::from(parameter);
}

com::Dispatch DatabaseTest::createCommand()
{
    return com::Dispatch(com::makeObject<Command>().Get());
}

com::Dispatch DatabaseTest::createRecordset()
{
    return com::Dispatch(com::makeObject<Recordset>().Get());
}

_variant_t DatabaseTest::field(const com::Dispatch& recordset, const _variant_t& index)
{
    return com::Dispatch::from(recordset.property(L"Fields", {index})).property(L"Value");
}

long DatabaseTest::affectedBy(const com::Dispatch& executing, std::initializer_list<_variant_t> statement)
{
    _variant_t rows;
    _variant_t byReference;
    V_VT(&byReference) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&byReference) = &rows;
    if (statement.size() == 0)
        executing.call(L"Execute", {byReference, com::missing(), -1L});
    else
        executing.call(L"Execute", {*statement.begin(), byReference});
    return rows;
}

std::wstring textOf(const _variant_t& value)
{
    return V_VT(&value) == VT_NULL ? L"<Null>" : com::toText(value);
}

} // namespace adodb
