#include "recordset.h"

#include "ado_error.h"
#include "com/convert.h"
#include "command_text.h"
#include "fields.h"

#include <array>

namespace adodb {

namespace {

constexpr wchar_t kRecordsetSource[] = L"ADODB.Recordset";

} // namespace

std::span<const Member> Recordset::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Fields", DISPID_VALUE, kGet, call<&Recordset::invokeFields>, L"Item"},
        Member{L"EOF", 1, kGet, call<&Recordset::invokeEof>},
        Member{L"BOF", 2, kGet, call<&Recordset::invokeBof>},
        Member{L"MoveNext", 3, kMethod, call<&Recordset::invokeMoveNext>},
        Member{L"MoveFirst", 4, kMethod, call<&Recordset::invokeMoveFirst>},
        Member{L"Open", 5, kMethod, call<&Recordset::invokeOpen>,
               L"Source ActiveConnection CursorType LockType Options"},
        Member{L"Close", 6, kMethod, call<&Recordset::invokeClose>},
        Member{L"State", 7, kGet, call<&Recordset::invokeState>},
        Member{L"RecordCount", 8, kGet, call<&Recordset::invokeRecordCount>},
        Member{L"CursorType", 9, kGetPut, call<&Recordset::invokeCursorType>},
        Member{L"CursorLocation", 10, kGetPut, call<&Recordset::invokeCursorLocation>},
        Member{L"LockType", 11, kGetPut, call<&Recordset::invokeLockType>},
        Member{L"ActiveConnection", 12, kGetPut, call<&Recordset::invokeActiveConnection>},
        Member{L"Source", 13, kGetPut, call<&Recordset::invokeSource>},
        Member{L"NextRecordset", 14, kMethod, call<&Recordset::invokeNextRecordset>, L"RecordsAffected"},
        Member{L"AddNew", 15, kMethod, call<&Recordset::invokeUpdating>, L"FieldList Values"},
        Member{L"Update", 16, kMethod, call<&Recordset::invokeUpdating>, L"Fields Values"},
        Member{L"Delete", 17, kMethod, call<&Recordset::invokeUpdating>, L"AffectRecords"},
    };
    return kMembers;
}

long Recordset::execute(Microsoft::WRL::ComPtr<Connection> connection, Request request)
{
    connection_ = std::move(connection);
    if (connection_->cursorLocation() == adUseClient)
        cursorLocation_ = adUseClient;
    if (cursorLocation_ == adUseClient)
        cursorType_ = adOpenStatic;
    request.snapshot = cursorType_ != adOpenForwardOnly;
    // The connection may be closed while the statement runs, from an event of the host.
    const std::shared_ptr<Session> session = connection_->session();
    Outcome outcome = session->execute(std::move(request));
    result_ = std::move(outcome.result);
    return outcome.rowsAffected;
}

Result& Recordset::requireResult() const
{
    if (!isOpen())
        raiseAdoError(kObjectClosed, kRecordsetSource);
    return *result_;
}

Result& Recordset::requireRow() const
{
    Result& result = requireResult();
    if (result.isAtEnd())
        raiseAdoError(kNoCurrentRecord, kRecordsetSource);
    return result;
}

std::span<const ColumnInfo> Recordset::columns() const noexcept
{
    if (!isOpen())
        return {};
    return result_->columns();
}

void Recordset::requireClosed() const
{
    if (isOpen())
        raiseAdoError(kObjectOpen, kRecordsetSource);
}

void Recordset::closedProperty(Call& call, long& member)
{
    if (call.isPut())
        requireClosed();
    call.property(member);
}

void Recordset::invokeFields(Call& call)
{
    if (call.has(0)) {
        returnField(call, *this);
        return;
    }
    call.returns(com::makeObject<Fields>(this).Get());
}

void Recordset::invokeOpen(Call& call)
{
    requireClosed();
    if (call.has(0))
        source_ = call.argument(0);
    const auto command = ownObject<Command>(objectOf(source_));
    if (!command && objectOf(source_))
        raiseAdoError(kArgumentsWrong, kRecordsetSource);
    if (call.has(1) && !command)
        connection_ = connectionOf(call.argument(1));
    cursorType_ = call.number(2, cursorType_);
    lockType_ = call.number(3, lockType_);
    const long options = call.number(4, adCmdUnspecified);
    if (command)
        openCommand(*command.Get(), call.has(1), options);
    else
        openText(com::toText(source_), options);
}

void Recordset::openCommand(Command& command, bool connectionGiven, long options)
{
    if (connectionGiven)
        raiseAdoError(kBoundToCommand, kRecordsetSource);
    command.executeInto(*this, options);
}

void Recordset::openText(const std::wstring& text, long options)
{
    if (!connection_ || !connection_->isOpen())
        raiseAdoError(kInvalidConnection, kRecordsetSource);
    Request request;
    request.text = textOfCommand(text, options, {});
    request.timeout = connection_->commandTimeout();
    execute(connection_, std::move(request));
}

void Recordset::invokeClose(Call&)
{
    requireResult().close();
    result_.reset();
}

void Recordset::invokeMoveNext(Call&)
{
    requireRow().moveNext();
}

void Recordset::invokeMoveFirst(Call&)
{
    Result& result = requireResult();
    if (result.isEmpty())
        raiseAdoError(kNoCurrentRecord, kRecordsetSource);
    if (result.isOnFirstRow())
        return;
    if (!result.canMoveFirst())
        raiseAdoError(kCannotFetchBackwards, kRecordsetSource);
    result.moveFirst();
}

void Recordset::invokeEof(Call& call)
{
    call.returns(_variant_t(requireResult().isAtEnd()));
}

void Recordset::invokeBof(Call& call)
{
    call.returns(_variant_t(requireResult().isEmpty()));
}

void Recordset::invokeState(Call& call)
{
    call.returns(_variant_t(isOpen() ? 1L : 0L, VT_I4));
}

void Recordset::invokeRecordCount(Call& call)
{
    const Result& result = requireResult();
    call.returns(_variant_t(cursorType_ == adOpenForwardOnly ? -1L : result.rowCount(), VT_I4));
}

void Recordset::invokeActiveConnection(Call& call)
{
    if (!call.isPut()) {
        call.returns(connection_.Get());
        return;
    }
    requireClosed();
    connection_ = connectionOf(call.newValue());
}

void Recordset::invokeSource(Call& call)
{
    if (call.isPut()) {
        requireClosed();
        source_ = com::copyValue(call.newValue());
    }
    else {
        call.returns(source_);
    }
}

void Recordset::invokeUpdating(Call&)
{
    raiseNotUpdatable(kRecordsetSource);
}

void Recordset::invokeNextRecordset(Call&)
{
    raiseAdoError(kFeatureNotAvailable, kRecordsetSource);
}

} // namespace adodb
