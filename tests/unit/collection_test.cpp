#include "com/collection.h"

#include "com/convert.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

_variant_t text(const wchar_t* value)
{
    return textVariant(value);
}

constexpr SCODE runtimeCode(unsigned long number)
{
    return static_cast<SCODE>(0x800A0000 + number);
}

class Collections : public testing::Test
{
protected:
    LateResult add(const _variant_t& item, const _variant_t& key = missing(), const _variant_t& before = missing(),
                   const _variant_t& after = missing())
    {
        return lateCall(col.Get(), L"Add", {item, key, before, after});
    }

    LateResult item(const _variant_t& index)
    {
        return lateInvokeId(col.Get(), DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {{index}, {}});
    }

    /// The items in order, joined by blanks.
    std::wstring contents()
    {
        std::wstring all;
        forEach(_variant_t(static_cast<IDispatch*>(col.Get())),
                [&](const _variant_t& element) { all += (all.empty() ? L"" : L" ") + toText(element); });
        return all;
    }

    void addLetters()
    {
        for (const wchar_t* letter : {L"a", L"b", L"c"})
            ASSERT_EQ(add(text(letter), text(letter)).code, S_OK);
    }

    ComPtr<Collection> col = makeObject<Collection>();
};

TEST_F(Collections, CountFromOne)
{
    addLetters();
    EXPECT_EQ(lateGet(col.Get(), L"Count").value, _variant_t(3L));
    EXPECT_EQ(item(1L).value, text(L"a"));
    EXPECT_EQ(item(3L).value, text(L"c"));
    EXPECT_EQ(item(text(L"B")).value, text(L"b"));
}

TEST_F(Collections, IndexMayBeAnyNumberOrAVariable)
{
    addLetters();
    _variant_t variable(static_cast<short>(2));
    EXPECT_EQ(item(2.0).value, text(L"b"));
    EXPECT_EQ(item(byReference(variable)).value, text(L"b"));
}

TEST_F(Collections, IndexOutOfRangeIsError9)
{
    addLetters();
    for (const long index : {0L, -1L, 4L, 2147483647L}) {
        const LateResult result = item(index);
        EXPECT_EQ(result.code, DISP_E_EXCEPTION) << index;
        EXPECT_EQ(result.scode, runtimeCode(9)) << index;
        EXPECT_EQ(result.description, L"Subscript out of range") << index;
    }
    EXPECT_EQ(lateCall(col.Get(), L"Remove", {4L}).scode, runtimeCode(9));
}

TEST_F(Collections, UnknownKeyIsError5)
{
    addLetters();
    EXPECT_EQ(item(text(L"d")).scode, runtimeCode(5));
    EXPECT_EQ(item(text(L"1")).scode, runtimeCode(5));
    EXPECT_EQ(lateCall(col.Get(), L"Remove", {text(L"d")}).scode, runtimeCode(5));
    EXPECT_EQ(contents(), L"a b c");
}

TEST_F(Collections, IndexThatIsNoNumberIsError13)
{
    addLetters();
    EXPECT_EQ(item(_variant_t(static_cast<IDispatch*>(col.Get()))).scode, runtimeCode(13));
}

TEST_F(Collections, TakenKeyIsError457WhateverItsCase)
{
    addLetters();
    const LateResult result = add(text(L"x"), text(L"A"));
    EXPECT_EQ(result.scode, runtimeCode(457));
    EXPECT_EQ(result.description, L"This key is already associated with an element of this collection");
    EXPECT_EQ(contents(), L"a b c");
}

TEST_F(Collections, KeyThatIsNoTextIsError13)
{
    EXPECT_EQ(add(text(L"x"), 12L).scode, runtimeCode(13));
    EXPECT_EQ(contents(), L"");
}

TEST_F(Collections, AddPutsBeforeOrAfterAnIndexOrKey)
{
    addLetters();
    EXPECT_EQ(add(text(L"1"), missing(), 1L).code, S_OK);
    EXPECT_EQ(add(text(L"2"), missing(), text(L"C")).code, S_OK);
    EXPECT_EQ(add(text(L"3"), missing(), missing(), text(L"a")).code, S_OK);
    EXPECT_EQ(add(text(L"4"), missing(), missing(), 6L).code, S_OK);
    EXPECT_EQ(contents(), L"1 a 3 b 2 c 4");
}

TEST_F(Collections, AddAtABadPlaceChangesNothing)
{
    addLetters();
    EXPECT_EQ(add(text(L"x"), missing(), 1L, 1L).scode, runtimeCode(5));
    EXPECT_EQ(add(text(L"x"), missing(), 4L).scode, runtimeCode(9));
    EXPECT_EQ(add(text(L"x"), missing(), missing(), 0L).scode, runtimeCode(9));
    EXPECT_EQ(add(text(L"x"), missing(), missing(), text(L"z")).scode, runtimeCode(5));
    EXPECT_EQ(contents(), L"a b c");
}

