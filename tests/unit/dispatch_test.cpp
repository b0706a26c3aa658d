#include "com/dispatch.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "conflicts/Collection.h"
#include "support/Apartment.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"

#include <gtest/gtest.h>

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace com {
namespace {

constexpr DISPID kMember = 17;

class LateBinding : public testing::Test
{
protected:
    void SetUp() override { object->names[L"member"] = kMember; }

    void answer(ScriptedObject::Answer how) { object->answers[kMember] = std::move(how); }

    /// Makes the member fail with what `fill` leaves in the exception record.
    Error exceptionOf(const std::function<void(EXCEPINFO&)>& fill)
    {
        answer([fill](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO* exception) {
            fill(*exception);
            return DISP_E_EXCEPTION;
        });
        return raised([&] { dispatch.call(L"member"); });
    }

    ComPtr<ScriptedObject> object = makeObject<ScriptedObject>();
    Dispatch dispatch{object.Get()};
};

TEST_F(LateBinding, CallHandsOverArgumentsInTheirOrder)
{
    std::wstring seen;
    answer([&](WORD flags, DISPPARAMS& params, VARIANT* result, EXCEPINFO*) {
        EXPECT_EQ(flags, DISPATCH_METHOD);
        EXPECT_EQ(params.cNamedArgs, 0U);
        for (UINT index = params.cArgs; index > 0; --index)
            seen += toText(params.rgvarg[index - 1]) + L";";
        result->vt = VT_I4;
        result->lVal = 5;
        return S_OK;
    });
    EXPECT_EQ(dispatch.call(L"member", {_variant_t(1L), textVariant(L"two")}), _variant_t(5L));
    EXPECT_EQ(seen, L"1;two;");
}

TEST_F(LateBinding, CallTakesAsManyArgumentsAsTheComponentsOwnInit)
{
    answer([](WORD, DISPPARAMS& params, VARIANT* result, EXCEPINFO*) {
        result->vt = VT_I4;
        result->lVal = static_cast<long>(params.cArgs);
        return S_OK;
    });
    const _variant_t n(1L);
    EXPECT_EQ(dispatch.call(L"member", {n, n, n, n, n, n, n, n, n, n}), _variant_t(10L));
}

TEST_F(LateBinding, CalleeWritesByReferenceArguments)
{
    answer([](WORD, DISPPARAMS& params, VARIANT*, EXCEPINFO*) {
        params.rgvarg[0].pvarVal->vt = VT_I4;
        params.rgvarg[0].pvarVal->lVal = 9;
        return S_OK;
    });
    _variant_t variable;
    _variant_t reference;
    reference.pvarVal = &variable;
    reference.vt = VT_BYREF | VT_VARIANT;
    dispatch.call(L"member", {reference});
    EXPECT_EQ(variable, _variant_t(9L));
}

TEST_F(LateBinding, PutNamesItsValueAndAsksForNoResult)
{
    WORD seen = 0;
    answer([&](WORD flags, DISPPARAMS& params, VARIANT* result, EXCEPINFO*) {
        seen = flags;
        EXPECT_EQ(params.cArgs, 1U);
        EXPECT_EQ(params.cNamedArgs, 1U);
        EXPECT_EQ(params.rgdispidNamedArgs[0], DISPID_PROPERTYPUT);
        EXPECT_EQ(result, nullptr);
        return S_OK;
    });
    dispatch.put(L"member", _variant_t(1L));
    EXPECT_EQ(seen, DISPATCH_PROPERTYPUT);
    dispatch.putReference(L"member", dispatch);
    EXPECT_EQ(seen, DISPATCH_PROPERTYPUTREF);
}

TEST_F(LateBinding, PropertyTakesArguments)
{
    answer([](WORD flags, DISPPARAMS& params, VARIANT* result, EXCEPINFO*) {
        EXPECT_EQ(flags, DISPATCH_PROPERTYGET);
        return VariantCopy(result, &params.rgvarg[0]);
    });
    EXPECT_EQ(dispatch.property(L"member", {_variant_t(3L)}), _variant_t(3L));
}

TEST_F(LateBinding, NameIsLookedUpOncePerObject)
{
    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return S_OK; });
    const wchar_t* const member = L"member";
    dispatch.call(member);
    dispatch.call(member);
    EXPECT_EQ(object->lookups, 1);

    const auto other = makeObject<ScriptedObject>();
    other->names[member] = kMember + 1;
    bool reached = false;
    other->answers[kMember + 1] = [&](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) {
        reached = true;
        return S_OK;
    };
    Dispatch(other.Get()).call(member);
    EXPECT_TRUE(reached);
}

