#include "support/BuiltDll.h"

#include "com/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using com::check;
using Microsoft::WRL::ComPtr;

namespace {

using Lines = std::vector<std::wstring>;

std::wstring guidText(const GUID& guid)
{
    wchar_t text[39];
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
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

/// The attributes of a type, given back to it at the end.
class Attributes
{
public:
    explicit Attributes(ITypeInfo& info) : info_(info) { check(info.GetTypeAttr(&attributes_)); }
    ~Attributes() { info_.ReleaseTypeAttr(attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    const TYPEATTR* operator->() const { return attributes_; }

private:
    ITypeInfo& info_;
    TYPEATTR* attributes_ = nullptr;
};

ComPtr<ITypeInfo> typeNamed(const wchar_t* name)
{
    const ComPtr<ITypeLib> types = library();
    for (UINT index = 0; index < types->GetTypeInfoCount(); ++index) {
        ComPtr<ITypeInfo> info;
        check(types->GetTypeInfo(index, &info));
        if (nameOf(*info.Get()) == name)
            return info;
    }
    ADD_FAILURE() << "no such type";
    return nullptr;
}

/// A dual interface seen as its table of functions.
ComPtr<ITypeInfo> vtableOf(const wchar_t* name)
{
    const ComPtr<ITypeInfo> info = typeNamed(name);
    HREFTYPE partner = 0;
    ComPtr<ITypeInfo> vtable;
    check(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &partner));
    check(info->GetRefTypeInfo(partner, &vtable));
    return vtable;
}

std::wstring typeText(ITypeInfo& info, const TYPEDESC& type)
{
    switch (type.vt) {
    case VT_PTR:
        return typeText(info, *type.lptdesc) + L"*";
    case VT_USERDEFINED: {
        ComPtr<ITypeInfo> target;
        check(info.GetRefTypeInfo(type.hreftype, &target));
        return nameOf(*target.Get());
    }
    case VT_I2:
        return L"short";
    case VT_I4:
        return L"long";
    case VT_DATE:
        return L"date";
    case VT_BSTR:
        return L"text";
    case VT_BOOL:
        return L"bool";
    case VT_VARIANT:
        return L"variant";
    case VT_DISPATCH:
        return L"object";
    default:
        return L"type " + std::to_wstring(type.vt);
    }
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

std::wstring kindText(INVOKEKIND kind)
{
    switch (kind) {
    case INVOKE_PROPERTYGET:
        return L"get ";
    case INVOKE_PROPERTYPUT:
        return L"put ";
    case INVOKE_PROPERTYPUTREF:
        return L"set ";
    default:
        return L"";
    }
}

/// "id: kind name(parameters)" of a function, with its unusual flags in front.
std::wstring functionText(ITypeInfo& info, const FUNCDESC& function)
{
    std::vector<BSTR> names(static_cast<size_t>(function.cParams) + 1);
    UINT named = 0;
    check(info.GetNames(function.memid, names.data(), static_cast<UINT>(names.size()), &named));
    std::wstring text = std::to_wstring(function.memid) + L": " +
                        ((function.wFuncFlags & FUNCFLAG_FRESTRICTED) ? L"restricted " : L"") +
                        ((function.wFuncFlags & FUNCFLAG_FHIDDEN) ? L"hidden " : L"") + kindText(function.invkind) +
                        com::fromBstr(names[0]) + L"(";
    for (SHORT index = 0; index < function.cParams; ++index)
        text += (index > 0 ? L", " : L"") + parameterText(info, function.lprgelemdescParam[index],
                                                          com::fromBstr(static_cast<size_t>(index) + 1 < named
                                                                            ? names[static_cast<size_t>(index) + 1]
                                                                            : nullptr));
    for (BSTR name : names)
        SysFreeString(name);
    return text + L")";
}

/// The functions of an interface in the order of their slots, which are checked to follow IDispatch without a gap.
Lines functionsOf(const wchar_t* name)
{
    constexpr int kFirstSlot = 7;
    const ComPtr<ITypeInfo> info = vtableOf(name);
    const Attributes attributes(*info.Get());
    Lines lines;
    for (UINT index = 0; index < attributes->cFuncs; ++index) {
        FUNCDESC* function = nullptr;
        check(info->GetFuncDesc(index, &function));
        EXPECT_EQ(function->oVft, static_cast<SHORT>((kFirstSlot + index) * sizeof(void*)));
        EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT);
        EXPECT_EQ(function->callconv, CC_STDCALL);
        lines.push_back(functionText(*info.Get(), *function));
        info->ReleaseFuncDesc(function);
    }
    return lines;
}

TEST(TypeLibrary, HasItsIdAndVersion)
{
    TLIBATTR* attributes = nullptr;
    const ComPtr<ITypeLib> types = library();
    ASSERT_EQ(types->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(guidText(attributes->guid), L"{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}");
    EXPECT_EQ(attributes->wMajorVerNum, 3);
    EXPECT_EQ(attributes->wMinorVerNum, 46);
    EXPECT_EQ(attributes->syskind, SYS_WIN32);
    types->ReleaseTLibAttr(attributes);
    _bstr_t name;
    ASSERT_EQ(types->GetDocumentation(-1, name.GetAddress(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"QuinmarkRepDLL");
}

TEST(TypeLibrary, TypesKeepTheirIds)
{
    Lines lines;
    const ComPtr<ITypeLib> types = library();
    for (UINT index = 0; index < types->GetTypeInfoCount(); ++index) {
        ComPtr<ITypeInfo> info;
        check(types->GetTypeInfo(index, &info));
        const Attributes attributes(*info.Get());
        if (attributes->typekind != TKIND_ALIAS)
            lines.push_back(guidText(attributes->guid) + L" " + nameOf(*info.Get()));
    }
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (Lines{
                         L"{07643B8E-195C-4030-8D8B-3808812335FE} clsConflictData",
                         L"{0783C8F9-50F2-4287-8B2C-237F55920DCA} clsConflict",
                         L"{0CCCC1CB-870D-424E-AE26-DA2F1294AC8C} _Factory",
                         L"{1DA97EF5-8814-48F0-AD25-BA46F5EF9A29} clsReplicate",
                         L"{5A3809E2-B90D-4F44-91AD-9B31E6C69B20} _Collection",
                         L"{3377F82F-69D5-4D7B-B9D9-8D8F1BC70C3F} enumReplicateDeletes",
                         L"{4D650EE4-4645-4F84-AC7B-7E65553FC228} _clsConflictData",
                         L"{79586827-05E1-4F56-8EB0-EA73BFA5E163} Factory",
                         L"{8900A23A-7C5E-4A4D-9C67-70B71CE4C028} enumReplicationUniqueId",
                         L"{8AEC4479-5C30-4C44-8AA0-C4BC9FF98DD8} _clsReplicateTable",
                         L"{A8A3C2C2-106F-4AE3-A6E3-6813FAD93ACD} _clsConflict",
                         L"{B36337EF-3F74-4CFC-B0EC-84AB2E0E5603} clsReplicateTable",
                         L"{B5E6E587-5AEC-4B5B-8426-AC26C74CF0B4} enumConflictType",
                         L"{D36AE8C7-B92C-41D0-9304-6D8EB7B8EECD} enumResolution",
                         L"{D91A5645-ECAD-43FC-B476-443709B2FDC2} enumReplicationMethod",
                         L"{F7252DBA-7FED-40E1-B1FE-51D4CB7F8B3D} _clsReplicate",
                     }));
}

TEST(TypeLibrary, InterfacesAreDualAndHidden)
{
    for (const wchar_t* name :
         {L"_Factory", L"_clsReplicate", L"_clsReplicateTable", L"_clsConflict", L"_clsConflictData", L"_Collection"})
    {
        const ComPtr<ITypeInfo> info = typeNamed(name);
        const Attributes attributes(*info.Get());
        EXPECT_EQ(attributes->typekind, TKIND_DISPATCH) << name;
        constexpr WORD kExpected = TYPEFLAG_FDUAL | TYPEFLAG_FHIDDEN;
        EXPECT_EQ(attributes->wTypeFlags & kExpected, kExpected) << name;
        const ComPtr<ITypeInfo> table = vtableOf(name);
        const Attributes vtable(*table.Get());
        constexpr WORD kVtable = TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDUAL;
        EXPECT_EQ(vtable->wTypeFlags & kVtable, kVtable) << name;
    }
}

/// The interface that a class answers by default.
std::wstring defaultInterface(const wchar_t* name)
{
    const ComPtr<ITypeInfo> info = typeNamed(name);
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> target;
    INT flags = 0;
    check(info->GetRefTypeOfImplType(0, &reference));
    check(info->GetRefTypeInfo(reference, &target));
    check(info->GetImplTypeFlags(0, &flags));
    return (flags & IMPLTYPEFLAG_FDEFAULT) ? nameOf(*target.Get()) : L"none";
}

TEST(TypeLibrary, OnlyTheEntryObjectCanBeCreated)
{
    for (const wchar_t* name : {L"Factory", L"clsReplicate", L"clsReplicateTable", L"clsConflict", L"clsConflictData"})
    {
        const ComPtr<ITypeInfo> info = typeNamed(name);
        const Attributes attributes(*info.Get());
        const bool canCreate = (attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0;
        EXPECT_EQ(canCreate, std::wstring(name) == L"Factory") << name;
        EXPECT_EQ(defaultInterface(name), L"_" + std::wstring(name));
    }
}

Lines valuesOf(const wchar_t* name)
{
    const ComPtr<ITypeInfo> info = typeNamed(name);
    const Attributes attributes(*info.Get());
    Lines lines;
    for (UINT index = 0; index < attributes->cVars; ++index) {
        VARDESC* constant = nullptr;
        check(info->GetVarDesc(index, &constant));
        lines.push_back(nameOf(*info.Get(), constant->memid) + L" = " + com::toText(*constant->lpvarValue));
        info->ReleaseVarDesc(constant);
    }
    return lines;
}

TEST(TypeLibrary, EnumsHaveTheirValues)
{
    EXPECT_EQ(valuesOf(L"enumReplicationMethod"),
              (Lines{L"ONE_WAY_DELETE_ALL = 1", L"ONE_WAY = 2", L"ONE_WAY_ALLOW_DELETES = 3", L"TWO_WAY = 4",
                     L"TWO_WAY_NO_DELETES = 5", L"COMPUTER_TYPE = 6", L"ONE_WAY_WITH_PK_FIELD = 7"}));
    EXPECT_EQ(valuesOf(L"enumReplicationUniqueId"), (Lines{L"OFFICES = 0", L"LAPTOP = 1"}));
    EXPECT_EQ(valuesOf(L"enumConflictType"), (Lines{L"CHANGED_ON_BOTH = 1", L"NEW_ON_source = 2", L"NEW_ON_DEST = 3",
                                                    L"CHANGED_ON_DEST = 4", L"DELETED_ON_SOURCE = 5"}));
    EXPECT_EQ(valuesOf(L"enumResolution"), (Lines{L"USE_SOURCE = 1", L"USE_DESTINATION = 2", L"WORK_LATER = 3"}));
    EXPECT_EQ(valuesOf(L"enumReplicateDeletes"),
              (Lines{L"UNKNOWN = 1", L"DELETE_WITH_UPDATES = 2", L"SKIP_DELETES = 3", L"ONLY_DELETES = 4"}));
}

TEST(TypeLibrary, EntryObjectHasItsSlots)
{
    const std::wstring table = L"enumReplicationMethod* iReplicationMethod, text* sTable, text* sDependentTable, "
                               L"optional text* sPKField = , optional enumReplicateDeletes* eReplicateDeletes = 1";
    EXPECT_EQ(functionsOf(L"_Factory"),
              (Lines{
                  L"1: createReplication(result _clsReplicate**)",
                  L"2: createReplicationTable(" + table + L", result _clsReplicateTable**)",
                  L"3: createConflict(variant* vConflictId, result _clsConflict**)",
                  L"4: init(enumReplicationUniqueId* iReplicationUniqueId, text* sLocalConnection, text* sSourceDB, "
                  L"text* sSourceDSN, text* sSourcePswd, text* sDestinationDB, text* sDestinationDSN, "
                  L"text* sDestinationPswd, short* iLogLevel, text* sLogFile)",
                  L"5: ensureReplication(result bool*)",
                  L"6: disconnect()",
                  L"7: setLogLevel(variant* iLogLevel)",
                  L"8: restricted hidden connectDatabases(bool* bFlag)",
                  L"9: closeConnection()",
                  L"10: setError(bool* bError, text* sErrorMsg)",
                  L"11: resetError()",
                  L"12: get Version(result text*)",
                  L"13: get sErrorMessage(result variant*)",
              }));
}

TEST(TypeLibrary, RunObjectHasItsSlots)
{
    EXPECT_EQ(functionsOf(L"_clsReplicate"), (Lines{
                                                 L"1: SetReady()",
                                                 L"2: initNextRun(short* iFreq, text* sPgmVersion)",
                                                 L"3: go(variant* col)",
                                                 L"4: get bError(result bool*)",
                                                 L"5: get bReady(result bool*)",
                                                 L"6: get dLastReplicate(result date*)",
                                                 L"7: get dNextReplicate(result date*)",
                                                 L"8: get sErrorMessage(result text*)",
                                             }));
}

TEST(TypeLibrary, TableObjectHasItsSlotsWithPropertyIdsFalling)
{
    const std::wstring table = L"enumReplicationMethod* iReplicationMethod, text* sTable, text* sDependentTable, "
                               L"optional text* sPKField = , optional enumReplicateDeletes* eReplicateDeletes = 1";
    EXPECT_EQ(functionsOf(L"_clsReplicateTable"),
              (Lines{
                  L"16: init(" + table + L")",
                  L"17: go(date* dLastReplicate, date* dNextReplicate, result variant*)",
                  L"18: replicateOneWayDeleteAll()",
                  L"19: replicateComputerType()",
                  L"20: replicateTableTwoWay(bool* bDeletes)",
                  L"21: replicateOneWay(bool* bAllowDeletes)",
                  L"22: replicateOneWayWithPKField()",
                  L"8: get sTable(result text*)",
                  L"7: get lCntSourceAdd(result long*)",
                  L"6: get lCntSourceUpdate(result long*)",
                  L"5: get lCntSourceDelete(result long*)",
                  L"4: get lCntDestAdd(result long*)",
                  L"3: get lCntDestUpdate(result long*)",
                  L"2: get lCntDestDelete(result long*)",
                  L"1: get lCntConflict(result long*)",
                  L"0: get lCntError(result long*)",
              }));
}

Lines property(const std::wstring& id, const std::wstring& name, const std::wstring& type)
{
    return {id + L": get " + name + L"(result " + type + L"*)", id + L": put " + name + L"(" + type + L"* value)"};
}

TEST(TypeLibrary, ConflictHasItsSlots)
{
    Lines expected = {L"1: loadFromRs(object* rs)", L"2: save(result variant*)", L"3: edit(result bool*)",
                      L"4: resolve(result bool*)", L"5: get vConflictId(result variant*)"};
    const auto append = [&](const Lines& lines) { expected.insert(expected.end(), lines.begin(), lines.end()); };
    append(property(L"6", L"lPatientId", L"long"));
    append(property(L"7", L"vGuid", L"variant"));
    append(property(L"8", L"iConflictType", L"short"));
    append(property(L"9", L"sKeyInfo", L"text"));
    append({L"10: get colData(result object*)", L"10: set colData(object* value)"});
    append(property(L"11", L"dSource", L"date"));
    append(property(L"12", L"dDestination", L"date"));
    append(property(L"13", L"iResolutionType", L"short"));
    append(property(L"14", L"dNextReplicate", L"date"));
    append(property(L"15", L"sTable", L"text"));
    append({L"16: get bExists(result text*)", L"17: get sErrorMessage(result text*)"});
    EXPECT_EQ(functionsOf(L"_clsConflict"), expected);
}

TEST(TypeLibrary, ConflictDataHasItsSlots)
{
    Lines expected;
    for (const Lines& lines : {property(L"1", L"sField", L"text"), property(L"2", L"sSourceData", L"text"),
                               property(L"3", L"sDestinationData", L"text")})
        expected.insert(expected.end(), lines.begin(), lines.end());
    EXPECT_EQ(functionsOf(L"_clsConflictData"), expected);
}

} // namespace
