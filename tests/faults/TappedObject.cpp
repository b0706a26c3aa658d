#include "TappedObject.h"

#include "com/convert.h"

#include <utility>

using allocations::Unwatched;

namespace {

constexpr IID kTappedId = {0x5e0c0b51, 0x8f0d, 0x4c0e, {0x9a, 0x3a, 0x52, 0x11, 0x6d, 0x20, 0x7b, 0x93}};
constexpr wchar_t kFaultText[] = L"Injected fault";

bool isPut(WORD flags)
{
    return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
}

std::wstring dataSource(const std::wstring& connectionString)
{
    return connectionString.substr(4, connectionString.find(L';') - 4);
}

bool isQuery(const std::wstring& text)
{
    return com::upperCase(text.substr(0, 6)) == L"SELECT";
}

/// What an object hands out.
std::wstring classOfResult(const std::wstring& className, const std::wstring& member)
{
    if (member == L"Execute")
        return L"Recordset";
    if (member == L"CreateParameter")
        return L"Parameter";
    if (member == L"Item")
        return className == L"Fields" ? L"Field" : L"Parameter";
    return member;
}

HRESULT refuse(EXCEPINFO* exception)
{
    *exception = {};
    exception->scode = E_FAIL;
    exception->bstrSource = SysAllocString(L"Test provider");
    exception->bstrDescription = SysAllocString(kFaultText);
    return DISP_E_EXCEPTION;
}

com::Error errorOf(HRESULT code, const EXCEPINFO& exception)
{
    if (code != DISP_E_EXCEPTION)
        return com::platformError(code);
    return {com::errorNumber(exception.scode), com::fromBstr(exception.bstrSource),
            com::fromBstr(exception.bstrDescription)};
}

} // namespace

struct TappedObject::Call
{
    std::wstring member;
    DISPID id;
    LCID locale;
    WORD flags;
    std::vector<VARIANTARG> arguments;
    DISPPARAMS params;
    VARIANT* result;
    EXCEPINFO* exception;
    UINT* badArgument;
};

TappedObject::TappedObject(SharedTap tap, std::wstring className, com::Dispatch real, const TappedObject* parent)
    : tap_(std::move(tap)),
      class_(std::move(className)),
      real_(std::move(real))
{
    ++tap_->live;
    if (class_ == L"Command")
        command_ = tap_->journal.newCommand();
    if (parent) {
        command_ = parent->command_;
        connection_ = parent->connection_;
    }
}

TappedObject::~TappedObject()
{
    giveBack();
    --tap_->live;
}

void* TappedObject::find(REFIID interfaceId) noexcept
{
    return interfaceId == kTappedId ? this : LateObject::find(interfaceId);
}

ULONG TappedObject::Release() noexcept
{
    const Unwatched own;
    return LateObject::Release();
}

HRESULT TappedObject::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept
{
    const Unwatched own;
    const HRESULT code = real_.get()->GetIDsOfNames(reserved, names, count, locale, ids);
    if (SUCCEEDED(code))
        tap_->names[{class_, ids[0]}] = names[0];
    return code;
}

HRESULT TappedObject::Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                             EXCEPINFO* exception, UINT* badArgument) noexcept
{
    const Unwatched own;
    Call call{tap_->names[{class_, id}],
              id,
              locale,
              flags,
              {params->rgvarg, params->rgvarg + params->cArgs},
              *params,
              result,
              exception,
              badArgument};
    call.params.rgvarg = call.arguments.data();
    // The real objects know nothing of the tap.
    for (VARIANTARG& argument : call.arguments) {
        Microsoft::WRL::ComPtr<IUnknown> tapped;
        if (argument.vt == VT_DISPATCH && argument.pdispVal &&
            SUCCEEDED(argument.pdispVal->QueryInterface(kTappedId, reinterpret_cast<void**>(tapped.GetAddressOf()))))
            argument.pdispVal = reinterpret_cast<TappedObject*>(tapped.Get())->real_.get();
    }
    if (class_ == L"Command" && call.member == L"ActiveConnection" && isPut(flags) && params->rgvarg->pdispVal)
        connection_ = static_cast<TappedObject*>(params->rgvarg->pdispVal)->connection_;
    return tap_->journal.recording ? perform(call) : passOn(call);
}

AdoCall TappedObject::describe(const std::wstring& member) const
{
    AdoCall call;
    call.name = class_ + L"." + member;
    call.command = command_;
    call.connection = connection_;
    return call;
}

