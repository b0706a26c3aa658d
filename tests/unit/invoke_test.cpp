#include "com/invoke.h"

#include "com/convert.h"
#include "com/error.h"
#include "support/LateCall.h"
#include "support/RecordingFaces.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

const _variant_t kNull = [] {
    _variant_t value;
    value.ChangeType(VT_NULL);
    return value;
}();

_variant_t text(const wchar_t* value)
{
    return textVariant(value);
}

_variant_t int16(short value)
{
    return value;
}

class Invoke : public testing::Test
{
protected:
    std::wstring tableCall(std::vector<_variant_t> arguments, HRESULT expected = S_OK)
    {
        const LateResult result = lateCall(factory.Get(), L"createReplicationTable", std::move(arguments));
        EXPECT_EQ(result.code, expected);
        return factory->lastCall;
    }

    LateResult setError(const _variant_t& flag, const _variant_t& message)
    {
        return lateCall(factory.Get(), L"setError", {flag, message});
    }

    ComPtr<RecordingFactory> factory = makeObject<RecordingFactory>();
};

TEST_F(Invoke, LiteralsArriveInTheDeclaredForm)
{
    EXPECT_EQ(tableCall({int16(3), text(L"patient"), text(L"child"), text(L"key"), 4L}),
              L"createReplicationTable(3, patient, child, key, 4)");
    EXPECT_EQ(tableCall({text(L"3"), 12L, _variant_t(), _variant_t(true), 2.0}),
              L"createReplicationTable(3, 12, , True, 2)");
}

TEST_F(Invoke, LeftOutOptionalsGetTheirDefaults)
{
    EXPECT_EQ(tableCall({2L, text(L"patient"), text(L"")}), L"createReplicationTable(2, patient, , , 1)");
    EXPECT_EQ(tableCall({2L, text(L"patient"), text(L""), text(L"key")}),
              L"createReplicationTable(2, patient, , key, 1)");
    EXPECT_EQ(tableCall({2L, text(L"patient"), text(L""), missing(), 3L}),
              L"createReplicationTable(2, patient, , , 3)");
    EXPECT_EQ(tableCall({2L, text(L"patient"), text(L""), missing(), missing()}),
              L"createReplicationTable(2, patient, , , 1)");
}

TEST_F(Invoke, VariablesOfAScriptArriveInTheDeclaredForm)
{
    _variant_t method(int16(2));
    _variant_t table = text(L"patient");
    EXPECT_EQ(tableCall({byReference(method), byReference(table), text(L"")}),
              L"createReplicationTable(2, patient, , , 1)");
}

TEST_F(Invoke, VariablesOfAScriptAreWrittenBackInTheDeclaredForm)
{
    factory->textLeftBehind = L"after";
    _variant_t flag(0L);
    _variant_t message(7L);
    EXPECT_EQ(setError(byReference(flag), byReference(message)).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"setError(false, 7)");
    EXPECT_EQ(flag, _variant_t(true));
    EXPECT_EQ(message, text(L"after"));
}

TEST_F(Invoke, LiteralsAreNotWrittenTo)
{
    factory->textLeftBehind = L"after";
    const _variant_t message = text(L"before");
    EXPECT_EQ(setError(true, message).code, S_OK);
    EXPECT_EQ(message, text(L"before"));
}

TEST_F(Invoke, VariableBehindAVariableIsReadAndWritten)
{
    factory->textLeftBehind = L"after";
    _variant_t inner = text(L"before");
    VARIANT outer = byReference(inner);
    EXPECT_EQ(setError(true, byReference(outer)).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"setError(true, before)");
    EXPECT_EQ(toText(inner), L"after");
}

TEST_F(Invoke, TypedVariableBehindAVariableIsReadAndWritten)
{
    factory->textLeftBehind = L"after";
    BSTR inner = SysAllocString(L"before");
    VARIANT outer = byReference(VT_BSTR, &inner);
    EXPECT_EQ(setError(true, byReference(outer)).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"setError(true, before)");
    EXPECT_EQ(fromBstr(inner), L"after");
    VariantClear(&outer);
    SysFreeString(inner);
}

