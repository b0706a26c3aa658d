#include "TableRun.h"

#include "com/convert.h"
#include "com/enumerate.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

class CollectionOfARun : public testing::Test
{
protected:
    CollectionOfARun()
        : run_(
              {{"users", nullptr}, {"patient", nullptr}, {"chart_hdr", nullptr}}, cancelled_,
              [this](size_t index) { told_.push_back("start " + std::to_string(index)); },
              [this](size_t index) { told_.push_back("finish " + std::to_string(index)); })
    {
    }

    /// Fetches as many tables; the result of the last fetch.
    HRESULT fetch(int count)
    {
        HRESULT result = S_OK;
        for (int index = 0; index < count; ++index) {
            _variant_t value;
            result = run_.next(&value);
        }
        return result;
    }

    std::atomic<bool> cancelled_{false};
    std::vector<std::string> told_;
    TableRun run_;
};

} // namespace

TEST_F(CollectionOfARun, TellsEachTableAndEndsAfterTheLast)
{
    EXPECT_EQ(fetch(3), S_OK);
    EXPECT_EQ(fetch(1), S_FALSE);
    EXPECT_THAT(told_, ElementsAre("start 0", "finish 0", "start 1", "finish 1", "start 2", "finish 2"));
}

TEST_F(CollectionOfARun, CancelledAfterTheLastTableEndsWell)
{
    fetch(3);
    cancelled_ = true;
    EXPECT_EQ(fetch(1), S_FALSE);
    EXPECT_TRUE(run_.tables()[2].finished);
}

TEST_F(CollectionOfARun, IsEnumeratedAsTheComponentDoes)
{
    int visited = 0;
    _variant_t collection;
    static_cast<VARIANT&>(collection) = run_.collection();
    com::forEach(collection, [&](const _variant_t&) { ++visited; });
    EXPECT_EQ(visited, 3);
}