HRESULT TappedObject::perform(Call& call)
{
    AdoJournal& journal = tap_->journal;
    const std::optional<AdoFaultKind> fault = journal.add(describe(call.member));
    HRESULT code = S_OK;
    if (fault == AdoFaultKind::Closed)
        cutConnection();
    if (fault == AdoFaultKind::NoMemory)
        code = E_OUTOFMEMORY;
    else if (fault == AdoFaultKind::Refused)
        code = refuse(call.exception);
    else
        code = passOn(call);
    const size_t index = journal.calls().size();
    if (SUCCEEDED(code)) {
        journal.last().carriedOut = true;
        journal.last().writes = call.member == L"Execute" && class_ == L"Command" && (procedure_ || !isQuery(text_));
        if (journal.last().writes && tap_->written)
            tap_->written();
        if (fault == AdoFaultKind::Lost) {
            if (call.result)
                VariantClear(call.result);
            code = refuse(call.exception);
        }
    }
    if (FAILED(code) && index == journal.calls().size())
        journal.last().failure = errorOf(code, *call.exception);
    return code;
}

HRESULT TappedObject::passOn(Call& call)
{
    HRESULT code = S_OK;
    if (class_ == L"Connection" && call.member == L"Open")
        code = passOnOpen(call);
    else if (isOpenConnection_ && call.member == L"Close")
        passOnClose();
    else
        code = real_.get()->Invoke(call.id, IID_NULL, call.locale, call.flags, &call.params, call.result,
                                   call.exception, call.badArgument);
    if (SUCCEEDED(code)) {
        follow(call);
        wrapResult(call);
    }
    return code;
}

HRESULT TappedObject::passOnOpen(Call& call)
{
    connectionString_ = com::toText(call.arguments.back());
    connection_ = dataSource(connectionString_);
    HRESULT code = S_OK;
    if (const auto kept = tap_->kept.find(connectionString_); kept != tap_->kept.end()) {
        real_ = kept->second;
        tap_->kept.erase(kept);
    }
    else {
        code = real_.get()->Invoke(call.id, IID_NULL, call.locale, call.flags, &call.params, call.result,
                                   call.exception, call.badArgument);
    }
    if (SUCCEEDED(code)) {
        isOpenConnection_ = true;
        // The host's own connection is no business of the faults.
        if (tap_->journal.step != Step::Idle)
            tap_->open[connection_] = this;
    }
    return code;
}

/// A closed connection in the place of an open one, which is kept.
void TappedObject::passOnClose()
{
    giveBack();
    const bool tapping = std::exchange(tap_->tapping, false);
    real_ = com::Dispatch::create(L"ADODB.Connection");
    tap_->tapping = tapping;
}

/// Keeps what later calls are told by.
void TappedObject::follow(const Call& call)
{
    if (!connection_.empty())
        tap_->lastConnection = connection_;
    if (class_ == L"Command" && isPut(call.flags)) {
        if (call.member == L"CommandText") {
            text_ = com::toText(call.arguments.front());
            tap_->journal.setText(command_, text_);
        }
        if (call.member == L"CommandType")
            procedure_ = com::toInt32(call.arguments.front()) == 4;
    }
    if (class_ != L"Connection" || !tap_->journal.recording)
        return;
    if (call.member == L"State")
        tap_->journal.last().readsClosed = com::toInt32(*call.result) == 0;
}

void TappedObject::wrapResult(Call& call)
{
    if (!call.result || call.result->vt != VT_DISPATCH || !call.result->pdispVal)
        return;
    const com::Dispatch real(call.result->pdispVal);
    VariantClear(call.result);
    call.result->pdispVal = new TappedObject(tap_, classOfResult(class_, call.member), real, this);
    call.result->vt = VT_DISPATCH;
}

/// Leaves an open connection to the next one with its connection string.
void TappedObject::giveBack()
{
    if (const auto open = tap_->open.find(connection_); open != tap_->open.end() && open->second == this)
        tap_->open.erase(open);
    if (isOpenConnection_)
        tap_->kept.emplace(connectionString_, real_);
    isOpenConnection_ = false;
}

void TappedObject::cutConnection()
{
    const std::wstring& name = connection_.empty() ? tap_->lastConnection : connection_;
    if (const auto open = tap_->open.find(name); open != tap_->open.end())
        open->second->cut();
}

void TappedObject::cut()
{
    if (std::exchange(isOpenConnection_, false))
        real_.call(L"Close");
}
