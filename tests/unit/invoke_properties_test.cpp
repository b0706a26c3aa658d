#include "com/convert.h"
#include "support/LateCall.h"
#include "support/RecordingFaces.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

_variant_t int16(short value)
{
    return value;
}

TEST(InvokeProperties, ArePutInTheDeclaredFormAndReadBack)
{
    const auto conflict = makeObject<RecordingConflict>();
    const auto roundTrip = [&](const wchar_t* member, const _variant_t& value) {
        EXPECT_EQ(latePut(conflict.Get(), member, value).code, S_OK);
        return lateGet(conflict.Get(), member).value;
    };
    EXPECT_EQ(roundTrip(L"lPatientId", textVariant(L"70000")), _variant_t(70000L));
    EXPECT_EQ(roundTrip(L"vGuid", textVariant(L"{1}")), textVariant(L"{1}"));
    EXPECT_EQ(roundTrip(L"iConflictType", 4L), int16(4));
    EXPECT_EQ(roundTrip(L"sKeyInfo", 12L), textVariant(L"12"));
    EXPECT_EQ(roundTrip(L"dSource", 43895L), _variant_t(43895.0, VT_DATE));
    EXPECT_EQ(roundTrip(L"dDestination", _variant_t(1.5, VT_DATE)), _variant_t(1.5, VT_DATE));
    EXPECT_EQ(roundTrip(L"iResolutionType", textVariant(L"2")), int16(2));
    EXPECT_EQ(roundTrip(L"dNextReplicate", 2.25), _variant_t(2.25, VT_DATE));
    EXPECT_EQ(roundTrip(L"sTable", textVariant(L"patient")), textVariant(L"patient"));
}

TEST(InvokeProperties, ValueIsPutFromAVariableToo)
{
    const auto conflict = makeObject<RecordingConflict>();
    _variant_t variable = textVariant(L"17");
    EXPECT_EQ(latePut(conflict.Get(), L"lPatientId", byReference(variable)).code, S_OK);
    EXPECT_EQ(lateGet(conflict.Get(), L"lPatientId").value, _variant_t(17L));
}

TEST(InvokeProperties, ObjectIsSetByReferenceOrByPlainAssignment)
{
    const auto conflict = makeObject<RecordingConflict>();
    const auto data = makeObject<RecordingFactory>();
    const _variant_t object(static_cast<IDispatch*>(data.Get()));
    for (const WORD flags : {WORD{DISPATCH_PROPERTYPUTREF}, WORD{DISPATCH_PROPERTYPUT},
                             WORD{DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF}})
    {
        EXPECT_EQ(latePut(conflict.Get(), L"colData", _variant_t(static_cast<IDispatch*>(nullptr)), flags).code, S_OK);
        EXPECT_EQ(lateGet(conflict.Get(), L"colData").value.pdispVal, nullptr);
        EXPECT_EQ(latePut(conflict.Get(), L"colData", object, flags).code, S_OK);
        EXPECT_EQ(lateGet(conflict.Get(), L"colData").value, object);
    }
    EXPECT_EQ(latePut(conflict.Get(), L"colData", textVariant(L"plain"), DISPATCH_PROPERTYPUTREF).code,
              DISP_E_TYPEMISMATCH);
}

TEST(InvokeProperties, PlainPropertyIsNotSetByReference)
{
    const auto conflict = makeObject<RecordingConflict>();
    EXPECT_EQ(latePut(conflict.Get(), L"sTable", textVariant(L"x"), DISPATCH_PROPERTYPUTREF).code,
              DISP_E_MEMBERNOTFOUND);
}

TEST(InvokeProperties, PutWithoutAValueIsNotOptional)
{
    const auto conflict = makeObject<RecordingConflict>();
    EXPECT_EQ(lateInvoke(conflict.Get(), L"sTable", DISPATCH_PROPERTYPUT).code, DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(latePut(conflict.Get(), L"lPatientId", textVariant(L"x")).code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(latePut(conflict.Get(), L"iConflictType", 40000L).code, DISP_E_OVERFLOW);
}

TEST(InvokeObjects, ObjectArrivesAsLiteralAndAsVariable)
{
    const auto conflict = makeObject<RecordingConflict>();
    const auto recordset = makeObject<RecordingFactory>();
    _variant_t object(static_cast<IDispatch*>(recordset.Get()));
    IDispatch* typed = recordset.Get();
    _variant_t unknown(static_cast<IUnknown*>(static_cast<IDispatch*>(recordset.Get())));
    for (const _variant_t& argument : {object, byReference(object), byReference(VT_DISPATCH, &typed), unknown}) {
        conflict->recordset.Reset();
        EXPECT_EQ(lateCall(conflict.Get(), L"loadFromRs", {argument}).code, S_OK) << argument.vt;
        EXPECT_EQ(conflict->recordset.Get(), recordset.Get()) << argument.vt;
    }
    EXPECT_EQ(lateCall(conflict.Get(), L"loadFromRs", {textVariant(L"rs")}).code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(lateCall(conflict.Get(), L"loadFromRs", {_variant_t()}).code, DISP_E_TYPEMISMATCH);
}

TEST(InvokeObjects, ResultsOfEveryTypeComeBack)
{
    const auto conflict = makeObject<RecordingConflict>();
    EXPECT_EQ(lateCall(conflict.Get(), L"save").value, int16(-1));
    EXPECT_EQ(lateCall(conflict.Get(), L"edit").value, _variant_t(true));
    EXPECT_EQ(lateCall(conflict.Get(), L"resolve").value, _variant_t(false));
    EXPECT_EQ(lateGet(conflict.Get(), L"vConflictId").value, textVariant(L"id"));
    EXPECT_EQ(lateGet(conflict.Get(), L"bExists").value, textVariant(L"False"));
    EXPECT_EQ(lateGet(conflict.Get(), L"sErrorMessage").value, textVariant(L""));
}

TEST(TypeInformation, IsTheInterfacesOwn)
{
    const auto factory = makeObject<RecordingFactory>();
    UINT count = 0;
    EXPECT_EQ(factory->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(factory->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), S_OK);
    _bstr_t name;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, name.GetAddress(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"_Factory");
}

TEST(TypeInformation, OtherIndexIsABadIndexAndClearsTheResult)
{
    const auto factory = makeObject<RecordingFactory>();
    auto* info = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_EQ(factory->GetTypeInfo(1, LOCALE_USER_DEFAULT, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(factory->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr), E_POINTER);
    EXPECT_EQ(factory->GetTypeInfoCount(nullptr), E_POINTER);
}

} // namespace
} // namespace com
