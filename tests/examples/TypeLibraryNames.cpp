#include "TypeLibraryNames.h"

#include "com/error.h"

#include <comutil.h>
#include <memory>
#include <oleauto.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

std::string nameOf(ITypeInfo& info, MEMBERID member)
{
    _bstr_t name;
    com::check(info.GetDocumentation(member, name.GetAddress(), nullptr, nullptr, nullptr));
    std::string narrow;
    for (const wchar_t* letter = name; letter && *letter; ++letter)
        narrow += static_cast<char>(*letter); // names of a type library are ASCII
    return narrow;
}

void readMembers(ITypeInfo& info, UINT count, std::set<std::string>& members)
{
    for (UINT index = 0; index < count; ++index) {
        FUNCDESC* member = nullptr;
        com::check(info.GetFuncDesc(index, &member));
        if (!(member->wFuncFlags & FUNCFLAG_FRESTRICTED))
            members.insert(nameOf(info, member->memid));
        info.ReleaseFuncDesc(member);
    }
}

void readConstants(ITypeInfo& info, UINT count, std::map<std::string, long>& constants)
{
    for (UINT index = 0; index < count; ++index) {
        VARDESC* constant = nullptr;
        com::check(info.GetVarDesc(index, &constant));
        constants[nameOf(info, constant->memid)] = V_I4(constant->lpvarValue);
        info.ReleaseVarDesc(constant);
    }
}

} // namespace

TypeLibraryNames readTypeLibrary(const wchar_t* path)
{
    ComPtr<ITypeLib> library;
    com::check(LoadTypeLibEx(path, REGKIND_NONE, &library));
    TypeLibraryNames names;
    const UINT count = library->GetTypeInfoCount();
    for (UINT index = 0; index < count; ++index) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        com::check(library->GetTypeInfo(index, &info));
        com::check(info->GetTypeAttr(&attributes));
        const std::string type = nameOf(*info.Get(), MEMBERID_NIL);
        names.types.insert(type);
        if (attributes->typekind == TKIND_DISPATCH)
            readMembers(*info.Get(), attributes->cFuncs, names.members[type]);
        if (attributes->typekind == TKIND_ENUM)
            readConstants(*info.Get(), attributes->cVars, names.constants);
        info->ReleaseTypeAttr(attributes);
    }
    return names;
}
