#include "com/boundary.h"
#include "com/module.h"
#include "conflicts/Collection.h"
#include "conflicts/ConflictDataFace.h"
#include "conflicts/ConflictFace.h"
#include "control/FactoryFace.h"
#include "control/ReplicateFace.h"
#include "replication/ReplicateTableFace.h"
#include "support/recording_error.h"

#include <gtest/gtest.h>

using namespace quinmark;
using com::makeObject;
using Microsoft::WRL::ComPtr;

namespace {

/// Calls a function of the object's vtable with a null pointer for one of its arguments and nothing in the others:
/// numbers are zero, texts and variants empty.
HRESULT callWithNull(IDispatch& face, const FUNCDESC& function, size_t null)
{
    const auto count = static_cast<size_t>(function.cParams);
    std::vector<VARIANT> variables(count);
    std::vector<VARIANTARG> arguments(count);
    std::vector<VARIANTARG*> pointers(count);
    std::vector<VARTYPE> types(count, VT_BYREF | VT_VARIANT);
    for (size_t index = 0; index < count; ++index) {
        arguments[index].vt = types[index];
        arguments[index].pvarVal = index == null ? nullptr : &variables[index];
        pointers[index] = &arguments[index];
    }
    _variant_t result;
    com::check(DispCallFunc(&face, static_cast<ULONG_PTR>(function.oVft), function.callconv, VT_ERROR,
                            static_cast<UINT>(count), types.data(), pointers.data(), &result));
    return result.scode;
}

void expectNullRefused(IDispatch& face)
{
    ComPtr<ITypeInfo> dispatch;
    ComPtr<ITypeInfo> vtable;
    HREFTYPE partner = 0;
    ASSERT_EQ(face.GetTypeInfo(0, 0, &dispatch), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &partner), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeInfo(partner, &vtable), S_OK);
    UINT functions = 0;
    for (FUNCDESC* function = nullptr; SUCCEEDED(vtable->GetFuncDesc(functions, &function)); ++functions) {
        const bool restricted = (function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0;
        for (size_t null = 0; !restricted && null < static_cast<size_t>(function->cParams); ++null)
            EXPECT_EQ(callWithNull(face, *function, null), E_POINTER)
                << "member " << function->memid << ", argument " << null;
        vtable->ReleaseFuncDesc(function);
    }
    EXPECT_GT(functions, 2U);
}

TEST(Faces, RefuseANullPointerForEachArgument)
{
    expectNullRefused(*makeObject<FactoryFace>().Get());
    expectNullRefused(*makeObject<ReplicateFace>().Get());
    expectNullRefused(*makeObject<ReplicateTableFace>(std::make_unique<clsReplicateTable>()).Get());
    expectNullRefused(*makeObject<ConflictFace>(clsConflict()).Get());
    expectNullRefused(*makeObject<ConflictDataFace>(clsConflictData()).Get());
    expectNullRefused(*makeObject<quinmark::Collection>().Get());
    EXPECT_FALSE(com::moduleInUse());
}

class FaceTest : public testing::Test
{
protected:
    const ComPtr<FactoryFace> factory_ = makeObject<FactoryFace>();
};

TEST_F(FaceTest, FailureClearsTheResultAndLeavesAnErrorObject)
{
    enumReplicationMethod method = ONE_WAY;
    _bstr_t table = L"patient";
    _bstr_t dependent = L"child";
    _bstr_t key;
    enumReplicateDeletes deletes = UNKNOWN;
    auto* result = reinterpret_cast<_clsReplicateTable*>(1);
    EXPECT_EQ(factory_->createReplicationTable(&method, &table.GetBSTR(), &dependent.GetBSTR(), &key.GetBSTR(),
                                               &deletes, &result),
              kOwnErrorRaised);
    EXPECT_EQ(result, nullptr);
    // The error object, which is taken away.
    EXPECT_EQ(raised([] { com::checkCall(E_FAIL); }),
              (com::Error{E_FAIL, L"clsReplicateTable.init",
                          L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"}));
}

TEST_F(FaceTest, FailureClearsAVariantToo)
{
    const auto table = makeObject<ReplicateTableFace>(std::make_unique<clsReplicateTable>());
    DATE date = 0;
    _variant_t result(5L);
    EXPECT_EQ(table->go(&date, &date, &result), kOwnErrorRaised);
    EXPECT_EQ(result.vt, VT_EMPTY);
}

TEST_F(FaceTest, SupportsErrorInfoOfItsOwnInterfaceOnly)
{
    ComPtr<ISupportErrorInfo> support;
    ASSERT_EQ(factory_.As(&support), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_Factory)), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_clsReplicate)), S_FALSE);
}

TEST_F(FaceTest, KeepsTheRulesOfIdentity)
{
    ComPtr<ISupportErrorInfo> support;
    ComPtr<IUnknown> fromFactory;
    ComPtr<IUnknown> fromSupport;
    ASSERT_EQ(factory_.As(&support), S_OK);
    ASSERT_EQ(factory_->QueryInterface(IID_PPV_ARGS(&fromFactory)), S_OK);
    ASSERT_EQ(support.As(&fromSupport), S_OK);
    EXPECT_EQ(fromFactory, fromSupport);
    void* unknown = factory_.Get();
    EXPECT_EQ(factory_->QueryInterface(__uuidof(_clsReplicate), &unknown), E_NOINTERFACE);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(factory_->QueryInterface(__uuidof(_Factory), nullptr), E_POINTER);
}

TEST_F(FaceTest, TypeInformationIsTheInterfacesOwn)
{
    UINT count = 0;
    EXPECT_EQ(factory_->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(factory_->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), S_OK);
    _bstr_t name;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, name.GetAddress(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"_Factory");
    auto* none = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_EQ(factory_->GetTypeInfo(1, LOCALE_USER_DEFAULT, &none), DISP_E_BADINDEX);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(factory_->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr), E_POINTER);
    EXPECT_EQ(factory_->GetTypeInfoCount(nullptr), E_POINTER);
}

} // namespace
