#include "replication/table_report.h"

#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

class TableReportTest : public RecordingTest
{
};

TEST_F(TableReportTest, CountsAreOneBatchInTheLocalDatabaseForTheSite)
{
    connectedSettings({.site = 1, .role = L"DESTINATION"});
    writeCounts(1, L"o'table", {{L" adds", 1}, {L" deletes", -2}});
    EXPECT_EQ(ado().statements(),
              (std::vector<AdoStatement>{
                  {L"destination",
                   L"insert into replication_counts (unique_key, count_name, count_value) values (1,'o''table adds',1);"
                   L"insert into replication_counts (unique_key, count_name, count_value) values (1,'o''table "
                   L"deletes',-2)"}}));
    EXPECT_EQ(ado().calls()[5], L"Command(destination).Execute(missing, missing, -1)");
    ado().cut(L"destination", connectionLost());
    EXPECT_EQ(raised([] {
                  writeCounts(0, L"users", {{L" adds", 1}});
              }),
              (com::Error{E_FAIL, L"clsConn.execute", L"Connection lost"}));
}

TEST_F(TableReportTest, SummaryHasOneIndentedLineForEachCounter)
{
    EXPECT_EQ(summaryText(L"patient", {{L"Adds to destination: ", 12}, {L"Errors: ", 0}}),
              L"Replicated table: patient\r\n\tAdds to destination: 12\r\n\tErrors: 0");
}

} // namespace
