#include "replication/table_report.h"

#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

class TableReportTest : public RecordingTest
{
};

TEST_F(TableReportTest, OneRowIsOneStatement)
{
    EXPECT_EQ(countsBatch(0, L"patient", {{L" updates", 3}}),
              L"insert into replication_counts (unique_key, count_name, count_value) values (0,'patient updates',3)");
}

TEST_F(TableReportTest, RowsAreJoinedInTheirOrderWithoutBlanks)
{
    EXPECT_EQ(countsBatch(1, L"users", {{L" updates", 1}, {L" adds", 0}, {L" deletes", -2}}),
              L"insert into replication_counts (unique_key, count_name, count_value) values (1,'users updates',1);"
              L"insert into replication_counts (unique_key, count_name, count_value) values (1,'users adds',0);"
              L"insert into replication_counts (unique_key, count_name, count_value) values (1,'users deletes',-2)");
}

TEST_F(TableReportTest, ApostropheInTheTableNameIsDoubled)
{
    EXPECT_EQ(countsBatch(0, L"o'table", {{L" errors", 0}}),
              L"insert into replication_counts (unique_key, count_name, count_value) values (0,'o''table errors',0)");
}

TEST_F(TableReportTest, CountsAreWrittenOnceToTheLocalDatabaseForTheSite)
{
    ConnectOptions options;
    options.site = 1;
    options.role = L"DESTINATION";
    connectedSettings(options);
    writeCounts(1, L"users", {{L" adds", 1}, {L" errors", 2}});
    EXPECT_EQ(ado().statements(),
              (std::vector<AdoStatement>{
                  {L"destination",
                   L"insert into replication_counts (unique_key, count_name, count_value) values (1,'users adds',1);"
                   L"insert into replication_counts (unique_key, count_name, count_value) values (1,'users "
                   L"errors',2)"}}));
    EXPECT_EQ(ado().calls()[5], L"Command(destination).Execute(missing, missing, -1)");
}

TEST_F(TableReportTest, RefusedCountsRaiseAsTheConnectionDoes)
{
    connectedSettings();
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([] {
                  writeCounts(0, L"users", {{L" adds", 1}});
              }),
              (com::Error{E_FAIL, L"clsConn.execute", L"Connection lost"}));
}

TEST_F(TableReportTest, SummaryHasOneIndentedLineForEachCounter)
{
    EXPECT_EQ(summaryText(L"patient", {{L"Adds to destination: ", 12}, {L"Errors: ", 0}}),
              L"Replicated table: patient\r\n\tAdds to destination: 12\r\n\tErrors: 0");
    EXPECT_EQ(summaryText(L"patient", {}), L"Replicated table: patient");
}

} // namespace
