// The methods that `quinrep init` proposes for a table, by what is known of it.
#include "Proposal.h"

#include "support/TemporaryFolder.h"
#include "text.h"

#include <fstream>
#include <gmock/gmock.h>

namespace {

struct ProposalCase
{
    const char* name;
    TableFacts facts;
    const char* method;
    const char* reason;
};

class ProposedMethod : public testing::TestWithParam<ProposalCase>
{
};

TableFacts facts(void (*change)(TableFacts&))
{
    TableFacts facts;
    facts.name = "remark";
    change(facts);
    return facts;
}

} // namespace

TEST_P(ProposedMethod, HasItsReason)
{
    const ProposedTable proposed = proposeMethod(GetParam().facts);
    EXPECT_EQ(proposed.table.name, "remark");
    EXPECT_EQ(proposed.isLeftOut ? "none" : methodName(proposed.table.method), GetParam().method);
    EXPECT_THAT(proposed.reasons, testing::ElementsAre(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    ByFacts, ProposedMethod,
    testing::Values(
        ProposalCase{"Described", facts([](TableFacts&) {}), "one_way_deletes",
                     "row by row; it has a description for conflicts"},
        ProposalCase{"SmallWithoutDescription", facts([](TableFacts& table) {
                         table.isDescribed = false;
                         table.sourceRows = 10'000;
                     }),
                     "full_copy",
                     "copied whole: it has no description, without which a conflict ends the run in an error; it is "
                     "small (10000 rows), and no table refers to it"},
        ProposalCase{"LargeWithoutDescription", facts([](TableFacts& table) {
                         table.isDescribed = false;
                         table.sourceRows = 10'001;
                     }),
                     "one_way_deletes",
                     "row by row. It has no description, so a run ends in an error at its first conflict; it cannot be "
                     "copied whole: it has 10001 rows"},
        ProposalCase{"ParentWithoutDescription", facts([](TableFacts& table) {
                         table.isDescribed = false;
                         table.referrers = {"note", "letter"};
                     }),
                     "one_way_deletes",
                     "row by row. It has no description, so a run ends in an error at its first conflict; it cannot be "
                     "copied whole: foreign keys of note, letter refer to it"},
        ProposalCase{"TypeThatIsOnlyCopiedWhole", facts([](TableFacts& table) { table.noRows = "column c is odd"; }),
                     "full_copy", "copied whole: column c is odd"},
        ProposalCase{"NeitherWay", facts([](TableFacts& table) {
                         table.noRows = "column c is odd";
                         table.noCopy = "column d is filled";
                     }),
                     "none", "column c is odd, and it cannot be copied whole: column d is filled"},
        ProposalCase{"ColumnsDiffer", facts([](TableFacts& table) { table.difference = "the source lacks c"; }), "none",
                     "both sides need the same columns in the same order: the source lacks c"},
        ProposalCase{"WithoutKey", facts([](TableFacts& table) { table.hasKey = false; }), "none",
                     "it has no column unid; method \"full_copy\" needs none, and \"by_key\" takes another key"},
        ProposalCase{"WithoutDate", facts([](TableFacts& table) { table.hasDate = false; }), "none",
                     "it has no column mod_date; method \"full_copy\" needs none"}),
    [](const auto& info) { return info.param.name; });

// The text of an error has as many lines as its driver likes.
TEST(ProposedConfiguration, CanBeReadWhateverTheReasonsSay)
{
    Proposal proposal;
    proposal.configuration.source = {.dsn = "Office", .prefix = "Office.dbo.", .password = "prompt"};
    proposal.configuration.destination = {.dsn = "Laptop", .prefix = "Laptop.dbo.", .password = "prompt"};
    proposal.configuration.logFile = "x.log";
    proposal.configuration.programVersion = "laptop";
    const std::string text = "ERROR: permission denied for table remark;\r\nError while executing the query";
    ProposedTable table;
    table.table.name = "users";
    table.reasons = {text};
    proposal.tables = {table};
    table.isLeftOut = true;
    proposal.leftOut = {table};
    const TemporaryFolder folder;
    const std::wstring path = folder.file(L"quinrep.toml");
    std::ofstream(std::filesystem::path(path)) << configurationText(proposal);
    EXPECT_EQ(tableNames(loadConfiguration(toUtf8(path))), std::vector<std::string>{"users"});
}
