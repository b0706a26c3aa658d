#include "TableSequence.h"

#include "Allocations.h"
#include "support/LateObject.h"

using allocations::Unwatched;
using Microsoft::WRL::ComPtr;

namespace {

class TableEnumerator final : public com::UnknownObject<IEnumVARIANT>
{
public:
    TableEnumerator(AdoJournal& journal, ComPtr<_clsReplicateTable> table) : journal_(journal), table_(std::move(table))
    {
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG, VARIANT* value, ULONG* fetched) noexcept override
    {
        const Unwatched own;
        VariantInit(value);
        *fetched = table_ ? 1 : 0;
        journal_.step = table_ ? Step::Table : Step::Go;
        if (!table_)
            return S_FALSE;
        value->pdispVal = table_.Get();
        value->pdispVal->AddRef();
        value->vt = VT_DISPATCH;
        table_.Reset();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) noexcept override { return E_NOTIMPL; }

private:
    AdoJournal& journal_;
    ComPtr<_clsReplicateTable> table_;
};

class TableCollection final : public LateObject
{
public:
    TableCollection(AdoJournal& journal, ComPtr<_clsReplicateTable> table) : journal_(journal), table_(std::move(table))
    {
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override
    {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                                     UINT*) noexcept override
    {
        const Unwatched own;
        if (id != DISPID_NEWENUM)
            return DISP_E_MEMBERNOTFOUND;
        result->punkVal = com::makeObject<TableEnumerator>(journal_, table_).Detach();
        result->vt = VT_UNKNOWN;
        return S_OK;
    }

private:
    AdoJournal& journal_;
    ComPtr<_clsReplicateTable> table_;
};

} // namespace

ComPtr<IDispatch> tableSequence(AdoJournal& journal, ComPtr<_clsReplicateTable> table)
{
    return com::makeObject<TableCollection>(journal, std::move(table));
}
