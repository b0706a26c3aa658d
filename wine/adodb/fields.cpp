#include "fields.h"

#include "ado_error.h"
#include "collection_index.h"
#include "value_conversion.h"

#include <array>

namespace adodb {

namespace {

/// ADODB.Field: a column of the recordset, with the value of whatever row is the current one.
class Field final : public DispatchObject
{
public:
    Field(Microsoft::WRL::ComPtr<Recordset> recordset, size_t column)
        : recordset_(std::move(recordset)),
          column_(column)
    {
    }

private:
    std::span<const Member> members() const noexcept override
    {
        static constexpr std::array kMembers{
            Member{L"Value", DISPID_VALUE, kGetPut, call<&Field::invokeValue>},
            Member{L"Name", 1, kGet, call<&Field::invokeName>},
            Member{L"Type", 2, kGet, call<&Field::invokeType>},
            Member{L"DefinedSize", 3, kGet, call<&Field::invokeDefinedSize>},
            Member{L"Precision", 4, kGet, call<&Field::invokePrecision>},
            Member{L"NumericScale", 5, kGet, call<&Field::invokeScale>},
        };
        return kMembers;
    }

    const ColumnInfo& info() const
    {
        const auto columns = recordset_->columns();
        if (column_ >= columns.size())
            raiseAdoError(kObjectClosed, L"ADODB.Field");
        return columns[column_];
    }

    void invokeValue(Call& call)
    {
        if (call.isPut())
            raiseNotUpdatable(L"ADODB.Field");
        info();
        call.returns(recordset_->requireRow().value(column_));
    }
    void invokeName(Call& call) { call.returns(textVariant(info().name.data(), info().name.size())); }
    void invokeType(Call& call) { call.returns(_variant_t(long{info().type}, VT_I4)); }
    void invokeDefinedSize(Call& call) { call.returns(_variant_t(info().definedSize, VT_I4)); }
    void invokePrecision(Call& call) { call.returns(_variant_t(static_cast<BYTE>(info().precision))); }
    void invokeScale(Call& call) { call.returns(_variant_t(static_cast<BYTE>(info().scale))); }

    Microsoft::WRL::ComPtr<Recordset> recordset_;
    size_t column_;
};

} // namespace

std::span<const Member> Fields::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Item", DISPID_VALUE, kGet, call<&Fields::invokeItem>, L"Index", 1},
        Member{L"Count", 1, kGet, call<&Fields::invokeCount>},
        Member{L"_NewEnum", DISPID_NEWENUM, kMethod | kGet, call<&Fields::invokeEnumerator>},
    };
    return kMembers;
}

void Fields::invokeItem(Call& call)
{
    returnField(call, *recordset_.Get());
}

void Fields::invokeCount(Call& call)
{
    call.returns(_variant_t(static_cast<long>(recordset_->columns().size()), VT_I4));
}

void Fields::invokeEnumerator(Call& call)
{
    std::vector<_variant_t> items;
    for (size_t column = 0; column < recordset_->columns().size(); ++column)
        items.emplace_back(static_cast<IDispatch*>(com::makeObject<Field>(recordset_, column).Get()));
    returnEnumerator(call, std::move(items));
}

void returnField(Call& call, Recordset& recordset)
{
    const auto columns = recordset.columns();
    const auto nameAt = [&](size_t at) { return std::wstring(columns[at].name); };
    const size_t column = positionOfItem(call.raw(0), columns.size(), nameAt, L"ADODB.Fields");
    call.returns(com::makeObject<Field>(&recordset, column).Get());
}

void raiseNotUpdatable(const wchar_t* source)
{
    raiseAdoError(kFeatureNotAvailable, source,
                  L"Current Recordset does not support updating. This may be a limitation of the provider, or of the "
                  L"selected locktype.");
}

} // namespace adodb