TEST_F(LateBinding, ExceptionKeepsScodeSourceAndDescription)
{
    const Error error = exceptionOf([](EXCEPINFO& exception) {
        exception.scode = static_cast<SCODE>(0x80040E14);
        exception.bstrSource = SysAllocString(L"the driver");
        exception.bstrDescription = SysAllocString(L"syntax error");
        exception.bstrHelpFile = SysAllocString(L"no.hlp");
    });
    EXPECT_EQ(error.number, static_cast<long>(0x80040E14));
    EXPECT_EQ(error.source, L"the driver");
    EXPECT_EQ(error.description, L"syntax error");
}

TEST_F(LateBinding, ExceptionOfFacilityControlIsItsLowWord)
{
    EXPECT_EQ(exceptionOf([](EXCEPINFO& exception) { exception.scode = static_cast<SCODE>(0x800A0CC1); }).number, 3265);
}

TEST_F(LateBinding, ExceptionWithACodeOnlyIsInTheObjectRange)
{
    const Error error = exceptionOf([](EXCEPINFO& exception) {
        exception.wCode = 1000;
        exception.bstrDescription = SysAllocString(L"own");
    });
    EXPECT_EQ(error.number, static_cast<long>(0x800403E8));
    EXPECT_EQ(error.description, L"own");
}

HRESULT STDAPICALLTYPE fillInLate(EXCEPINFO* exception)
{
    exception->scode = static_cast<SCODE>(0x80040E37);
    exception->bstrSource = SysAllocString(L"late source");
    exception->bstrDescription = SysAllocString(L"late text");
    return S_OK;
}

TEST_F(LateBinding, ExceptionIsFilledInWhenItIsDeferred)
{
    const Error error = exceptionOf([](EXCEPINFO& exception) { exception.pfnDeferredFillIn = fillInLate; });
    EXPECT_EQ(error.number, static_cast<long>(0x80040E37));
    EXPECT_EQ(error.source, L"late source");
    EXPECT_EQ(error.description, L"late text");
}

TEST_F(LateBinding, ExceptionWithoutATextGetsTheRuntimes)
{
    const Error error = exceptionOf([](EXCEPINFO& exception) { exception.scode = DISP_E_OVERFLOW; });
    EXPECT_EQ(error.number, 6);
    EXPECT_EQ(error.description, L"Overflow");
}

TEST_F(LateBinding, FailureOfTheCallItselfHasTheRuntimesNumber)
{
    const auto failing = [&](HRESULT code) {
        answer([code](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return code; });
        return raised([&] { dispatch.call(L"member"); }).number;
    };
    EXPECT_EQ(failing(DISP_E_TYPEMISMATCH), 13);
    EXPECT_EQ(failing(DISP_E_BADPARAMCOUNT), 450);
    EXPECT_EQ(failing(DISP_E_PARAMNOTOPTIONAL), 449);
    EXPECT_EQ(failing(DISP_E_MEMBERNOTFOUND), 438);
    EXPECT_EQ(failing(E_FAIL), E_FAIL);
}

/// What a member answers that reports a failure by the thread's error object.
HRESULT leaveErrorObject()
{
    return comBoundary([] { throw Error{E_FAIL, L"the object", L"its own text"}; });
}

TEST_F(LateBinding, FailureThatLeavesAnErrorObjectHasItsSourceAndText)
{
    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return leaveErrorObject(); });
    EXPECT_EQ(raised([&] { dispatch.call(L"member"); }), (Error{E_FAIL, L"the object", L"its own text"}));
    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) {
        leaveErrorObject();
        return DISP_E_OVERFLOW;
    });
    EXPECT_EQ(raised([&] { dispatch.property(L"member"); }), (Error{6, L"the object", L"its own text"}));
}

TEST_F(LateBinding, FailureDoesNotTakeTheErrorObjectOfAnEarlierCall)
{
    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return E_FAIL; });
    leaveErrorObject();
    EXPECT_EQ(raised([&] { dispatch.call(L"member"); }), platformError(E_FAIL));

    answer([](WORD flags, DISPPARAMS&, VARIANT*, EXCEPINFO*) {
        const HRESULT failure = leaveErrorObject();
        return flags == DISPATCH_METHOD ? S_OK : failure;
    });
    dispatch.call(L"member");
    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return E_FAIL; });
    EXPECT_EQ(raised([&] { dispatch.put(L"member", _variant_t()); }), platformError(E_FAIL));
}

TEST_F(LateBinding, MoreArgumentsThanAnyMemberTakesAreError5)
{
    const _variant_t n;
    EXPECT_EQ(raised([&] { dispatch.call(L"member", {n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n}); }).number, 5);
}