TEST_F(Invoke, TypedVariableIsHandedOverItself)
{
    factory->textLeftBehind = L"after";
    VARIANT_BOOL flag = VARIANT_TRUE;
    BSTR message = SysAllocString(L"before");
    EXPECT_EQ(setError(byReference(VT_BOOL, &flag), byReference(VT_BSTR, &message)).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"setError(true, before)");
    EXPECT_EQ(flag, VARIANT_FALSE);
    EXPECT_EQ(fromBstr(message), L"after");
    SysFreeString(message);
}

TEST_F(Invoke, VariableOfAnotherTypeIsConverted)
{
    long number = 1;
    double method = 6.0;
    EXPECT_EQ(setError(byReference(VT_I4, &number), byReference(VT_R8, &method)).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"setError(true, 6)");
    EXPECT_EQ(number, 1);
}

TEST_F(Invoke, ReferenceThatLeadsNowhereIsATypeMismatch)
{
    for (const VARTYPE type : {VT_VARIANT, VT_BSTR, VT_I4, VT_DISPATCH}) {
        const LateResult result = setError(true, byReference(static_cast<VARTYPE>(type), nullptr));
        EXPECT_EQ(result.code, DISP_E_TYPEMISMATCH) << type;
        EXPECT_EQ(result.badArgument, 0U) << type;
    }
    EXPECT_EQ(lateCall(factory.Get(), L"setLogLevel", {byReference(VT_VARIANT, nullptr)}).code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(factory->lastCall, L"");
}

TEST_F(Invoke, VariableThatRefersToItselfIsATypeMismatch)
{
    VARIANT circle;
    circle.vt = VT_BYREF | VT_VARIANT;
    circle.pvarVal = &circle;
    EXPECT_EQ(setError(true, byReference(circle)).code, DISP_E_TYPEMISMATCH);
}

TEST_F(Invoke, ValueThatHasNoSuchFormNamesItsIndex)
{
    const LateResult first = setError(text(L"perhaps"), text(L"m"));
    EXPECT_EQ(first.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(first.badArgument, 1U);
    const LateResult null = setError(true, kNull);
    EXPECT_EQ(null.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(null.badArgument, 0U);
    const LateResult object = setError(true, _variant_t(factory.Get()));
    EXPECT_EQ(object.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(object.badArgument, 0U);
    const LateResult nothing = setError(_variant_t(static_cast<IDispatch*>(nullptr)), text(L"m"));
    EXPECT_EQ(nothing.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(nothing.badArgument, 1U);
    EXPECT_EQ(factory->lastCall, L"");
}

TEST_F(Invoke, NumberThatDoesNotFitOverflowsWithItsIndex)
{
    const LateResult result = lateCall(
        factory.Get(), L"init",
        {0L, text(L"SOURCE"), text(L""), text(L""), text(L""), text(L""), text(L""), text(L""), 32768L, text(L"")});
    EXPECT_EQ(result.code, DISP_E_OVERFLOW);
    EXPECT_EQ(result.badArgument, 1U);
}

TEST_F(Invoke, SurplusArgumentIsABadCount)
{
    EXPECT_EQ(lateCall(factory.Get(), L"disconnect", {1L}).code, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(lateCall(factory.Get(), L"setError", {true, text(L"m"), 1L}).code, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(tableCall({2L, text(L"p"), text(L""), text(L""), 1L, 1L}, DISP_E_BADPARAMCOUNT), L"");
}

TEST_F(Invoke, MissingArgumentIsNotOptional)
{
    EXPECT_EQ(tableCall({2L, text(L"patient")}, DISP_E_PARAMNOTOPTIONAL), L"");
    EXPECT_EQ(tableCall({}, DISP_E_PARAMNOTOPTIONAL), L"");
    EXPECT_EQ(tableCall({2L, missing(), text(L"")}, DISP_E_PARAMNOTOPTIONAL), L"");
    EXPECT_EQ(lateCall(factory.Get(), L"setLogLevel").code, DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(Invoke, NamedArgumentsFindTheirPlaces)
{
    const LateArguments arguments{{5L}, {{4, 2L}, {2, text(L"child")}, {1, text(L"patient")}}};
    EXPECT_EQ(lateInvoke(factory.Get(), L"createReplicationTable", DISPATCH_METHOD, arguments).code, S_OK);
    EXPECT_EQ(factory->lastCall, L"createReplicationTable(5, patient, child, , 2)");
}

TEST_F(Invoke, NamedArgumentThatIsUnknownOrGivenTwiceNamesItsIndex)
{
    const LateArguments twice{{true}, {{0, false}}};
    const LateResult again = lateInvoke(factory.Get(), L"setError", DISPATCH_METHOD, twice);
    EXPECT_EQ(again.code, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(again.badArgument, 1U);
    const LateArguments stranger{{true}, {{17, text(L"m")}}};
    const LateResult strange = lateInvoke(factory.Get(), L"setError", DISPATCH_METHOD, stranger);
    EXPECT_EQ(strange.code, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(strange.badArgument, 0U);
    EXPECT_EQ(factory->lastCall, L"");
}

TEST_F(Invoke, NamesOfParametersAreTheirPositions)
{
    LPOLESTR names[] = {const_cast<LPOLESTR>(L"CREATEREPLICATIONTABLE"), const_cast<LPOLESTR>(L"sPKField"),
                        const_cast<LPOLESTR>(L"iReplicationMethod")};
    DISPID ids[3] = {};
    EXPECT_EQ(factory->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids), S_OK);
    EXPECT_EQ(ids[0], 2);
    EXPECT_EQ(ids[1], 3);
    EXPECT_EQ(ids[2], 0);
}

TEST_F(Invoke, RestrictedMemberIsNotCallable)
{
    constexpr DISPID kConnectDatabases = 8;
    EXPECT_EQ(lateInvokeId(factory.Get(), kConnectDatabases, DISPATCH_METHOD, {{true}, {}}).code,
              DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(factory->lastCall, L"");
}

TEST_F(Invoke, UnknownMemberIsNotFound)
{
    EXPECT_EQ(lateInvokeId(factory.Get(), 999, DISPATCH_METHOD).code, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(lateCall(factory.Get(), L"noSuchMember").code, DISP_E_UNKNOWNNAME);
}

TEST_F(Invoke, ReadOnlyPropertyCannotBePut)
{
    EXPECT_EQ(latePut(factory.Get(), L"Version", text(L"1")).code, DISP_E_MEMBERNOTFOUND);
}

TEST_F(Invoke, CallsThatAreMalformedAreRefused)
{
    DISPPARAMS none{};
    EXPECT_EQ(factory->Invoke(6, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(factory->Invoke(6, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    LPOLESTR name = const_cast<LPOLESTR>(L"init");
    DISPID id = 0;
    EXPECT_EQ(factory->GetIDsOfNames(IID_IUnknown, &name, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(factory->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_INVALIDARG);
    EXPECT_EQ(factory->GetIDsOfNames(IID_NULL, &name, 1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(factory->lastCall, L"");
}

TEST_F(Invoke, ResultsAreOptional)
{
    DISPPARAMS none{};
    EXPECT_EQ(factory->Invoke(6, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(factory->lastCall, L"disconnect()");
    EXPECT_EQ(factory->Invoke(12, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(factory->lastCall, L"Version");
}

TEST_F(Invoke, FailureCarriesNumberSourceAndDescription)
{
    factory->failure = static_cast<HRESULT>(0x800403E8);
    const LateResult result = lateCall(factory.Get(), L"disconnect");
    EXPECT_EQ(result.code, DISP_E_EXCEPTION);
    EXPECT_EQ(result.scode, static_cast<SCODE>(0x800403E8));
    EXPECT_EQ(result.source, L"Recording.source");
    EXPECT_EQ(result.description, L"Recorded failure");
}

TEST_F(Invoke, FailureWithoutAnExceptionRecordIsTheCode)
{
    factory->failure = static_cast<HRESULT>(0x800403E8);
    DISPPARAMS none{};
    EXPECT_EQ(factory->Invoke(6, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              static_cast<HRESULT>(0x800403E8));
}

TEST_F(Invoke, FailedMemberHasItsVariablesWrittenBack)
{
    factory->failure = static_cast<HRESULT>(0x800403E8);
    factory->textLeftBehind = L"after";
    _variant_t message = text(L"before");
    EXPECT_EQ(setError(true, byReference(message)).scode, static_cast<SCODE>(0x800403E8));
    EXPECT_EQ(message, text(L"after"));
}

/// A script's variable that takes no value: it holds an array that is in use.
class LockedVariable
{
public:
    LockedVariable()
    {
        variable_.parray = SafeArrayCreateVector(VT_I4, 0, 1);
        variable_.vt = VT_ARRAY | VT_I4;
        check(SafeArrayLock(variable_.parray));
    }
    ~LockedVariable() { SafeArrayUnlock(variable_.parray); }
    LockedVariable(const LockedVariable&) = delete;
    LockedVariable& operator=(const LockedVariable&) = delete;

    _variant_t reference() { return byReference(variable_); }

private:
    _variant_t variable_;
};

TEST_F(Invoke, VariableThatTakesNoValueFailsASuccessfulCall)
{
    LockedVariable level;
    EXPECT_EQ(lateCall(factory.Get(), L"setLogLevel", {level.reference()}).code, DISP_E_ARRAYISLOCKED);
}

TEST_F(Invoke, VariableThatTakesNoValueDoesNotHideTheFailureOfTheMember)
{
    factory->failure = static_cast<HRESULT>(0x800403E8);
    LockedVariable level;
    const LateResult result = lateCall(factory.Get(), L"setLogLevel", {level.reference()});
    EXPECT_EQ(result.code, DISP_E_EXCEPTION);
    EXPECT_EQ(result.scode, static_cast<SCODE>(0x800403E8));
    EXPECT_EQ(result.source, L"Recording.source");
    EXPECT_EQ(result.description, L"Recorded failure");

    constexpr DISPID kSetLogLevel = 7;
    _variant_t argument = level.reference();
    DISPPARAMS params{&argument, nullptr, 1, 0};
    EXPECT_EQ(factory->Invoke(kSetLogLevel, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr),
              static_cast<HRESULT>(0x800403E8));
}

TEST_F(Invoke, PropertyIsReadAsScriptsReadIt)
{
    EXPECT_EQ(lateGet(factory.Get(), L"Version").value, text(L"recorded"));
    EXPECT_EQ(lateInvoke(factory.Get(), L"version", DISPATCH_PROPERTYGET | DISPATCH_METHOD).value, text(L"recorded"));
    EXPECT_EQ(lateGet(factory.Get(), L"sErrorMessage").value, text(L"recorded"));
    EXPECT_EQ(lateCall(factory.Get(), L"ensureReplication").value, _variant_t(true));
}

TEST_F(Invoke, EveryMemberOfTheEntryObjectIsReached)
{
    const auto called = [&](const wchar_t* member, std::vector<_variant_t> arguments) {
        EXPECT_EQ(lateCall(factory.Get(), member, std::move(arguments)).code, S_OK);
        return factory->lastCall;
    };
    EXPECT_EQ(called(L"createReplication", {}), L"createReplication()");
    EXPECT_EQ(called(L"createConflict", {text(L"id")}), L"createConflict(id)");
    EXPECT_EQ(called(L"init", {int16(1), text(L"SOURCE"), text(L"a."), text(L"b"), text(L"c"), text(L"d."), text(L"e"),
                               text(L"f"), int16(2), text(L"log")}),
              L"init(1, SOURCE, a., b, c, d., e, f, 2, log)");
    EXPECT_EQ(called(L"disconnect", {}), L"disconnect()");
    EXPECT_EQ(called(L"setLogLevel", {kNull}), L"setLogLevel()");
    EXPECT_EQ(called(L"setLogLevel", {text(L"5")}), L"setLogLevel(5)");
    EXPECT_EQ(called(L"closeConnection", {}), L"closeConnection()");
    EXPECT_EQ(called(L"setError", {true, text(L"m")}), L"setError(true, m)");
    EXPECT_EQ(called(L"resetError", {}), L"resetError()");
}

} // namespace
} // namespace com