TEST_F(Collections, AddKeepsTheValueNotTheVariable)
{
    _variant_t variable = text(L"first");
    EXPECT_EQ(add(byReference(variable)).code, S_OK);
    variable = text(L"second");
    EXPECT_EQ(contents(), L"first");
}

TEST_F(Collections, AddNeedsOnlyTheItem)
{
    EXPECT_EQ(lateCall(col.Get(), L"Add", {7L}).code, S_OK);
    EXPECT_EQ(lateCall(col.Get(), L"Add").code, DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(contents(), L"7");
}

TEST_F(Collections, RemoveByIndexAndByKeyFreesTheKey)
{
    addLetters();
    EXPECT_EQ(lateCall(col.Get(), L"Remove", {1L}).code, S_OK);
    EXPECT_EQ(lateCall(col.Get(), L"Remove", {text(L"C")}).code, S_OK);
    EXPECT_EQ(contents(), L"b");
    EXPECT_EQ(add(text(L"again"), text(L"a")).code, S_OK);
    EXPECT_EQ(item(text(L"A")).value, text(L"again"));
}

TEST_F(Collections, WalkSeesTheItemsAsTheyWereWhenItBegan)
{
    addLetters();
    std::wstring seen;
    forEach(_variant_t(static_cast<IDispatch*>(col.Get())), [&](const _variant_t& element) {
        seen += toText(element);
        EXPECT_EQ(lateCall(col.Get(), L"Remove", {1L}).code, S_OK);
        if (seen == L"a") {
            EXPECT_EQ(add(text(L"late")).code, S_OK);
        }
    });
    EXPECT_EQ(seen, L"abc");
    EXPECT_EQ(contents(), L"late");
}

TEST_F(Collections, WalkOutlivesTheCollection)
{
    addLetters();
    ComPtr<IUnknown> unknown;
    ComPtr<IEnumVARIANT> walk;
    ASSERT_EQ(col->get__NewEnum(&unknown), S_OK);
    ASSERT_EQ(unknown.As(&walk), S_OK);
    col.Reset();
    _variant_t element;
    EXPECT_EQ(walk->Next(1, &element, nullptr), S_OK);
    EXPECT_EQ(element, text(L"a"));
}

class Walks : public Collections
{
protected:
    void SetUp() override
    {
        addLetters();
        ComPtr<IUnknown> unknown;
        ASSERT_EQ(col->get__NewEnum(&unknown), S_OK);
        ASSERT_EQ(unknown.As(&walk), S_OK);
    }

    /// What Next(count) delivers, joined by blanks, and its code.
    std::pair<std::wstring, HRESULT> next(ULONG count)
    {
        std::vector<_variant_t> values(count);
        ULONG fetched = 99;
        const HRESULT code = walk->Next(count, values.data(), &fetched);
        std::wstring all;
        for (ULONG index = 0; index < fetched; ++index)
            all += toText(values[index]);
        return {all, code};
    }

    ComPtr<IEnumVARIANT> walk;
};

TEST_F(Walks, NextDeliversWhatIsLeft)
{
    EXPECT_EQ(next(2), std::pair(std::wstring(L"ab"), S_OK));
    EXPECT_EQ(next(2), std::pair(std::wstring(L"c"), S_FALSE));
    EXPECT_EQ(next(1), std::pair(std::wstring(), S_FALSE));
}

TEST_F(Walks, SkipAndResetMove)
{
    EXPECT_EQ(walk->Skip(2), S_OK);
    EXPECT_EQ(next(1), std::pair(std::wstring(L"c"), S_OK));
    EXPECT_EQ(walk->Skip(1), S_FALSE);
    EXPECT_EQ(walk->Reset(), S_OK);
    EXPECT_EQ(next(3), std::pair(std::wstring(L"abc"), S_OK));
}

TEST_F(Walks, CloneStandsWhereItWasMade)
{
    EXPECT_EQ(walk->Skip(1), S_OK);
    ComPtr<IEnumVARIANT> original = walk;
    ASSERT_EQ(original->Clone(walk.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(next(2), std::pair(std::wstring(L"bc"), S_OK));
    walk = original;
    EXPECT_EQ(next(1), std::pair(std::wstring(L"b"), S_OK));
}

TEST_F(Walks, NullPointersAreRefused)
{
    _variant_t values[2];
    ULONG fetched = 0;
    EXPECT_EQ(walk->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(walk->Next(2, values, nullptr), E_POINTER);
    EXPECT_EQ(walk->Clone(nullptr), E_POINTER);
    EXPECT_EQ(col->get__NewEnum(nullptr), E_POINTER);
    EXPECT_EQ(col->get_Count(nullptr), E_POINTER);
    EXPECT_EQ(col->Item(values, nullptr), E_POINTER);
    EXPECT_EQ(col->Item(nullptr, values), E_POINTER);
    EXPECT_EQ(col->Add(nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(col->Remove(nullptr), E_POINTER);
}

} // namespace
} // namespace com
