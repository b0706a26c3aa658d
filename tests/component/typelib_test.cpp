#include "support/BuiltDll.h"

#include "com/convert.h"
#include "com/registration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using com::check;
using Microsoft::WRL::ComPtr;

namespace {

/// Of names and numbers, which are ASCII.
std::string narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}

ComPtr<ITypeLib> library()
{
    ComPtr<ITypeLib> loaded;
    check(LoadTypeLibEx(builtDll().c_str(), REGKIND_NONE, &loaded));
    return loaded;
}

std::wstring nameOf(ITypeInfo& info, MEMBERID member = MEMBERID_NIL)
{
    _bstr_t name;
    check(info.GetDocumentation(member, name.GetAddress(), nullptr, nullptr, nullptr));
    return com::fromBstr(name.GetBSTR());
}

TYPEATTR attributesOf(ITypeInfo& info)
{
    TYPEATTR* attributes = nullptr;
    check(info.GetTypeAttr(&attributes));
    const TYPEATTR copy = *attributes;
    info.ReleaseTypeAttr(attributes);
    return copy;
}

ComPtr<ITypeInfo> referred(ITypeInfo& info, HREFTYPE reference)
{
    ComPtr<ITypeInfo> target;
    check(info.GetRefTypeInfo(reference, &target));
    return target;
}

/// The type that a type implements; of a dual interface, -1 is its table of functions.
ComPtr<ITypeInfo> implemented(ITypeInfo& info, int index)
{
    HREFTYPE reference = 0;
    check(info.GetRefTypeOfImplType(static_cast<UINT>(index), &reference));
    return referred(info, reference);
}

/// The kind of a type, and how hosts may use it.
std::wstring kindText(ITypeInfo& info)
{
    const TYPEATTR attributes = attributesOf(info);
    const auto has = [](WORD flags, WORD wanted) { return (flags & wanted) == wanted; };
    switch (attributes.typekind) {
    case TKIND_ENUM:
        return L"enum";
    case TKIND_DISPATCH: {
        const WORD table = attributesOf(*implemented(info, -1).Get()).wTypeFlags;
        return std::wstring(has(attributes.wTypeFlags, TYPEFLAG_FHIDDEN) ? L"hidden " : L"") +
               (has(attributes.wTypeFlags & table, TYPEFLAG_FDUAL) ? L"dual " : L"") +
               (has(table, TYPEFLAG_FOLEAUTOMATION) ? L"automation " : L"") + L"interface";
    }
    case TKIND_COCLASS: {
        INT flags = 0;
        check(info.GetImplTypeFlags(0, &flags));
        return std::wstring(has(attributes.wTypeFlags, TYPEFLAG_FCANCREATE) ? L"creatable " : L"") + L"class of " +
               ((flags & IMPLTYPEFLAG_FDEFAULT) ? nameOf(*implemented(info, 0).Get()) : L"none");
    }
    default:
        return L"other";
    }
}

std::wstring typeText(ITypeInfo& info, const TYPEDESC& type)
{
    constexpr std::pair<VARTYPE, const wchar_t*> kNames[] = {
        {VT_I2, L"short"},  {VT_I4, L"long"},         {VT_DATE, L"date"},       {VT_BSTR, L"text"},
        {VT_BOOL, L"bool"}, {VT_VARIANT, L"variant"}, {VT_DISPATCH, L"object"}, {VT_UNKNOWN, L"unknown"}};
    if (type.vt == VT_PTR)
        return typeText(info, *type.lptdesc) + L"*";
    if (type.vt == VT_USERDEFINED)
        return nameOf(*referred(info, type.hreftype).Get());
    const auto* const found = std::ranges::find(kNames, type.vt, &std::pair<VARTYPE, const wchar_t*>::first);
    return found != std::end(kNames) ? found->second : L"type " + std::to_wstring(type.vt);
}

std::wstring parameterText(ITypeInfo& info, const ELEMDESC& parameter, const std::wstring& name)
{
    const USHORT flags = parameter.paramdesc.wParamFlags;
    if (flags & PARAMFLAG_FRETVAL)
        return L"result " + typeText(info, parameter.tdesc);
    const bool both = (flags & PARAMFLAG_FIN) && (flags & PARAMFLAG_FOUT);
    std::wstring text = both ? L"" : L"one-way ";
    text += (flags & PARAMFLAG_FOPT) ? L"optional " : L"";
    text += typeText(info, parameter.tdesc) + L" " + name;
    if (flags & PARAMFLAG_FHASDEFAULT)
        text += L" = " + com::concatText(parameter.paramdesc.pparamdescex->varDefaultValue);
    return text;
}

