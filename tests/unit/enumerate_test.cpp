#include "com/boundary.h"
#include "com/dispatch.h"
#include "com/enumerate.h"
#include "support/Apartment.h"
#include "support/LateCall.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"

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

/// An array of `type` with lower bound `first`.
_variant_t arrayVariant(VARTYPE type, LONG first, ULONG count)
{
    _variant_t value;
    value.parray = SafeArrayCreateVector(type, first, count);
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    return value;
}

/// The array of two variants 1 and "two", whose lower bound is 5.
_variant_t oneAndTwo()
{
    _variant_t array = arrayVariant(VT_VARIANT, 5, 2);
    LONG index = 5;
    for (_variant_t element : {_variant_t(1L), _variant_t(L"two")}) {
        check(SafeArrayPutElement(array.parray, &index, &element));
        ++index;
    }
    return array;
}

/// An object whose enumerator is `enumerator`.
_variant_t enumerable(const _variant_t& enumerator)
{
    const auto object = makeObject<ScriptedObject>();
    object->answers[DISPID_NEWENUM] = [enumerator](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        return VariantCopy(result, const_cast<_variant_t*>(&enumerator));
    };
    return _variant_t(static_cast<IDispatch*>(object.Get()));
}

TEST(ForEach, WalksAnArrayOfVariantsFromItsLowerBound)
{
    _variant_t array = oneAndTwo();
    EXPECT_EQ(walk(array), L"1 two");
    EXPECT_EQ(walk(byReference(array)), L"1 two");
    EXPECT_EQ(walk(byReference(VT_ARRAY | VT_VARIANT, &array.parray)), L"1 two");
    EXPECT_EQ(walk(arrayVariant(VT_VARIANT, 0, 0)), L"");
}

TEST(ForEach, WalksAnArrayOfObjectsWithoutLosingReferences)
{
    const auto object = makeObject<ScriptedObject>();
    const auto references = [&] {
        object->AddRef();
        return object->Release();
    };
    const ULONG before = references();
    {
        _variant_t array = arrayVariant(VT_DISPATCH, 0, 2);
        for (LONG index : {0L, 1L})
            check(SafeArrayPutElement(array.parray, &index, static_cast<IDispatch*>(object.Get())));
        std::vector<IDispatch*> seen;
        forEach(array, [&](const _variant_t& element) { seen.push_back(element.pdispVal); });
        EXPECT_EQ(seen, std::vector<IDispatch*>(2, object.Get()));
    }
    EXPECT_EQ(references(), before);
}

TEST(ForEach, WalksTheKeysOfADictionaryInOrder)
{
    const Apartment apartment;
    const Dispatch dictionary = Dispatch::create(L"Scripting.Dictionary");
    dictionary.call(L"Add", {L"b", 1L});
    dictionary.call(L"Add", {L"a", 2L});
    EXPECT_EQ(walk(_variant_t(dictionary.get())), L"b a");
}

TEST(ForEach, ValueThatHasNoElementsIsRefused)
{
    SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    _variant_t plane;
    plane.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
    plane.vt = VT_ARRAY | VT_VARIANT;
    const auto plain = makeObject<ScriptedObject>();
    const _variant_t object(static_cast<IDispatch*>(plain.Get()));
    const std::pair<_variant_t, long> refused[] = {
        {5L, 13},
        {_variant_t(), 13},
        {L"patient", 13},
        {arrayVariant(VT_I4, 0, 1), 13},
        {arrayVariant(VT_BSTR, 0, 1), 13},
        {plane, 13}, // of two dimensions
        {_variant_t(static_cast<IDispatch*>(nullptr)), 91},
        {object, 438},
        // enumerators that are none
        {enumerable(5L), 438},
        {enumerable(_variant_t(static_cast<IUnknown*>(nullptr))), 438},
        {enumerable(object), 438},
    };
    for (const auto& [value, number] : refused)
        EXPECT_EQ(raised([&] { walk(value); }).number, number);
}

