#include "TableSequence.h"

#include "Allocations.h"
#include "support/ScriptedObject.h"

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
        value->pdispVal = table_.Detach();
        value->vt = VT_DISPATCH;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) noexcept override { return E_NOTIMPL; }

private:
    AdoJournal& journal_;
    ComPtr<_clsReplicateTable> table_;
};

} // namespace

ComPtr<IDispatch> tableSequence(AdoJournal& journal, ComPtr<_clsReplicateTable> table)
{
    const auto collection = com::makeObject<ScriptedObject>();
    collection->answers[DISPID_NEWENUM] = [&journal, table](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        const Unwatched own;
        result->punkVal = com::makeObject<TableEnumerator>(journal, table).Detach();
        result->vt = VT_UNKNOWN;
        return S_OK;
    };
    return collection;
}
