#include "com/dispatch.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "support/Apartment.h"
#include "support/LateCall.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

constexpr DISPID kMember = 17;

class LateBinding : public testing::Test
{
protected:
    LateBinding() { object->names[L"member"] = kMember; }

    void answer(ScriptedObject::Answer how) { object->answers[kMember] = std::move(how); }

    /// Answers every call with a code.
    void answerCode(HRESULT code)
    {
        answer([code](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) { return code; });
    }

    const ComPtr<ScriptedObject> object = makeObject<ScriptedObject>();
    const Dispatch dispatch{object.Get()};
};

TEST_F(LateBinding, CallHandsOverUpTo16ArgumentsInTheirOrder)
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
    EXPECT_EQ(dispatch.call(L"member", {1L, L"two"}), _variant_t(5L));
    EXPECT_EQ(seen, L"1;two;");
    dispatch.call(L"member", {1L, 2L, 3L, 4L, 5L, 6L, 7L, 8L, 9L, 10L, 11L, 12L, 13L, 14L, 15L, 16L});
    EXPECT_EQ(seen, L"1;two;1;2;3;4;5;6;7;8;9;10;11;12;13;14;15;16;");
    const _variant_t n;
    EXPECT_EQ(raised([&] { dispatch.call(L"member", {n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n}); }).number, 5);
}

TEST_F(LateBinding, CalleeWritesByReferenceArguments)
{
    answer([](WORD, DISPPARAMS& params, VARIANT*, EXCEPINFO*) {
        params.rgvarg[0].pvarVal->vt = VT_I4;
        params.rgvarg[0].pvarVal->lVal = 9;
        return S_OK;
    });
    _variant_t variable;
    dispatch.call(L"member", {byReference(variable)});
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
    dispatch.put(L"member", 1L);
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
    EXPECT_EQ(dispatch.property(L"member", {3L}), _variant_t(3L));
}

HRESULT STDAPICALLTYPE fillInLate(EXCEPINFO* exception)
{
    exception->scode = static_cast<SCODE>(0x80040E37);
    exception->bstrSource = SysAllocString(L"late source");
    exception->bstrDescription = SysAllocString(L"late text");
    return S_OK;
}

struct Exception
{
    SCODE scode;
    WORD code;
    const wchar_t* source;
    const wchar_t* description;
    HRESULT(STDAPICALLTYPE* fillIn)(EXCEPINFO*);
    Error expected;
};

TEST_F(LateBinding, ExceptionKeepsNumberSourceAndDescription)
{
    const Exception exceptions[] = {
        {static_cast<SCODE>(0x80040E14), 0, L"a", L"b", nullptr, {static_cast<long>(0x80040E14), L"a", L"b"}},
        {static_cast<SCODE>(0x800A0CC1), 0, L"a", L"b", nullptr, {3265, L"a", L"b"}}, // of facility CONTROL
        {0, 1000, L"a", L"b", nullptr, {static_cast<long>(0x800403E8), L"a", L"b"}},
        {0, 0, nullptr, nullptr, fillInLate, {static_cast<long>(0x80040E37), L"late source", L"late text"}},
        {DISP_E_OVERFLOW, 0, nullptr, nullptr, nullptr, {6, L"", L"Overflow"}}, // the runtime's text
    };
    for (const Exception& one : exceptions) {
        answer([&](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO* exception) {
            *exception = {one.code,
                          0,
                          SysAllocString(one.source),
                          SysAllocString(one.description),
                          SysAllocString(L"no.hlp"),
                          0,
                          nullptr,
                          one.fillIn,
                          one.scode};
            return DISP_E_EXCEPTION;
        });
        EXPECT_EQ(raised([&] { dispatch.call(L"member"); }), one.expected);
    }
}

/// The answer of a member that reports a failure by the thread's error object.
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

TEST_F(LateBinding, FailureThatLeavesNoErrorObjectHasTheRuntimesText)
{
    const Error mismatch{13, L"QuinmarkRepDLL", L"Type mismatch"};
    answerCode(DISP_E_TYPEMISMATCH);
    leaveErrorObject(); // before the call
    EXPECT_EQ(raised([&] { dispatch.call(L"member"); }), mismatch);

    answer([](WORD, DISPPARAMS&, VARIANT*, EXCEPINFO*) {
        leaveErrorObject();
        return S_OK;
    });
    dispatch.call(L"member");
    answerCode(DISP_E_TYPEMISMATCH);
    EXPECT_EQ(raised([&] { dispatch.put(L"member", _variant_t()); }), mismatch);
    EXPECT_EQ(raised([&] { dispatch.call(L"stranger"); }),
              (Error{438, L"QuinmarkRepDLL", L"Object doesn't support this property or method"}));
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

    std::vector<ComPtr<ScriptedObject>> objects;
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
    const ComPtr<ScriptedClass> scripted_ = makeObject<ScriptedClass>();
    const Class class_{L"Scripting.Dictionary"};
    DWORD cookie_ = 0;
};

TEST_F(ClassTest, IdsAreLookedUpOnceForAllItsObjectsAndOnceForAllThatTheseGive)
{
    for (int object = 0; object < 3; ++object)
        child(child(class_.create()));
    EXPECT_EQ(scripted_->objects.size(), 9U);
    EXPECT_EQ(scripted_->lookups(), 2);
}

TEST_F(ClassTest, IdsOfObjectsFromElsewhereAreLookedUpForEach)
{
    const Dispatch first = class_.create();
    const Dispatch foreign(first.get());
    child(child(foreign));
    child(child(foreign));
    EXPECT_EQ(scripted_->lookups(), 3);
}

TEST_F(ClassTest, IsLookedUpOnce)
{
    class_.create();
    CoRevokeClassObject(cookie_);
    class_.create();
    EXPECT_EQ(scripted_->objects.size(), 2U);
}

TEST_F(ClassTest, UnknownOneIsError429)
{
    EXPECT_EQ(raised([] { Dispatch::create(L"No.Such.Class"); }),
              (Error{429, L"QuinmarkRepDLL", L"ActiveX component can't create object"}));
}

TEST_F(ClassTest, ObjectInAValueIsTakenWhateverItsForm)
{
    const Dispatch parent = class_.create();
    _variant_t value(parent.get());
    for (const _variant_t& form : {value, byReference(value), _variant_t(static_cast<IUnknown*>(parent.get()))})
        EXPECT_EQ(Dispatch::from(form).get(), parent.get());
    const std::pair<_variant_t, long> others[] = {{1L, 13}, {_variant_t(static_cast<IDispatch*>(nullptr)), 91}};
    for (const auto& [other, number] : others) {
        EXPECT_EQ(raised([&] { Dispatch::from(other); }).number, number);
        EXPECT_EQ(raised([&] { parent.resultOf(kChild, other); }).number, number) << "from a member";
    }
}

} // namespace
} // namespace com