/// Delivers one element, then fails with an error object or without.
class FailingEnumerator final : public UnknownObject<IEnumVARIANT>
{
public:
    explicit FailingEnumerator(bool withErrorObject) : withErrorObject_(withErrorObject) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG, VARIANT* value, ULONG* fetched) noexcept override
    {
        *fetched = delivered_ ? 0 : 1;
        if (!std::exchange(delivered_, true))
            return VariantCopy(value, &element_);
        if (!withErrorObject_)
            return DISP_E_OVERFLOW;
        return comBoundary([] { throw Error{static_cast<long>(0x80040E14), L"the list", L"It broke off"}; });
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) noexcept override { return E_NOTIMPL; }

private:
    _variant_t element_{1L};
    bool withErrorObject_;
    bool delivered_ = false;
};

TEST(ForEach, ErrorOfTheEnumeratorPassesThroughAfterWhatItDelivered)
{
    comBoundary([] { throw Error{5, L"stale", L"of an earlier call"}; });
    const std::pair<bool, Error> failures[] = {
        {false, {6, L"QuinmarkRepDLL", L"Overflow"}},
        {true, {static_cast<long>(0x80040E14), L"the list", L"It broke off"}},
    };
    for (const auto& [withErrorObject, expected] : failures) {
        const auto enumerator = makeObject<FailingEnumerator>(withErrorObject);
        const _variant_t object = enumerable(_variant_t(static_cast<IUnknown*>(enumerator.Get())));
        int seen = 0;
        EXPECT_EQ(raised([&] { forEach(object, [&](const _variant_t&) { ++seen; }); }), expected);
        EXPECT_EQ(seen, 1);
    }
}

TEST(ForEach, ErrorOfTheVisitorEndsTheWalk)
{
    int seen = 0;
    const Error error = raised([&] {
        forEach(oneAndTwo(), [&](const _variant_t&) {
            ++seen;
            raiseRuntimeError(kOverflow);
        });
    });
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(error.number, 6);
}

/// The items that Next(count) delivers, and its code.
std::pair<std::wstring, HRESULT> next(IEnumVARIANT& walk, ULONG count)
{
    std::vector<_variant_t> values(count);
    ULONG fetched = 99;
    const HRESULT code = walk.Next(count, values.data(), &fetched);
    std::wstring all;
    for (ULONG index = 0; index < fetched; ++index)
        all += toText(values[index]);
    return {all, code};
}

TEST(Enumerator, DeliversSkipsAndBeginsAgain)
{
    using Delivered = std::pair<std::wstring, HRESULT>;
    const ComPtr<IEnumVARIANT> letters = enumeratorOf({L"a", L"b", L"c"});
    EXPECT_EQ(next(*letters.Get(), 2), Delivered(L"ab", S_OK));
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(letters->Clone(&clone), S_OK);
    EXPECT_EQ(next(*letters.Get(), 2), Delivered(L"c", S_FALSE));
    EXPECT_EQ(next(*clone.Get(), 1), Delivered(L"c", S_OK)) << "stands where it was made";
    EXPECT_EQ(letters->Skip(1), S_FALSE);
    EXPECT_EQ(letters->Reset(), S_OK);
    EXPECT_EQ(letters->Skip(2), S_OK);
    EXPECT_EQ(next(*letters.Get(), 1), Delivered(L"c", S_OK));
}

TEST(Enumerator, RefusesNullPointers)
{
    const ComPtr<IEnumVARIANT> walk = enumeratorOf({L"a", L"b"});
    _variant_t values[2];
    ULONG fetched = 0;
    EXPECT_EQ(walk->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(walk->Next(2, values, nullptr), E_POINTER);
    EXPECT_EQ(walk->Next(1, values, nullptr), S_OK);
    EXPECT_EQ(walk->Clone(nullptr), E_POINTER);
}

} // namespace
} // namespace com
