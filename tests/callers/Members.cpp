#include "Members.h"

#include "com/error.h"

#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

/// Enums are numbers, the library's own objects come as IDispatch.
VARTYPE plainType(const TYPEDESC& type)
{
    if (type.vt == VT_USERDEFINED)
        return VT_I4;
    if (type.vt != VT_PTR)
        return type.vt == VT_VOID ? static_cast<VARTYPE>(VT_EMPTY) : type.vt;
    const VARTYPE target = type.lptdesc->vt;
    return target == VT_PTR || target == VT_USERDEFINED ? static_cast<VARTYPE>(VT_DISPATCH) : target;
}

/// Every parameter is by reference: what it refers to counts.
VARTYPE parameterType(const TYPEDESC& type)
{
    if (type.vt == VT_PTR && type.lptdesc->vt == VT_PTR)
        return VT_DISPATCH;
    return plainType(type.vt == VT_PTR ? *type.lptdesc : type);
}

std::vector<std::wstring> namesOf(ITypeInfo& info, const FUNCDESC& function)
{
    std::vector<BSTR> names(static_cast<size_t>(function.cParams) + 2);
    UINT count = 0;
    com::check(info.GetNames(function.memid, names.data(), static_cast<UINT>(names.size()), &count));
    std::vector<std::wstring> result;
    for (UINT index = 0; index < count; ++index) {
        result.emplace_back(names[index], SysStringLen(names[index]));
        SysFreeString(names[index]);
    }
    return result;
}

Member describe(ITypeInfo& info, const FUNCDESC& function)
{
    const std::vector<std::wstring> names = namesOf(info, function);
    Member member{
        names[0], function.memid, static_cast<WORD>(function.invkind), plainType(function.elemdescFunc.tdesc), {}};
    for (size_t index = 0; index < static_cast<size_t>(function.cParams); ++index) {
        const ELEMDESC& element = function.lprgelemdescParam[index];
        member.parameters.push_back({index + 1 < names.size() ? names[index + 1] : L"value",
                                     parameterType(element.tdesc),
                                     (element.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0});
    }
    return member;
}

} // namespace

IID interfaceOf(IDispatch& object)
{
    ComPtr<ITypeInfo> info;
    TYPEATTR* attributes = nullptr;
    com::check(object.GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
    com::check(info->GetTypeAttr(&attributes));
    const IID id = attributes->guid;
    info->ReleaseTypeAttr(attributes);
    return id;
}

std::vector<Member> membersOf(IDispatch& object)
{
    constexpr WORD kNotForHosts = FUNCFLAG_FRESTRICTED;
    std::vector<Member> members;
    ComPtr<ITypeInfo> info;
    if (FAILED(object.GetTypeInfo(0, LOCALE_USER_DEFAULT, &info)))
        return members;
    TYPEATTR* attributes = nullptr;
    com::check(info->GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    for (UINT index = 0; index < count; ++index) {
        FUNCDESC* function = nullptr;
        com::check(info->GetFuncDesc(index, &function));
        if (!(function->wFuncFlags & kNotForHosts))
            members.push_back(describe(*info.Get(), *function));
        info->ReleaseFuncDesc(function);
    }
    return members;
}
