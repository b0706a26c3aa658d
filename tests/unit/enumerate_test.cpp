#include "com/boundary.h"
#include "com/dispatch.h"
#include "com/enumerate.h"
#include "conflicts/Collection.h"
#include "support/Apartment.h"
#include "support/Raised.h"
#include "support/ScriptedObject.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

/// The elements of `collection` in order, as text joined by blanks.
std::wstring walk(const VARIANT& collection)
{
    std::wstring all;
    forEach(collection, [&](const _variant_t& element) { all += (all.empty() ? L"" : L" ") + toText(element); });
    return all;
}

_variant_t objectVariant(IDispatch* object)
{
    return _variant_t(object);
}

/// An array of `type` with lower bound `first`; its elements are put by the test.
_variant_t arrayVariant(VARTYPE type, LONG first, ULONG count)
{
    _variant_t value;
    value.parray = SafeArrayCreateVector(type, first, count);
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    return value;
}

void put(_variant_t& array, LONG index, const _variant_t& element)
{
    _variant_t copy = element;
    check(SafeArrayPutElement(array.parray, &index, &copy));
}

TEST(ForEach, WalksAnArrayOfVariantsFromItsLowerBound)
{
    _variant_t array = arrayVariant(VT_VARIANT, 5, 2);
    put(array, 5, _variant_t(1L));
    put(array, 6, textVariant(L"two"));
    EXPECT_EQ(walk(array), L"1 two");
}

TEST(ForEach, FollowsReferencesToAnArray)
{
    _variant_t array = arrayVariant(VT_VARIANT, 0, 1);
    put(array, 0, _variant_t(1L));
    VARIANT variable{};
    variable.vt = VT_BYREF | VT_VARIANT;
    variable.pvarVal = &array;
    EXPECT_EQ(walk(variable), L"1");
    VARIANT typed{};
    typed.vt = VT_BYREF | VT_ARRAY | VT_VARIANT;
    typed.pparray = &array.parray;
    EXPECT_EQ(walk(typed), L"1");
}

TEST(ForEach, WalksAnArrayOfObjectsWithoutLosingReferences)
{
    const auto object = makeObject<quinmark::Collection>();
    object->AddRef();
    const ULONG before = object->Release();
    {
        _variant_t array = arrayVariant(VT_DISPATCH, 0, 2);
        for (LONG index : {0L, 1L})
            check(SafeArrayPutElement(array.parray, &index, static_cast<IDispatch*>(object.Get())));
        int seen = 0;
        forEach(array, [&](const _variant_t& element) {
            EXPECT_EQ(element, objectVariant(object.Get()));
            ++seen;
        });
        EXPECT_EQ(seen, 2);
    }
    object->AddRef();
    EXPECT_EQ(object->Release(), before);
}

TEST(ForEach, EmptyArrayHasNoElements)
{
    EXPECT_EQ(walk(arrayVariant(VT_VARIANT, 0, 0)), L"");
}

TEST(ForEach, ArrayOfPlainValuesIsError13)
{
    EXPECT_EQ(raised([] { walk(arrayVariant(VT_I4, 0, 1)); }).number, 13);
    EXPECT_EQ(raised([] { walk(arrayVariant(VT_BSTR, 0, 1)); }).number, 13);
}

TEST(ForEach, ArrayOfTwoDimensionsIsError13)
{
    SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    _variant_t array;
    array.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
    array.vt = VT_ARRAY | VT_VARIANT;
    EXPECT_EQ(raised([&] { walk(array); }).number, 13);
}

TEST(ForEach, WalksTheKeysOfADictionaryInOrder)
{
    const Apartment apartment;
    const Dispatch dictionary = Dispatch::create(L"Scripting.Dictionary");
    dictionary.call(L"Add", {textVariant(L"b"), _variant_t(1L)});
    dictionary.call(L"Add", {textVariant(L"a"), _variant_t(2L)});
    EXPECT_EQ(walk(objectVariant(dictionary.get())), L"b a");
}

TEST(ForEach, NothingIsError91)
{
    const Error error = raised([] { walk(objectVariant(nullptr)); });
    EXPECT_EQ(error.number, 91);
    EXPECT_EQ(error.description, L"Object variable or With block variable not set");
}

