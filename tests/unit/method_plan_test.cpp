#include "replication/method_plan.h"

#include <gtest/gtest.h>
#include <string>

using namespace quinmark;

namespace {

struct PlanCase
{
    const char* name;
    long method;
    long deletes;
    Engine engine;
    bool byKeyField;
    bool copiesRows;
    bool looksForDeletedRows;
    bool deletesRows;
};

constexpr PlanCase kPlans[] = {
    {"FullCopy", ONE_WAY_DELETE_ALL, UNKNOWN, Engine::FullCopy, false, false, false, false},
    {"OneWay", ONE_WAY, UNKNOWN, Engine::OneWay, false, true, true, false},
    {"OneWayAllowDeletes", ONE_WAY_ALLOW_DELETES, UNKNOWN, Engine::OneWay, false, true, true, true},
    {"OneWayIgnoresTheDeleteSetting", ONE_WAY, ONLY_DELETES, Engine::OneWay, false, true, true, false},
    {"TwoWay", TWO_WAY, UNKNOWN, Engine::TwoWay, false, true, true, true},
    {"TwoWayNoDeletes", TWO_WAY_NO_DELETES, UNKNOWN, Engine::TwoWay, false, true, true, false},
    {"ComputerType", COMPUTER_TYPE, UNKNOWN, Engine::ComputerType, false, false, false, false},
    {"KeyFieldUnknown", ONE_WAY_WITH_PK_FIELD, UNKNOWN, Engine::OneWay, true, false, false, true},
    {"KeyFieldWithUpdates", ONE_WAY_WITH_PK_FIELD, DELETE_WITH_UPDATES, Engine::OneWay, true, true, true, true},
    {"KeyFieldSkip", ONE_WAY_WITH_PK_FIELD, SKIP_DELETES, Engine::OneWay, true, true, false, true},
    {"KeyFieldOnly", ONE_WAY_WITH_PK_FIELD, ONLY_DELETES, Engine::OneWay, true, false, true, true},
    {"KeyFieldAnyOther", ONE_WAY_WITH_PK_FIELD, 7, Engine::OneWay, true, true, false, true},
    {"MethodZero", 0, UNKNOWN, Engine::None, false, false, false, false},
    {"MethodEight", 8, UNKNOWN, Engine::None, false, false, false, false},
};

class PlanOf : public testing::TestWithParam<PlanCase>
{
};

TEST_P(PlanOf, MethodAndDeleteSettingGiveThePasses)
{
    const PlanCase& expected = GetParam();
    const MethodPlan plan = planOf(expected.method, expected.deletes);
    EXPECT_EQ(plan.engine, expected.engine);
    EXPECT_EQ(plan.byKeyField, expected.byKeyField);
    EXPECT_EQ(plan.copiesRows, expected.copiesRows);
    EXPECT_EQ(plan.looksForDeletedRows, expected.looksForDeletedRows);
    EXPECT_EQ(plan.deletes, expected.deletesRows);
}

INSTANTIATE_TEST_SUITE_P(, PlanOf, testing::ValuesIn(kPlans),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