TEST_F(LateBinding, UnknownNameIsError438)
{
    const Error error = raised([&] { dispatch.call(L"stranger"); });
    EXPECT_EQ(error.number, 438);
    EXPECT_EQ(error.source, L"QuinmarkRepDLL");
    EXPECT_EQ(error.description, L"Object doesn't support this property or method");
}

TEST(EmptyDispatch, EveryUseIsError91)
{
    const Dispatch none;
    EXPECT_FALSE(none);
    EXPECT_EQ(raised([&] { none.call(L"member"); }).number, 91);
    EXPECT_EQ(raised([&] { none.property(L"member"); }).number, 91);
    EXPECT_EQ(raised([&] { none.property(DISPID_NEWENUM); }).number, 91);
    EXPECT_EQ(raised([&] { none.put(L"member", _variant_t()); }).number, 91);
}

TEST(DispatchFrom, TakesObjectsOnly)
{
    const auto object = makeObject<quinmark::Collection>();
    _variant_t value(static_cast<IDispatch*>(object.Get()));
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &value;
    EXPECT_EQ(Dispatch::from(value).get(), object.Get());
    EXPECT_EQ(Dispatch::from(reference).get(), object.Get());
    EXPECT_EQ(Dispatch::from(_variant_t(static_cast<IUnknown*>(static_cast<IDispatch*>(object.Get())))).get(),
              object.Get());
    EXPECT_EQ(raised([] { Dispatch::from(_variant_t(1L)); }).number, 13);
    EXPECT_EQ(raised([] { Dispatch::from(_variant_t(static_cast<IDispatch*>(nullptr))); }).number, 91);
}

/// Stands for the class "Scripting.Dictionary" on its thread, and makes scripted objects that give one another.
class ScriptedClass : public UnknownObject<IClassFactory>
{
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) noexcept override
    {
        const auto made = makeObject<ScriptedObject>();
        made->names = {{L"child", 1}};
        made->answers[1] = [this](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
            result->vt = VT_DISPATCH;
            return CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&result->pdispVal));
        };
        objects.push_back(made);
        return made->QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

    int lookups() const
    {
        int sum = 0;
        for (const auto& object : objects)
            sum += object->lookups;
        return sum;
    }

    std::vector<Microsoft::WRL::ComPtr<ScriptedObject>> objects;
};

class ClassTest : public ::testing::Test
{
protected:
    static constexpr wchar_t kChild[] = L"child";

    ClassTest()
    {
        CLSID id;
        check(CLSIDFromProgID(L"Scripting.Dictionary", &id));
        check(CoRegisterClassObject(id, scripted_.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_));
    }
    ~ClassTest() override { CoRevokeClassObject(cookie_); }

    static Dispatch child(const Dispatch& parent) { return parent.resultOf(kChild, parent.property(kChild)); }

    const Apartment apartment_;
    const Microsoft::WRL::ComPtr<ScriptedClass> scripted_ = makeObject<ScriptedClass>();
    DWORD cookie_ = 0;
};

TEST_F(ClassTest, IdsAreLookedUpOnceForAllItsObjectsAndOnceForAllThatTheseGive)
{
    const Class scripted(L"Scripting.Dictionary");
    for (int object = 0; object < 3; ++object)
        child(child(scripted.create()));
    EXPECT_EQ(scripted_->objects.size(), 9U);
    EXPECT_EQ(scripted_->lookups(), 2);
}

TEST_F(ClassTest, IdsOfObjectsFromElsewhereAreLookedUpForEach)
{
    const Dispatch first = Class(L"Scripting.Dictionary").create();
    const Dispatch foreign(first.get());
    child(child(foreign));
    child(child(foreign));
    EXPECT_EQ(scripted_->lookups(), 3);
}

TEST_F(ClassTest, IsLookedUpOnce)
{
    const Class scripted(L"Scripting.Dictionary");
    scripted.create();
    CoRevokeClassObject(cookie_);
    scripted.create();
    EXPECT_EQ(scripted_->objects.size(), 2U);
}

TEST_F(ClassTest, ObjectThatAMemberGaveIsCheckedLikeAnyOther)
{
    const Dispatch parent = Class(L"Scripting.Dictionary").create();
    EXPECT_EQ(raised([&] { parent.resultOf(kChild, _variant_t(1L)); }).number, 13);
    EXPECT_EQ(raised([&] { parent.resultOf(kChild, _variant_t(static_cast<IDispatch*>(nullptr))); }).number, 91);
}

TEST(DispatchCreate, UnknownClassIsError429)
{
    const Apartment apartment;
    const Error error = raised([] { Dispatch::create(L"No.Such.Class"); });
    EXPECT_EQ(error.number, 429);
    EXPECT_EQ(error.description, L"ActiveX component can't create object");
}

} // namespace
} // namespace com
