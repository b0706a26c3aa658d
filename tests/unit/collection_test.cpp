#include "conflicts/Collection.h"

#include "com/convert.h"
#include "com/enumerate.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

namespace quinmark {
namespace {

/// The letters a, b and c.
class CollectionTest : public testing::Test
{
protected:
    CollectionTest()
    {
        for (const wchar_t* letter : {L"a", L"b", L"c"})
            letters_->add(letter);
    }

    LateResult item(const _variant_t& index)
    {
        return lateInvokeId(letters_.Get(), DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {{index}, {}});
    }

    const Microsoft::WRL::ComPtr<Collection> letters_ = com::makeObject<Collection>();
};

TEST_F(CollectionTest, CountsFromOne)
{
    EXPECT_EQ(lateGet(letters_.Get(), L"Count").value, _variant_t(3L));
    EXPECT_EQ(item(1L).value, _variant_t(L"a"));
    for (const _variant_t& index : {_variant_t(2L), _variant_t(2.2), _variant_t(L"2")})
        EXPECT_EQ(item(index).value, _variant_t(L"b"));
    EXPECT_EQ(item(3L).value, _variant_t(L"c"));
}

TEST_F(CollectionTest, IndexOutOfRangeIsError9AndOneThatIsNoNumber13)
{
    for (const long index : {0L, -1L, 4L})
        EXPECT_EQ(item(index).scode, static_cast<SCODE>(0x800A0009)) << index;
    EXPECT_EQ(item(L"b").scode, static_cast<SCODE>(0x800A000D));
}

TEST_F(CollectionTest, WalkSeesTheItemsAsTheyWereWhenItBegan)
{
    std::wstring seen;
    com::forEach(_variant_t(static_cast<IDispatch*>(letters_.Get())), [&](const _variant_t& element) {
        seen += com::toText(element);
        letters_->add(L"d");
    });
    EXPECT_EQ(seen, L"abc");
}

} // namespace
} // namespace quinmark
