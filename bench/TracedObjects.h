#pragma once

#include "Trace.h"
#include "support/LateObject.h"

#include <memory>
#include <string>
#include <vector>
#include <wrl/client.h>

/// What the traced objects share.
class TraceState
{
public:
    TraceState(const std::wstring& path, std::wstring sourceDsn) : writer_(path), sourceDsn_(std::move(sourceDsn)) {}

    void add(const TraceRecord& record) { writer_.add(record); }
    wchar_t sideOf(const std::wstring& connectionString) const;
    /// A number that no open recordset has.
    size_t takeId();
    void giveBackId(size_t id) { taken_[id] = false; }

private:
    TraceWriter writer_;
    std::wstring sourceDsn_;
    std::vector<bool> taken_;
};

using SharedTrace = std::shared_ptr<TraceState>;
using RealObject = Microsoft::WRL::ComPtr<IDispatch>;

/// The arguments of one Invoke.
struct LateInvocation
{
    DISPID id;
    LCID locale;
    WORD flags;
    DISPPARAMS* params;
    VARIANT* result;
    EXCEPINFO* exception;
    UINT* badArgument;

    bool isPut() const { return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }
    /// In the order of the declaration.
    VARIANT& argument(UINT index) const { return params->rgvarg[params->cArgs - 1 - index]; }
};

/// An ADO object that passes its calls on.
class TracedObject : public LateObject
{
public:
    TracedObject(SharedTrace trace, RealObject real) : trace_(std::move(trace)), real_(std::move(real)) {}

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

    IDispatch* real() const { return real_.Get(); }

protected:
    /// A call; what is not of interest is passed on.
    virtual HRESULT handle(LateInvocation& call) = 0;
    HRESULT passOn(const LateInvocation& call) const;
    DISPID idOf(const wchar_t* member) const;
    TraceState& trace() const { return *trace_; }
    const SharedTrace& sharedTrace() const { return trace_; }

private:
    SharedTrace trace_;
    RealObject real_;
};

class TracedConnection final : public TracedObject
{
public:
    using TracedObject::TracedObject;
    wchar_t side() const { return side_; }

protected:
    HRESULT handle(LateInvocation& call) override;

private:
    DISPID open_ = idOf(L"Open");
    wchar_t side_ = L'S';
};

class TracedCommand final : public TracedObject
{
public:
    using TracedObject::TracedObject;

protected:
    HRESULT handle(LateInvocation& call) override;

private:
    HRESULT setConnection(const LateInvocation& call);
    HRESULT execute(const LateInvocation& call);

    DISPID activeConnection_ = idOf(L"ActiveConnection");
    DISPID commandType_ = idOf(L"CommandType");
    DISPID commandText_ = idOf(L"CommandText");
    DISPID execute_ = idOf(L"Execute");
    wchar_t side_ = L'S';
    std::wstring text_;
};

class TracedRecordset final : public TracedObject
{
public:
    TracedRecordset(const SharedTrace& trace, RealObject real, wchar_t side, const std::wstring& text);
    ~TracedRecordset() override;

protected:
    HRESULT handle(LateInvocation& call) override;

private:
    void close();

    DISPID moveNext_ = idOf(L"MoveNext");
    DISPID close_ = idOf(L"Close");
    size_t id_;
    bool open_ = true;
};
