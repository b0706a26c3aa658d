#include "errors.h"

#include "collection_index.h"
#include "com/convert.h"

#include <array>

namespace adodb {

using Microsoft::WRL::ComPtr;

namespace {

/// ADODB.Error.
class DatabaseError final : public DispatchObject
{
public:
    explicit DatabaseError(Diagnostic diagnostic) : diagnostic_(std::move(diagnostic)) {}

private:
    std::span<const Member> members() const noexcept override
    {
        static constexpr std::array kMembers{
            Member{L"Description", 0, kGet, call<&DatabaseError::invokeDescription>},
            Member{L"Number", 1, kGet, call<&DatabaseError::invokeNumber>},
            Member{L"Source", 2, kGet, call<&DatabaseError::invokeSource>},
            Member{L"SQLState", 5, kGet, call<&DatabaseError::invokeState>},
            Member{L"NativeError", 6, kGet, call<&DatabaseError::invokeNative>},
        };
        return kMembers;
    }
    void invokeDescription(Call& call) { call.returns(com::textVariant(diagnostic_.message)); }
    void invokeNumber(Call& call) { call.returns(_variant_t(hresultOfDiagnostic(diagnostic_), VT_I4)); }
    void invokeSource(Call& call) { call.returns(_variant_t(kProviderName)); }
    void invokeState(Call& call) { call.returns(com::textVariant(diagnostic_.state)); }
    void invokeNative(Call& call) { call.returns(_variant_t(diagnostic_.native, VT_I4)); }

    Diagnostic diagnostic_;
};

} // namespace

std::span<const Member> Errors::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Item", DISPID_VALUE, kGet, call<&Errors::returnItem>, L"Index", 1},
        Member{L"Count", 1, kGet, call<&Errors::invokeCount>},
        Member{L"Clear", 2, kMethod, call<&Errors::invokeClear>},
        Member{L"_NewEnum", DISPID_NEWENUM, kMethod | kGet, call<&Errors::invokeEnumerator>},
    };
    return kMembers;
}

ComPtr<IDispatch> Errors::itemAt(size_t position) const
{
    return com::makeObject<DatabaseError>(session_->errors()[position]);
}

void Errors::returnItem(Call& call)
{
    const auto nameless = [](size_t) { return std::wstring(); };
    call.returns(itemAt(positionOfItem(call.raw(0), count(), nameless, L"ADODB.Errors")).Get());
}

void Errors::invokeCount(Call& call)
{
    call.returns(_variant_t(static_cast<long>(count()), VT_I4));
}

void Errors::invokeClear(Call&)
{
    if (session_)
        session_->clearErrors();
}

void Errors::invokeEnumerator(Call& call)
{
    std::vector<_variant_t> items;
    for (size_t position = 0; position < count(); ++position)
        items.emplace_back(itemAt(position).Get());
    returnEnumerator(call, std::move(items));
}

} // namespace adodb
