#include "connection.h"

#include "ado_error.h"
#include "com/convert.h"
#include "command_text.h"
#include "errors.h"
#include "recordset.h"

#include <array>

namespace adodb {

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t kConnectionSource[] = L"ADODB.Connection";

} // namespace

std::span<const Member> Connection::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"ConnectionString", 0, kGetPut, call<&Connection::invokeConnectionString>},
        Member{L"CommandTimeout", 2, kGetPut, call<&Connection::invokeCommandTimeout>},
        Member{L"ConnectionTimeout", 3, kGetPut, call<&Connection::invokeConnectionTimeout>},
        Member{L"Version", 4, kGet, call<&Connection::invokeVersion>},
        Member{L"Close", 5, kMethod, call<&Connection::invokeClose>},
        Member{L"Execute", 6, kMethod, call<&Connection::invokeExecute>, L"CommandText RecordsAffected Options", 1},
        Member{L"BeginTrans", 7, kMethod, call<&Connection::invokeBegin>},
        Member{L"CommitTrans", 8, kMethod, call<&Connection::invokeCommit>},
        Member{L"RollbackTrans", 9, kMethod, call<&Connection::invokeRollback>},
        Member{L"Open", 10, kMethod, call<&Connection::invokeOpen>, L"ConnectionString UserID Password Options"},
        Member{L"Errors", 11, kGet, call<&Connection::invokeErrors>, L"Item"},
        Member{L"DefaultDatabase", 12, kGet, call<&Connection::invokeDefaultDatabase>},
        Member{L"CursorLocation", 15, kGetPut, call<&Connection::invokeCursorLocation>},
        Member{L"State", 18, kGet, call<&Connection::invokeState>},
    };
    return kMembers;
}

void* Connection::find(REFIID interfaceId) noexcept
{
    return interfaceId == kClassId ? this : DispatchObject::find(interfaceId);
}

Session& Connection::requireSession() const
{
    if (!session_)
        raiseAdoError(kObjectClosed, kConnectionSource);
    return *session_;
}

void Connection::requireClosed() const
{
    if (session_)
        raiseAdoError(kObjectOpen, kConnectionSource);
}

void Connection::open(const std::wstring& connectionString, const std::wstring& user, const std::wstring& password)
{
    requireClosed();
    const std::wstring odbc = odbcConnectionString(connectionString, user, password);
    session_ = std::make_shared<Session>(odbc, connectionTimeout_);
    connectionString_ = withoutPassword(odbc);
}

void Connection::invokeOpen(Call& call)
{
    open(call.has(0) ? call.text(0) : connectionString_, call.text(1), call.text(2));
}

void Connection::invokeClose(Call&)
{
    if (requireSession().inTransaction())
        raiseAdoError(kInTransaction, kConnectionSource);
    session_.reset();
}

void Connection::invokeExecute(Call& call)
{
    requireSession();
    const long options = call.number(2, adCmdUnspecified);
    const auto recordset = com::makeObject<Recordset>();
    Request request;
    request.text = textOfCommand(call.text(0), options, {});
    request.timeout = commandTimeout_;
    const long rows = recordset->execute(this, std::move(request));
    call.writeBack(1, _variant_t(rows, VT_I4));
    call.returns(wantsNoRecords(options) ? nullptr : recordset.Get());
}

void Connection::invokeBegin(Call& call)
{
    requireSession().beginTransaction();
    call.returns(_variant_t(1L, VT_I4));
}

void Connection::invokeCommit(Call&)
{
    requireSession().endTransaction(SQL_COMMIT);
}

void Connection::invokeRollback(Call&)
{
    requireSession().endTransaction(SQL_ROLLBACK);
}

void Connection::invokeConnectionString(Call& call)
{
    if (call.isPut())
        requireClosed();
    call.property(connectionString_);
}

void Connection::invokeConnectionTimeout(Call& call)
{
    if (call.isPut())
        requireClosed();
    call.property(connectionTimeout_);
}

void Connection::invokeCursorLocation(Call& call)
{
    call.property(cursorLocation_);
}

void Connection::invokeDefaultDatabase(Call& call)
{
    call.returns(com::textVariant(requireSession().catalog()));
}

void Connection::invokeState(Call& call)
{
    call.returns(_variant_t(isOpen() ? 1L : 0L, VT_I4));
}

void Connection::invokeErrors(Call& call)
{
    const auto errors = com::makeObject<Errors>(session_);
    if (call.has(0))
        errors->returnItem(call);
    else
        call.returns(errors.Get());
}

void Connection::invokeVersion(Call& call)
{
    call.returns(_variant_t(L"2.8"));
}

ComPtr<Connection> connectionOf(const VARIANT& value)
{
    if (IDispatch* object = objectOf(value)) {
        ComPtr<Connection> connection = ownObject<Connection>(object);
        if (!connection)
            raiseAdoError(kArgumentsWrong, kConnectionSource);
        return connection;
    }
    if (V_VT(&value) == VT_BSTR) {
        auto connection = com::makeObject<Connection>();
        connection->open(com::toText(value), {}, {});
        return connection;
    }
    const bool none = V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL || V_VT(&value) == VT_DISPATCH;
    if (!none && !com::isMissing(value))
        raiseAdoError(kArgumentsWrong, kConnectionSource);
    return nullptr;
}

} // namespace adodb
