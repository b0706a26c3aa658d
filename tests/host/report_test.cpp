// What the report of a run concludes from its result; tests/review shows the page in a browser.
#include "commands/report.h"

#include "Configuration.h"

#include <gmock/gmock.h>

using nlohmann::ordered_json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(Report, OfARunWithoutErrorIsNotGoodWhileNobodyKnowsWhetherRowsWait)
{
    const ordered_json result = {{"from", "2026-11-21T20:30:00"},
                                 {"tables", ordered_json::array()},
                                 {"recorded", ""},
                                 {"conflicts_waiting", nullptr},
                                 {"conflicts_new", nullptr}};
    const Configuration configuration;
    EXPECT_THAT(reportPage(result, ordered_json::array(), &configuration),
                AllOf(HasSubstr("verdict bad\"><h1>The run went through; it is not known whether rows wait</h1>"),
                      HasSubstr("It is not known how many rows wait for a decision."),
                      Not(HasSubstr("nothing waits"))));
}
