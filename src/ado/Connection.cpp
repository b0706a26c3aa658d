#include "ado/Connection.h"

#include "ado/constants.h"
#include "com/convert.h"

namespace ado {

Connection Connection::create()
{
    return Connection(com::Dispatch::create(L"ADODB.Connection"));
}

void Connection::setCursorLocation(long location)
{
    object_.put(L"CursorLocation", location);
}

void Connection::setConnectionTimeout(long seconds)
{
    object_.put(L"ConnectionTimeout", seconds);
}

void Connection::open(const std::wstring& connectionString)
{
    object_.call(L"Open", {com::textVariant(connectionString), L"", L"", static_cast<long>(adOptionUnspecified)});
}

void Connection::close()
{
    object_.call(L"Close");
}

long Connection::state() const
{
    return com::toInt32(object_.property(L"State"));
}

std::wstring Connection::defaultDatabase() const
{
    return com::toText(object_.property(L"DefaultDatabase"));
}

void Connection::beginTrans()
{
    object_.call(L"BeginTrans");
}

void Connection::commitTrans()
{
    object_.call(L"CommitTrans");
}

void Connection::rollbackTrans()
{
    object_.call(L"RollbackTrans");
}

} // namespace ado