TEST(ForEach, PlainValueIsError13)
{
    EXPECT_EQ(raised([] { walk(_variant_t(5L)); }).number, 13);
    EXPECT_EQ(raised([] { walk(_variant_t()); }).number, 13);
    EXPECT_EQ(raised([] { walk(textVariant(L"patient")); }).number, 13);
}

TEST(ForEach, ObjectThatCannotBeEnumeratedIsError438)
{
    const auto object = makeObject<ScriptedObject>();
    const Error error = raised([&] { walk(objectVariant(object.Get())); });
    EXPECT_EQ(error.number, 438);
    EXPECT_EQ(error.description, L"Object doesn't support this property or method");
}

TEST(ForEach, EnumeratorThatIsNoneIsError438)
{
    const auto object = makeObject<ScriptedObject>();
    const auto answer = [&](const _variant_t& enumerator) {
        object->answers[DISPID_NEWENUM] = [enumerator](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
            return VariantCopy(result, const_cast<_variant_t*>(&enumerator));
        };
        return raised([&] { walk(objectVariant(object.Get())); }).number;
    };
    EXPECT_EQ(answer(_variant_t(5L)), 438);
    EXPECT_EQ(answer(_variant_t(static_cast<IUnknown*>(nullptr))), 438);
    const auto other = makeObject<ScriptedObject>();
    EXPECT_EQ(answer(objectVariant(other.Get())), 438);
}

/// Delivers one element, then fails with an error object or without.
class FailingEnumerator final : public UnknownObject<IEnumVARIANT>
{
public:
    explicit FailingEnumerator(bool withErrorObject) : withErrorObject_(withErrorObject) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG, VARIANT* value, ULONG* fetched) noexcept override
    {
        *fetched = delivered_ ? 0 : 1;
        if (!delivered_) {
            delivered_ = true;
            value->vt = VT_I4;
            value->lVal = 1;
            return S_OK;
        }
        if (!withErrorObject_)
            return DISP_E_OVERFLOW;
        return comBoundary([] { throw Error{static_cast<long>(0x80040E14), L"the list", L"It broke off"}; });
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) noexcept override { return E_NOTIMPL; }

private:
    bool withErrorObject_;
    bool delivered_ = false;
};

ComPtr<ScriptedObject> failingCollection(bool withErrorObject)
{
    const auto object = makeObject<ScriptedObject>();
    object->answers[DISPID_NEWENUM] = [=](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        result->vt = VT_UNKNOWN;
        result->punkVal = makeObject<FailingEnumerator>(withErrorObject).Detach();
        return S_OK;
    };
    return object;
}

TEST(ForEach, ErrorOfTheEnumeratorPassesThroughAfterWhatItDelivered)
{
    const auto object = failingCollection(true);
    int seen = 0;
    const Error error = raised([&] { forEach(objectVariant(object.Get()), [&](const _variant_t&) { ++seen; }); });
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(error.number, static_cast<long>(0x80040E14));
    EXPECT_EQ(error.source, L"the list");
    EXPECT_EQ(error.description, L"It broke off");
}

TEST(ForEach, FailureWithoutAnErrorObjectGetsTheRuntimesText)
{
    const Error stale{5, L"stale", L"of an earlier call"};
    EXPECT_NE(comBoundary([&] { throw stale; }), S_OK);
    const auto object = failingCollection(false);
    const Error error = raised([&] { walk(objectVariant(object.Get())); });
    EXPECT_EQ(error.number, 6);
    EXPECT_EQ(error.source, L"QuinmarkRepDLL");
    EXPECT_EQ(error.description, L"Overflow");
}

TEST(ForEach, ErrorOfTheVisitorEndsTheWalk)
{
    const auto list = makeObject<quinmark::Collection>();
    list->add(_variant_t(1L));
    list->add(_variant_t(2L));
    int seen = 0;
    const Error error = raised([&] {
        forEach(objectVariant(list.Get()), [&](const _variant_t&) {
            ++seen;
            raiseRuntimeError(kOverflow);
        });
    });
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(error.number, 6);
}

} // namespace
} // namespace com