/// "id: get, put or set name(parameters)" of a function, with its unusual flags in front.
std::wstring functionText(ITypeInfo& info, const FUNCDESC& function)
{
    std::vector<BSTR> names(static_cast<size_t>(function.cParams) + 1);
    UINT named = 0;
    check(info.GetNames(function.memid, names.data(), static_cast<UINT>(names.size()), &named));
    std::wstring text = std::to_wstring(function.memid) + L": " +
                        ((function.wFuncFlags & FUNCFLAG_FRESTRICTED) ? L"restricted " : L"") +
                        ((function.wFuncFlags & FUNCFLAG_FHIDDEN) ? L"hidden " : L"") +
                        (function.invkind == INVOKE_PROPERTYGET      ? L"get "
                         : function.invkind == INVOKE_PROPERTYPUT    ? L"put "
                         : function.invkind == INVOKE_PROPERTYPUTREF ? L"set "
                                                                     : L"") +
                        com::fromBstr(names[0]) + L"(";
    for (size_t index = 0; index < names.size() - 1; ++index)
        text += (index > 0 ? L", " : L"") +
                parameterText(info, function.lprgelemdescParam[index], com::fromBstr(names[index + 1]));
    for (BSTR name : names)
        SysFreeString(name);
    return text + L")";
}

/// The values of an enum, or the functions of an interface in the order of their slots, which are checked to follow
/// IDispatch without a gap.
void listMembers(ITypeInfo& type, std::ostream& out)
{
    constexpr int kFirstSlot = 7;
    const TYPEATTR attributes = attributesOf(type);
    for (UINT index = 0; index < attributes.cVars; ++index) {
        VARDESC* constant = nullptr;
        check(type.GetVarDesc(index, &constant));
        out << "  " << narrow(nameOf(type, constant->memid) + L" = " + com::toText(*constant->lpvarValue)) << '\n';
        type.ReleaseVarDesc(constant);
    }
    if (attributes.typekind != TKIND_DISPATCH)
        return;
    const ComPtr<ITypeInfo> table = implemented(type, -1);
    for (UINT index = 0; index < attributesOf(*table.Get()).cFuncs; ++index) {
        FUNCDESC* function = nullptr;
        check(table->GetFuncDesc(index, &function));
        EXPECT_EQ(function->oVft, static_cast<SHORT>((kFirstSlot + index) * sizeof(void*)));
        EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT);
        EXPECT_EQ(function->callconv, CC_STDCALL);
        out << "  " << narrow(functionText(*table.Get(), *function)) << '\n';
        table->ReleaseFuncDesc(function);
    }
}

TEST(TypeLibrary, HasItsIdAndVersion)
{
    TLIBATTR* attributes = nullptr;
    const ComPtr<ITypeLib> types = library();
    ASSERT_EQ(types->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(com::guidText(attributes->guid), L"{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}");
    EXPECT_EQ(attributes->wMajorVerNum, 3);
    EXPECT_EQ(attributes->wMinorVerNum, 46);
    EXPECT_EQ(attributes->syskind, SYS_WIN32);
    types->ReleaseTLibAttr(attributes);
    _bstr_t name;
    ASSERT_EQ(types->GetDocumentation(-1, name.GetAddress(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"QuinmarkRepDLL");
}

TEST(TypeLibrary, KeepsItsTypesAndTheirMembers)
{
    std::ostringstream text;
    const ComPtr<ITypeLib> types = library();
    for (UINT index = 0; index < types->GetTypeInfoCount(); ++index) {
        ComPtr<ITypeInfo> type;
        check(types->GetTypeInfo(index, &type));
        const TYPEATTR attributes = attributesOf(*type.Get());
        if (attributes.typekind == TKIND_ALIAS)
            continue;
        text << narrow(com::guidText(attributes.guid) + L" " + nameOf(*type.Get()) + L": " + kindText(*type.Get()))
             << '\n';
        listMembers(*type.Get(), text);
    }
    std::ifstream file(sourceFile(L"tests/component/typelib.txt"));
    EXPECT_EQ(text.str(), std::string(std::istreambuf_iterator<char>(file), {}));
}

} // namespace
