#include "replication/method_plan.h"

#include <gtest/gtest.h>

using namespace quinmark;

namespace {

struct PlanCase
{
    long method;
    long deletes;
    MethodPlan plan; // engine, byKeyField, copiesRows, looksForDeletedRows, deletes
};

constexpr PlanCase kPlans[] = {
    {ONE_WAY_DELETE_ALL, UNKNOWN, {Engine::FullCopy, false, false, false, false}},
    {ONE_WAY, UNKNOWN, {Engine::OneWay, false, true, true, false}},
    {ONE_WAY, ONLY_DELETES, {Engine::OneWay, false, true, true, false}},
    {ONE_WAY_ALLOW_DELETES, UNKNOWN, {Engine::OneWay, false, true, true, true}},
    {TWO_WAY, UNKNOWN, {Engine::TwoWay, false, true, true, true}},
    {TWO_WAY_NO_DELETES, UNKNOWN, {Engine::TwoWay, false, true, true, false}},
    {COMPUTER_TYPE, UNKNOWN, {Engine::ComputerType, false, false, false, false}},
    {ONE_WAY_WITH_PK_FIELD, UNKNOWN, {Engine::OneWay, true, false, false, true}},
    {ONE_WAY_WITH_PK_FIELD, DELETE_WITH_UPDATES, {Engine::OneWay, true, true, true, true}},
    {ONE_WAY_WITH_PK_FIELD, SKIP_DELETES, {Engine::OneWay, true, true, false, true}},
    {ONE_WAY_WITH_PK_FIELD, ONLY_DELETES, {Engine::OneWay, true, false, true, true}},
    {ONE_WAY_WITH_PK_FIELD, 0, {Engine::OneWay, true, true, false, true}},
    {ONE_WAY_WITH_PK_FIELD, 70000, {Engine::OneWay, true, true, false, true}},
    {0, UNKNOWN, {Engine::None, false, false, false, false}},
    {8, UNKNOWN, {Engine::None, false, false, false, false}},
};

TEST(PlanOf, MethodAndDeleteSettingGiveThePasses)
{
    for (const PlanCase& given : kPlans) {
        SCOPED_TRACE(testing::Message() << "method " << given.method << ", deletes " << given.deletes);
        const MethodPlan plan = planOf(given.method, given.deletes);
        EXPECT_EQ(plan.engine, given.plan.engine);
        EXPECT_EQ(plan.byKeyField, given.plan.byKeyField);
        EXPECT_EQ(plan.copiesRows, given.plan.copiesRows);
        EXPECT_EQ(plan.looksForDeletedRows, given.plan.looksForDeletedRows);
        EXPECT_EQ(plan.deletes, given.plan.deletes);
    }
}

} // namespace
