#include "replication/row_policy.h"

#include <gtest/gtest.h>
#include <string>

using namespace quinmark;

namespace {

using testing::TestWithParam;
using testing::ValuesIn;

struct CommonRowCase
{
    const char* name;
    CommonDates dates; // equal, source after, destination after, source newer, destination newer
    CommonRow atOffices;
    CommonRow atLaptop;
};

constexpr CommonRowCase kCommonRows[] = {
    {"EqualBothBeforeLastRun", {true, false, false, true, false}, CommonRow::Leave, CommonRow::Leave},
    {"EqualSourceAfterLastRun", {true, true, false, true, false}, CommonRow::Leave, CommonRow::Leave},
    {"EqualDestinationAfterLastRun", {true, false, true, false, true}, CommonRow::Leave, CommonRow::Leave},
    {"EqualBothAfterSourceNewer", {true, true, true, true, false}, CommonRow::Leave, CommonRow::Leave},
    {"EqualBothAfterDestinationNewer", {true, true, true, false, true}, CommonRow::Leave, CommonRow::Leave},
    {"EqualToTheTick", {true, true, true, false, false}, CommonRow::Leave, CommonRow::Leave},
    {"BothAfterSourceNewer",
     {false, true, true, true, false},
     CommonRow::ReportChangedOnBoth,
     CommonRow::ReportChangedOnBoth},
    {"BothAfterDestinationNewer",
     {false, true, true, false, true},
     CommonRow::ReportChangedOnBoth,
     CommonRow::ReportChangedOnBoth},
    {"OnlySourceAfter", {false, true, false, true, false}, CommonRow::Update, CommonRow::Update},
    {"BothBeforeSourceNewer", {false, false, false, true, false}, CommonRow::Update, CommonRow::Update},
    {"OnlyDestinationAfter",
     {false, false, true, false, true},
     CommonRow::ReportChangedOnDestination,
     CommonRow::Leave},
    {"BothBeforeDestinationNewer",
     {false, false, false, false, true},
     CommonRow::ReportChangedOnDestination,
     CommonRow::Leave},
};

class CommonRowPolicy : public TestWithParam<CommonRowCase>
{
};

TEST_P(CommonRowPolicy, IsDecidedBySiteAndDates)
{
    EXPECT_EQ(decideCommonRow(Site::Offices, GetParam().dates), GetParam().atOffices);
    EXPECT_EQ(decideCommonRow(Site::Laptop, GetParam().dates), GetParam().atLaptop);
}

INSTANTIATE_TEST_SUITE_P(Matrix, CommonRowPolicy, ValuesIn(kCommonRows),
                         [](const auto& info) { return info.param.name; });

struct SourceOnlyCase
{
    const char* name;
    Site site;
    Modified modified;
    SourceOnlyRow expected;
};

constexpr SourceOnlyCase kSourceOnlyRows[] = {
    {"OfficesSince", Site::Offices, Modified::SinceLastRun, SourceOnlyRow::Insert},
    {"OfficesBefore", Site::Offices, Modified::BeforeLastRun, SourceOnlyRow::ReportDeletedInDestination},
    {"LaptopSince", Site::Laptop, Modified::SinceLastRun, SourceOnlyRow::Insert},
    {"LaptopBefore", Site::Laptop, Modified::BeforeLastRun, SourceOnlyRow::Leave},
};

class SourceOnlyPolicy : public TestWithParam<SourceOnlyCase>
{
};

TEST_P(SourceOnlyPolicy, IsDecidedBySiteAndDate)
{
    EXPECT_EQ(decideSourceOnlyRow(GetParam().site, GetParam().modified), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Matrix, SourceOnlyPolicy, ValuesIn(kSourceOnlyRows),
                         [](const auto& info) { return info.param.name; });

struct DestinationOnlyCase
{
    const char* name;
    Site site;
    Modified modified;
    bool deletesAllowed;
    DestinationOnlyRow expected;
};

constexpr DestinationOnlyCase kDestinationOnlyRows[] = {
    {"OfficesSinceWithDeletes", Site::Offices, Modified::SinceLastRun, true, DestinationOnlyRow::ReportNew},
    {"OfficesSinceWithoutDeletes", Site::Offices, Modified::SinceLastRun, false, DestinationOnlyRow::ReportNew},
    {"OfficesBeforeWithDeletes", Site::Offices, Modified::BeforeLastRun, true, DestinationOnlyRow::Delete},
    {"OfficesBeforeWithoutDeletes", Site::Offices, Modified::BeforeLastRun, false,
     DestinationOnlyRow::ReportNewOrDeletedFromSource},
    {"LaptopSinceWithDeletes", Site::Laptop, Modified::SinceLastRun, true, DestinationOnlyRow::Leave},
    {"LaptopSinceWithoutDeletes", Site::Laptop, Modified::SinceLastRun, false, DestinationOnlyRow::Leave},
    {"LaptopBeforeWithDeletes", Site::Laptop, Modified::BeforeLastRun, true,
     DestinationOnlyRow::ReportDeletedFromSource},
    {"LaptopBeforeWithoutDeletes", Site::Laptop, Modified::BeforeLastRun, false,
     DestinationOnlyRow::ReportDeletedFromSource},
};

class DestinationOnlyPolicy : public TestWithParam<DestinationOnlyCase>
{
};

TEST_P(DestinationOnlyPolicy, IsDecidedBySiteDateAndDeletes)
{
    const DestinationOnlyCase& given = GetParam();
    EXPECT_EQ(decideDestinationOnlyRow(given.site, given.modified, given.deletesAllowed), given.expected);
}

INSTANTIATE_TEST_SUITE_P(Matrix, DestinationOnlyPolicy, ValuesIn(kDestinationOnlyRows),
                         [](const auto& info) { return info.param.name; });

TEST(TwoWayPolicy, LaterRowWinsUnlessBothAreOfTheSameSecond)
{
    EXPECT_EQ(decideTwoWayRow(true, true), TwoWayRow::Leave);
    EXPECT_EQ(decideTwoWayRow(true, false), TwoWayRow::Leave);
    EXPECT_EQ(decideTwoWayRow(false, true), TwoWayRow::UpdateDestination);
    EXPECT_EQ(decideTwoWayRow(false, false), TwoWayRow::UpdateSource);
}

} // namespace
