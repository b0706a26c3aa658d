#include "com/invoke.h"

#include "com/convert.h"
#include "conflicts/ConflictFace.h"
#include "control/FactoryFace.h"
#include "support/LateCall.h"
#include "support/recording_fixture.h"
#include "support/recording_table.h"

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace com {
namespace {

constexpr HRESULT kFailed = static_cast<HRESULT>(0x800403E8);
constexpr DISPID kSTable = 8;
constexpr DISPID kInit = 16;
constexpr DISPID kDeleteAll = 18;

_variant_t objectVariant(IDispatch* object)
{
    return object;
}

/// Late-bound calls of objects that are served from the type library.
class Invoke : public RecordingTest
{
protected:
    LateResult init(std::vector<_variant_t> arguments) { return lateCall(table_.Get(), L"init", std::move(arguments)); }

    /// Calls a member of the table that takes no arguments, and asks for no exception record.
    HRESULT invokePlain(DISPID id, WORD flags, REFIID reserved = IID_NULL)
    {
        DISPPARAMS none{};
        return table_->Invoke(id, reserved, 0, flags, &none, nullptr, nullptr, nullptr);
    }

    void failTable()
    {
        table_->failure = [] { throw Error{kFailed, L"Recording.source", L"Recorded failure"}; };
    }

    const ComPtr<RecordingTable> table_ = makeObject<RecordingTable>();
    const ComPtr<ConflictFace> conflict_ = makeObject<ConflictFace>(clsConflict());
    const ComPtr<FactoryFace> factory_ = makeObject<FactoryFace>();
};

struct Arriving
{
    std::vector<_variant_t> arguments;
    std::wstring call;
};

TEST_F(Invoke, ArgumentsArriveInTheDeclaredForm)
{
    _variant_t method(static_cast<short>(2));
    _variant_t table(L"patient");
    const Arriving cases[] = {
        {{static_cast<short>(3), L"patient", L"child", L"key", 4L}, L"init(3, patient, child, key, 4)"},
        {{L"3", 12L, _variant_t(), true, 2.0}, L"init(3, 12, , True, 2)"},
        {{byReference(method), byReference(table), L""}, L"init(2, patient, , , 1)"},
        // Those left out get their defaults.
        {{2L, L"patient", L""}, L"init(2, patient, , , 1)"},
        {{2L, L"patient", L"", L"key"}, L"init(2, patient, , key, 1)"},
        {{2L, L"patient", L"", missing(), 3L}, L"init(2, patient, , , 3)"},
        {{2L, L"patient", L"", missing(), missing()}, L"init(2, patient, , , 1)"},
    };
    for (const auto& [arguments, call] : cases) {
        EXPECT_EQ(init(arguments).code, S_OK);
        EXPECT_EQ(table_->calls.back(), call);
    }
}

/// The table leaves the method 7 and the text "left" in its arguments.
class InvokeWrites : public Invoke
{
protected:
    InvokeWrites() { table_->writesArguments = true; }

    void initialise(const _variant_t& method, const _variant_t& text)
    {
        EXPECT_EQ(init({method, text, L""}).code, S_OK);
        EXPECT_EQ(table_->calls.back(), L"init(2, before, , , 1)");
    }
};

TEST_F(InvokeWrites, VariablesOfAScriptInTheDeclaredForm)
{
    _variant_t method(L"2");
    _variant_t text(L"before");
    initialise(byReference(method), byReference(text));
    EXPECT_EQ(method, _variant_t(7L));
    EXPECT_EQ(text, _variant_t(L"left"));
}

TEST_F(InvokeWrites, VariableThatAVariableRefersTo)
{
    _variant_t text(L"before");
    VARIANT outer = byReference(text);
    initialise(2L, byReference(outer));
    EXPECT_EQ(text, _variant_t(L"left"));
}

TEST_F(InvokeWrites, TypedVariablesThemselves)
{
    long method = 2;
    BSTR text = SysAllocString(L"before");
    initialise(byReference(VT_I4, &method), byReference(VT_BSTR, &text));
    EXPECT_EQ(method, 7);
    EXPECT_EQ(fromBstr(text), L"left");
    SysReAllocString(&text, L"before");
    VARIANT outer = byReference(VT_BSTR, &text);
    initialise(2L, byReference(outer));
    EXPECT_EQ(takeBstr(text), L"left");
}

TEST_F(InvokeWrites, NeitherLiteralsNorVariablesOfAnotherType)
{
    double method = 2;
    const _variant_t text(L"before");
    initialise(byReference(VT_R8, &method), text);
    EXPECT_EQ(method, 2);
    EXPECT_EQ(text, _variant_t(L"before"));
}

TEST_F(InvokeWrites, VariablesOfAFailedMember)
{
    failTable();
    _variant_t text(L"before");
    EXPECT_EQ(init({2L, byReference(text), L""}).scode, kFailed);
    EXPECT_EQ(text, _variant_t(L"left"));
}

struct Refused
{
    std::vector<_variant_t> arguments;
    HRESULT code;
    UINT badArgument = kNoBadArgument;
};

TEST_F(Invoke, ArgumentsThatDoNotFitAreRefusedByTheirIndex)
{
    VARIANT circle;
    circle.vt = VT_BYREF | VT_VARIANT;
    circle.pvarVal = &circle;
    const Refused cases[] = {
        {{L"perhaps", L"t", L""}, DISP_E_TYPEMISMATCH, 2},
        {{2L, adoNull(), L""}, DISP_E_TYPEMISMATCH, 1},
        {{2L, L"t", objectVariant(table_.Get())}, DISP_E_TYPEMISMATCH, 0},
        {{objectVariant(nullptr), L"t", L""}, DISP_E_TYPEMISMATCH, 2},
        {{2147483648.0, L"t", L""}, DISP_E_OVERFLOW, 2},
        // references that lead nowhere
        {{2L, byReference(VT_VARIANT, nullptr), L""}, DISP_E_TYPEMISMATCH, 1},
        {{2L, byReference(VT_BSTR, nullptr), L""}, DISP_E_TYPEMISMATCH, 1},
        {{2L, byReference(VT_I4, nullptr), L""}, DISP_E_TYPEMISMATCH, 1},
        {{2L, byReference(VT_DISPATCH, nullptr), L""}, DISP_E_TYPEMISMATCH, 1},
        {{2L, byReference(circle), L""}, DISP_E_TYPEMISMATCH, 1},
        // too many or too few
        {{2L, L"t", L"", L"", 1L, 1L}, DISP_E_BADPARAMCOUNT},
        {{2L, L"t"}, DISP_E_PARAMNOTOPTIONAL},
        {{}, DISP_E_PARAMNOTOPTIONAL},
        {{2L, missing(), L""}, DISP_E_PARAMNOTOPTIONAL, 1},
    };
    for (const Refused& one : cases) {
        const LateResult result = init(one.arguments);
        EXPECT_EQ(result.code, one.code) << &one - cases;
        EXPECT_EQ(result.badArgument, one.badArgument) << &one - cases;
    }
    EXPECT_EQ(lateCall(table_.Get(), L"replicateComputerType", {1L}).code, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(table_->calls, std::vector<std::wstring>());
    EXPECT_EQ(latePut(conflict_.Get(), L"vGuid", byReference(VT_VARIANT, nullptr)).code, DISP_E_TYPEMISMATCH);
}

TEST_F(Invoke, NamedArgumentsFindTheirPlaces)
{
    const LateArguments arguments{{5L}, {{4, 2L}, {2, L"child"}, {1, L"patient"}}};
    EXPECT_EQ(lateInvoke(table_.Get(), L"init", DISPATCH_METHOD, arguments).code, S_OK);
    EXPECT_EQ(table_->calls.back(), L"init(5, patient, child, , 2)");
}

TEST_F(Invoke, NamedArgumentThatIsUnknownOrGivenTwiceIsRefusedByItsIndex)
{
    const LateResult twice = lateInvoke(table_.Get(), L"init", DISPATCH_METHOD, {{2L}, {{0, 3L}}});
    EXPECT_EQ(twice.code, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(twice.badArgument, 1U);
    const LateResult stranger = lateInvoke(table_.Get(), L"init", DISPATCH_METHOD, {{2L}, {{17, L"t"}}});
    EXPECT_EQ(stranger.code, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(stranger.badArgument, 0U);
}

TEST_F(Invoke, NamesOfParametersAreTheirPositions)
{
    LPOLESTR names[] = {const_cast<LPOLESTR>(L"INIT"), const_cast<LPOLESTR>(L"sPKField"),
                        const_cast<LPOLESTR>(L"iReplicationMethod")};
    DISPID ids[3] = {};
    EXPECT_EQ(table_->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids), S_OK);
    EXPECT_EQ(ids[0], kInit);
    EXPECT_EQ(ids[1], 3);
    EXPECT_EQ(ids[2], 0);
}

TEST_F(Invoke, MemberThatIsRestrictedUnknownOrOfAnotherKindIsNotFound)
{
    constexpr DISPID kConnectDatabases = 8;
    EXPECT_EQ(lateInvokeId(factory_.Get(), kConnectDatabases, DISPATCH_METHOD, {{true}, {}}).code,
              DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(lateInvokeId(table_.Get(), 999, DISPATCH_METHOD).code, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(lateCall(table_.Get(), L"noSuchMember").code, DISP_E_UNKNOWNNAME);
    EXPECT_EQ(latePut(factory_.Get(), L"Version", L"1").code, DISP_E_MEMBERNOTFOUND) << "is read only";
    EXPECT_EQ(latePut(conflict_.Get(), L"sTable", L"x", DISPATCH_PROPERTYPUTREF).code, DISP_E_MEMBERNOTFOUND);
}

TEST_F(Invoke, CallsThatAreMalformedAreRefused)
{
    EXPECT_EQ(table_->Invoke(kInit, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(invokePlain(kDeleteAll, DISPATCH_METHOD, IID_IUnknown), DISP_E_UNKNOWNINTERFACE);
    LPOLESTR name = const_cast<LPOLESTR>(L"init");
    DISPID id = 0;
    EXPECT_EQ(table_->GetIDsOfNames(IID_IUnknown, &name, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(table_->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_INVALIDARG);
    EXPECT_EQ(table_->GetIDsOfNames(IID_NULL, &name, 1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(table_->calls, std::vector<std::wstring>());
}

TEST_F(Invoke, ResultsAreOptional)
{
    EXPECT_EQ(invokePlain(kDeleteAll, DISPATCH_METHOD), S_OK);
    EXPECT_EQ(invokePlain(kSTable, DISPATCH_PROPERTYGET), S_OK);
    EXPECT_EQ(table_->calls, (std::vector<std::wstring>{L"replicateOneWayDeleteAll", L"sTable"}));
}

TEST_F(Invoke, PropertyIsReadAsScriptsReadIt)
{
    EXPECT_EQ(lateGet(table_.Get(), L"sTable").value, _variant_t(L"recorded"));
    EXPECT_EQ(lateInvoke(table_.Get(), L"stable", DISPATCH_PROPERTYGET | DISPATCH_METHOD).value,
              _variant_t(L"recorded"));
}

TEST_F(Invoke, FailureCarriesNumberSourceAndDescription)
{
    failTable();
    const LateResult result = lateCall(table_.Get(), L"replicateOneWayDeleteAll");
    EXPECT_EQ(result.code, DISP_E_EXCEPTION);
    EXPECT_EQ(result.scode, kFailed);
    EXPECT_EQ(result.source, L"Recording.source");
    EXPECT_EQ(result.description, L"Recorded failure");
    EXPECT_EQ(invokePlain(kDeleteAll, DISPATCH_METHOD), kFailed) << "without an exception record";
}

TEST_F(Invoke, VariableThatTakesNoValueFailsASuccessfulCallOnly)
{
    // It holds an array that is in use.
    const auto callWithLocked = [&](const wchar_t* member) {
        VARIANT variable{};
        variable.parray = SafeArrayCreateVector(VT_I4, 0, 1);
        variable.vt = VT_ARRAY | VT_I4;
        SAFEARRAY* const array = variable.parray;
        check(SafeArrayLock(array));
        LateResult result = lateCall(factory_.Get(), member, {byReference(variable)});
        SafeArrayUnlock(array);
        SafeArrayDestroy(array);
        return result;
    };
    EXPECT_EQ(callWithLocked(L"createConflict").code, DISP_E_ARRAYISLOCKED);
    const LateResult failed = callWithLocked(L"setLogLevel");
    EXPECT_EQ(failed.code, DISP_E_EXCEPTION);
    EXPECT_EQ(failed.source, L"QuinmarkRepDLL");
    EXPECT_EQ(failed.description, L"Type mismatch");
}

TEST_F(Invoke, ValueOfAPropertyMayBeInAVariable)
{
    _variant_t variable(L"17");
    EXPECT_EQ(latePut(conflict_.Get(), L"lPatientId", byReference(variable)).code, S_OK);
    EXPECT_EQ(lateGet(conflict_.Get(), L"lPatientId").value, _variant_t(17L));
    EXPECT_EQ(lateInvoke(conflict_.Get(), L"sTable", DISPATCH_PROPERTYPUT).code, DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(Invoke, ObjectIsSetByReferenceOrByPlainAssignment)
{
    _variant_t object = objectVariant(table_.Get());
    IDispatch* typed = table_.Get();
    const _variant_t unknown(static_cast<IUnknown*>(typed));
    for (const WORD flags : {WORD{DISPATCH_PROPERTYPUTREF}, WORD{DISPATCH_PROPERTYPUT},
                             WORD{DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF}})
        for (const _variant_t& form : {object, byReference(object), byReference(VT_DISPATCH, &typed), unknown}) {
            EXPECT_EQ(latePut(conflict_.Get(), L"colData", objectVariant(nullptr), flags).code, S_OK);
            EXPECT_EQ(lateGet(conflict_.Get(), L"colData").value.pdispVal, nullptr);
            EXPECT_EQ(latePut(conflict_.Get(), L"colData", form, flags).code, S_OK) << form.vt;
            EXPECT_EQ(lateGet(conflict_.Get(), L"colData").value, object) << form.vt;
        }
    for (const _variant_t& plain : {_variant_t(L"rs"), _variant_t()})
        EXPECT_EQ(latePut(conflict_.Get(), L"colData", plain, DISPATCH_PROPERTYPUTREF).code, DISP_E_TYPEMISMATCH);
}

} // namespace
} // namespace com
