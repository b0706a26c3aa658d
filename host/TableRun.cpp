#include "TableRun.h"

#include "com/boundary.h"
#include "com/object.h"
#include "text.h"

using Microsoft::WRL::ComPtr;

namespace {

class TableEnumerator final : public com::UnknownObject<IEnumVARIANT>
{
public:
    explicit TableEnumerator(TableRun& run) : run_(run) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) noexcept override
    {
        if (!values || count != 1)
            return E_INVALIDARG;
        const HRESULT result = run_.next(values);
        if (fetched)
            *fetched = result == S_OK ? 1 : 0;
        return result;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) noexcept override { return E_NOTIMPL; }

private:
    TableRun& run_;
};

/// Nothing but an enumerator, which is all that a run asks of its collection.
class TableCollection final : public com::UnknownObject<IDispatch>
{
public:
    explicit TableCollection(TableRun& run) : run_(run) {}

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override
    {
        return com::comBoundary(count, [] { return 0U; });
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override
    {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                                     UINT*) noexcept override
    {
        if (id != DISPID_NEWENUM || !result)
            return DISP_E_MEMBERNOTFOUND;
        return com::comBoundary([&] {
            result->punkVal = com::makeObject<TableEnumerator>(run_).Detach();
            result->vt = VT_UNKNOWN;
        });
    }

private:
    TableRun& run_;
};

} // namespace

TableRun::TableRun(std::vector<TableInRun> tables, const std::atomic<bool>& cancelled, Progress onStart,
                   Progress onFinish)
    : tables_(std::move(tables)),
      cancelled_(cancelled),
      onStart_(std::move(onStart)),
      onFinish_(std::move(onFinish))
{
}

VARIANT TableRun::collection()
{
    VARIANT value{};
    value.pdispVal = com::makeObject<TableCollection>(*this).Detach();
    value.vt = VT_DISPATCH;
    return value;
}

HRESULT TableRun::next(VARIANT* value)
{
    VariantInit(value);
    const HRESULT result = com::comBoundary([&] {
        if (next_ > 0)
            finishLast();
        if (cancelled_ && next_ < tables_.size())
            throw com::Error{E_ABORT, L"quinrep",
                             L"Cancelled before table " + toWide(tables_[next_].name) + L", with " +
                                 std::to_wstring(tables_.size() - next_) + L" of " + std::to_wstring(tables_.size()) +
                                 L" tables not done"};
        if (next_ >= tables_.size())
            return;
        tables_[next_].started = true;
        onStart_(next_);
        value->pdispVal = ComPtr<IDispatch>(tables_[next_].table).Detach();
        value->vt = VT_DISPATCH;
        ++next_;
    });
    return SUCCEEDED(result) && value->vt == VT_EMPTY ? S_FALSE : result;
}

void TableRun::finishLast()
{
    if (next_ == 0 || tables_[next_ - 1].finished)
        return;
    tables_[next_ - 1].finished = true;
    onFinish_(next_ - 1);
}

const TableInRun* TableRun::running() const
{
    return next_ == 0 || tables_[next_ - 1].finished ? nullptr : &tables_[next_ - 1];
}
