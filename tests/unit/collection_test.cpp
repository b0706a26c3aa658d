#include "conflicts/Collection.h"

#include "com/convert.h"
#include "com/enumerate.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace quinmark {
namespace {

_variant_t text(const wchar_t* value)
{
    return com::textVariant(value);
}

class Collections : public testing::Test
{
protected:
    LateResult item(const _variant_t& index)
    {
        return lateInvokeId(col.Get(), DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {{index}, {}});
    }

    void addLetters()
    {
        for (const wchar_t* letter : {L"a", L"b", L"c"})
            col->add(text(letter));
    }

    ComPtr<Collection> col = com::makeObject<Collection>();
};

TEST_F(Collections, CountFromOne)
{
    addLetters();
    EXPECT_EQ(lateGet(col.Get(), L"Count").value, _variant_t(3L));
    for (const _variant_t& index : {_variant_t(2L), _variant_t(static_cast<short>(2)), _variant_t(2.2), text(L"2")})
        EXPECT_EQ(item(index).value, text(L"b"));
}

TEST_F(Collections, IndexOutOfRangeIsError9AndOneThatIsNoNumber13)
{
    addLetters();
    for (const long index : {0L, -1L, 4L})
        EXPECT_EQ(item(index).scode, static_cast<SCODE>(0x800A0009)) << index;
    EXPECT_EQ(item(text(L"b")).scode, static_cast<SCODE>(0x800A000D));
}

TEST_F(Collections, WalkSeesTheItemsAsTheyWereWhenItBeganAndOutlivesTheCollection)
{
    addLetters();
    std::wstring seen;
    com::forEach(_variant_t(static_cast<IDispatch*>(col.Get())), [&](const _variant_t& element) {
        seen += com::toText(element);
        addLetters();
    });
    EXPECT_EQ(seen, L"abc");

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
            all += com::toText(values[index]);
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
}

} // namespace
} // namespace quinmark
