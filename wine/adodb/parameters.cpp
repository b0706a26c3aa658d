#include "parameters.h"

#include "ado_error.h"
#include "collection_index.h"

#include <array>

namespace adodb {

namespace {

constexpr wchar_t kParametersSource[] = L"ADODB.Parameters";

} // namespace

std::span<const Member> Parameters::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Item", DISPID_VALUE, kGetPut, call<&Parameters::invokeItem>, L"Index", 1},
        Member{L"Count", 1, kGet, call<&Parameters::invokeCount>},
        Member{L"Append", 2, kMethod, call<&Parameters::invokeAppend>, L"Object", 1},
        Member{L"Delete", 3, kMethod, call<&Parameters::invokeDelete>, L"Index", 1},
        Member{L"Refresh", 4, kMethod, call<&Parameters::invokeRefresh>},
        Member{L"_NewEnum", DISPID_NEWENUM, kMethod | kGet, call<&Parameters::invokeEnumerator>},
    };
    return kMembers;
}

size_t Parameters::position(const VARIANT& index) const
{
    const ParameterList& list = command_->parameters();
    return positionOfItem(
        index, list.size(), [&](size_t at) { return list[at]->data().name; }, kParametersSource);
}

void Parameters::invokeItem(Call& call)
{
    const auto& parameter = command_->parameters()[position(call.raw(0))];
    if (call.isPut())
        parameter->setValue(call.newValue());
    else
        call.returns(parameter.Get());
}

void Parameters::invokeAppend(Call& call)
{
    const auto parameter = ownObject<Parameter>(objectOf(call.argument(0)));
    if (!parameter)
        raiseAdoError(kArgumentsWrong, kParametersSource);
    requireComplete(parameter->data());
    // Type and size may have been set after the value.
    parameter->setValue(parameter->data().value);
    command_->parameters().push_back(parameter);
}

void Parameters::invokeDelete(Call& call)
{
    ParameterList& list = command_->parameters();
    list.erase(list.begin() + static_cast<ptrdiff_t>(position(call.raw(0))));
}

void Parameters::invokeRefresh(Call&)
{
    raiseAdoError(kFeatureNotAvailable, kParametersSource);
}

void Parameters::invokeCount(Call& call)
{
    call.returns(_variant_t(static_cast<long>(command_->parameters().size()), VT_I4));
}

void Parameters::invokeEnumerator(Call& call)
{
    std::vector<_variant_t> items;
    for (const auto& parameter : command_->parameters())
        items.emplace_back(static_cast<IDispatch*>(parameter.Get()));
    returnEnumerator(call, std::move(items));
}

} // namespace adodb
