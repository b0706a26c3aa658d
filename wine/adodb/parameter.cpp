#include "parameter.h"

#include <array>

namespace adodb {

std::span<const Member> Parameter::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Value", DISPID_VALUE, kGetPut, call<&Parameter::invokeValue>},
        Member{L"Name", 1, kGetPut, call<&Parameter::invokeName>},
        Member{L"Type", 2, kGetPut, call<&Parameter::invokeType>},
        Member{L"Direction", 3, kGetPut, call<&Parameter::invokeDirection>},
        Member{L"Precision", 4, kGetPut, call<&Parameter::invokePrecision>},
        Member{L"NumericScale", 5, kGetPut, call<&Parameter::invokeScale>},
        Member{L"Size", 6, kGetPut, call<&Parameter::invokeSize>},
        Member{L"Attributes", 8, kGetPut, call<&Parameter::invokeAttributes>},
    };
    return kMembers;
}

void* Parameter::find(REFIID interfaceId) noexcept
{
    return interfaceId == kClassId ? this : DispatchObject::find(interfaceId);
}

void Parameter::invokeValue(Call& call)
{
    if (call.isPut())
        setValue(call.newValue());
    else
        call.returns(data_.value);
}

} // namespace adodb
