#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <map>

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::vector<TablePlan> kAllMethods = {
    {.method = ONE_WAY_DELETE_ALL, .table = L"config"},
    {.method = ONE_WAY, .table = L"users"},
    {.method = ONE_WAY_ALLOW_DELETES, .table = L"chart_option", .dependentTable = L"chart_option_setting"},
    {.method = ONE_WAY_WITH_PK_FIELD,
     .table = L"dentist_company",
     .keyField = L"dc_id",
     .deletes = DELETE_WITH_UPDATES},
    {.method = COMPUTER_TYPE, .table = L"computer_type"},
    {.method = TWO_WAY, .table = L"procs"},
    {.method = TWO_WAY_NO_DELETES, .table = L"shortcut"}};

constexpr const wchar_t* kTables[] = {
    L"config", L"users",    L"chart_option",   L"chart_option_setting", L"computer_type", L"computer_type_setting",
    L"procs",  L"shortcut", L"dentist_company"};

using Contents = std::map<std::wstring, std::vector<std::wstring>>;

class AllMethods : public PracticePair, public testing::WithParamInterface<enumReplicationUniqueId>
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        runAt(GetParam());
    }

    /// Something to do for every method, and nothing that is in conflict.
    void addRows()
    {
        addUser(source(), 7, L"new", kNew);
        addUser(source(), 8, L"changed", kNew);
        addUser(destination(), 8, L"before", kOld);
        for (const wchar_t* sql :
             {L"insert into config (category, config_name) values ('run', 'colour')",
              L"insert into chart_option (unid, option_name, mod_date) values"
              L" ('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'colour', '2025-03-11T09:15:00')",
              L"insert into chart_option_setting (chart_option_id, setting_name) values"
              L" ('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'blue')",
              L"insert into dentist_company (dc_id, company_name, mod_date) values (3, 'new', '2025-03-11T09:15:00')",
              L"insert into computer_type (unid, type_name) values ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'desk')",
              L"insert into computer_type_setting (computer_type_id, setting_name) values"
              L" ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'colours')",
              L"insert into procs (unid, proc_name, mod_date) values (1, 'of the source', '2025-03-11T09:15:00')"})
            source().execute(sql);
        for (const wchar_t* sql :
             {L"insert into procs (unid, proc_name, mod_date) values (2, 'of the destination', '2025-03-11T09:15:00')",
              L"insert into shortcut (item_name, mod_date) values ('of the destination', '2025-03-11T09:15:00')",
              L"insert into config (category, config_name) values ('run', 'stale')"})
            destination().execute(sql);
    }

    static Contents contentsOf(const PracticeSide& side)
    {
        Contents contents;
        for (const wchar_t* table : kTables)
            contents[table] = side.rows(L"select * from " + std::wstring(table) + L" order by unid");
        return contents;
    }

    /// The full copies do their work again; all others have none.
    const std::vector<Counters> kSecondRun = {Counters{.destAdd = 1}, Counters{}, Counters{}, Counters{},
                                              Counters{.destAdd = 1}, Counters{}, Counters{}};
};

INSTANTIATE_TEST_SUITE_P(Sites, AllMethods, testing::Values(OFFICES, LAPTOP),
                         [](const testing::TestParamInfo<enumReplicationUniqueId>& info) {
                             return info.param == OFFICES ? "Offices" : "Laptop";
                         });

TEST_P(AllMethods, InOneRunBringBothSidesTogether)
{
    addRows();
    EXPECT_THAT(replicate(kAllMethods),
                ElementsAre(Counters{.destAdd = 1}, Counters{.destAdd = 1, .destUpdate = 1}, Counters{.destAdd = 1},
                            Counters{.destAdd = 1}, Counters{.destAdd = 1}, Counters{}, Counters{}));
    const Contents contents = contentsOf(source());
    EXPECT_EQ(contentsOf(destination()), contents);
    for (const auto& [table, rows] : contents)
        EXPECT_FALSE(rows.empty()) << table;
    EXPECT_EQ(source().count(L"procs"), 2);
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_TRUE(local().hasPatientKey());
    EXPECT_EQ(counts().size(), 3 * 5U + 2 * 7U);
}

TEST_P(AllMethods, InASecondRunChangeNothing)
{
    addRows();
    replicate(kAllMethods);
    const Contents contents = contentsOf(source());
    EXPECT_EQ(replicate(kAllMethods), kSecondRun);
    EXPECT_EQ(contentsOf(source()), contents);
    EXPECT_EQ(contentsOf(destination()), contents);
    EXPECT_THAT(conflicts(), IsEmpty());
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_THAT(local().rows(L"select count_value from replication_counts"), Each(std::wstring(L"0")));
}

} // namespace
