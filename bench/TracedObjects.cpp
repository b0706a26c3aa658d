#include "TracedObjects.h"

#include "com/convert.h"
#include "com/dispatch.h"

#include <algorithm>

namespace {

constexpr long kStoredProcedure = 4;

HRESULT refuse(EXCEPINFO* exception, const wchar_t* why)
{
    *exception = {};
    exception->scode = E_NOTIMPL;
    exception->bstrSource = SysAllocString(L"Trace");
    exception->bstrDescription = SysAllocString(why);
    return DISP_E_EXCEPTION;
}

bool isOpenRecordset(const VARIANT* result)
{
    return result && result->vt == VT_DISPATCH && result->pdispVal &&
           com::toInt32(com::Dispatch(result->pdispVal).property(L"State")) != 0;
}

} // namespace

wchar_t TraceState::sideOf(const std::wstring& connectionString) const
{
    return connectionString.find(sourceDsn_ + L";") == std::wstring::npos ? L'D' : L'S';
}

size_t TraceState::takeId()
{
    const auto free = std::find(taken_.begin(), taken_.end(), false);
    const auto id = static_cast<size_t>(free - taken_.begin());
    if (free == taken_.end())
        taken_.push_back(false);
    taken_[id] = true;
    return id;
}

HRESULT TracedObject::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept
{
    return real_->GetIDsOfNames(reserved, names, count, locale, ids);
}

HRESULT TracedObject::Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                             EXCEPINFO* exception, UINT* badArgument) noexcept
{
    LateInvocation call{id, locale, flags, params, result, exception, badArgument};
    return handle(call);
}

HRESULT TracedObject::passOn(const LateInvocation& call) const
{
    return real_->Invoke(call.id, IID_NULL, call.locale, call.flags, call.params, call.result, call.exception,
                         call.badArgument);
}

DISPID TracedObject::idOf(const wchar_t* member) const
{
    LPOLESTR name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    com::check(real_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    return id;
}

HRESULT TracedConnection::handle(LateInvocation& call)
{
    const HRESULT code = passOn(call);
    if (SUCCEEDED(code) && call.id == open_) {
        const std::wstring connectionString = com::toText(call.argument(0));
        side_ = trace().sideOf(connectionString);
        trace().add({.kind = TraceKind::Connect, .side = side_, .text = connectionString});
    }
    return code;
}

HRESULT TracedCommand::handle(LateInvocation& call)
{
    if (call.id == execute_)
        return execute(call);
    if (!call.isPut())
        return passOn(call);
    if (call.id == activeConnection_)
        return setConnection(call);
    if (call.id == commandText_)
        text_ = com::toText(call.argument(0));
    if (call.id == commandType_ && com::toInt32(call.argument(0)) == kStoredProcedure)
        return refuse(call.exception, L"a trace holds no stored procedures");
    return passOn(call);
}

/// The real command knows nothing of traced connections. In this process there are no others.
HRESULT TracedCommand::setConnection(const LateInvocation& call)
{
    const auto* connection = static_cast<TracedConnection*>(call.argument(0).pdispVal);
    side_ = connection->side();
    VARIANT real = call.argument(0);
    real.pdispVal = connection->real();
    DISPPARAMS params = *call.params;
    params.rgvarg = &real;
    LateInvocation passed = call;
    passed.params = &params;
    return passOn(passed);
}

HRESULT TracedCommand::execute(const LateInvocation& call)
{
    const bool counted = call.params->cArgs > 0 && (call.argument(0).vt & VT_BYREF) != 0;
    const HRESULT code = passOn(call);
    if (FAILED(code))
        return code;
    if (isOpenRecordset(call.result)) {
        RealObject recordset;
        *recordset.GetAddressOf() = call.result->pdispVal;
        call.result->pdispVal = new TracedRecordset(sharedTrace(), recordset, side_, text_);
    }
    else {
        trace().add({.kind = counted ? TraceKind::Count : TraceKind::Execute, .side = side_, .text = text_});
    }
    return code;
}

TracedRecordset::TracedRecordset(const SharedTrace& trace, RealObject real, wchar_t side, const std::wstring& text)
    : TracedObject(trace, std::move(real)),
      id_(trace->takeId())
{
    trace->add({.kind = TraceKind::Open, .side = side, .id = id_, .text = text});
}

TracedRecordset::~TracedRecordset()
{
    close();
}

HRESULT TracedRecordset::handle(LateInvocation& call)
{
    const HRESULT code = passOn(call);
    if (SUCCEEDED(code) && call.id == moveNext_)
        trace().add({.kind = TraceKind::Next, .id = id_});
    if (SUCCEEDED(code) && call.id == close_)
        close();
    return code;
}

/// A recordset that is let go without having been closed is closed all the same.
void TracedRecordset::close()
{
    if (!open_)
        return;
    open_ = false;
    trace().add({.kind = TraceKind::Close, .id = id_});
    trace().giveBackId(id_);
}
