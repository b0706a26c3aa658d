#include "support/ReplicationFixture.h"

#include <gmock/gmock.h>

namespace {

constexpr wchar_t kSettings[] = L"chart_option_setting";

/// A table whose rows bring rows of a dependent table with them.
class OneWayDependents : public ReplicationTest
{
protected:
    OneWayDependents()
    {
        bothHave(L"K1", 10, -10);
        onlySourceHas(L"K2", 10);
        holdChangedRows();
        connectAt(OFFICES);
    }

    void holdChangedRows()
    {
        sourceHolds(L"K1", L"S1", 10);
        sourceHolds(L"K2", L"S2", 10);
    }

    void initWithDeletes(const std::wstring& sDependentTable)
    {
        onlyDestinationHas(L"K3", -10);
        init(ONE_WAY_ALLOW_DELETES, sDependentTable);
    }

    /// The only table that may have dependent rows by other methods.
    void useComputerType(const std::wstring& sKey)
    {
        useTable(L"computer_type", sKey);
        holdChangedRows();
    }

    static std::wstring rewrite(const std::wstring& key, const std::wstring& sDependentTable = kSettings)
    {
        return L"delete from chart_option_setting where chart_option_id = '" + key +
               L"'; insert into chart_option_setting select * from office." + sDependentTable +
               L" where chart_option_id = '" + key + L"'";
    }

    Statements wholeRun(const std::wstring& sDependentTable) const
    {
        return joined({onLocal({changedSql()}), onSource({select(L"K1")}),
                       onDestination({update(L"K1", L"S1", 10), rewrite(L"K1", sDependentTable)}),
                       onLocal({sourceOnlySql()}), onSource({select(L"K2")}),
                       onDestination({insert(L"K2", L"S2", 10), rewrite(L"K2", sDependentTable)}),
                       onLocal({destinationOnlySql()}), onDestination({remove(L"K3"), rewrite(L"K3", sDependentTable)}),
                       counted(kAll)});
    }

    Statements withoutDependents() const
    {
        return joined({onLocal({changedSql()}), onSource({select(L"K1")}), onDestination({update(L"K1", L"S1", 10)}),
                       onLocal({sourceOnlySql()}), onSource({select(L"K2")}), onDestination({insert(L"K2", L"S2", 10)}),
                       onLocal({destinationOnlySql()}), onDestination({remove(L"K3")}), counted(kAll)});
    }

    static constexpr Counters kAll{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntDestDelete = 1};
};

TEST_F(OneWayDependents, DependentRowsAreRewrittenAfterUpdateInsertAndDelete)
{
    initWithDeletes(kSettings);
    go();
    EXPECT_EQ(ado().statements(), wholeRun(kSettings));
    EXPECT_EQ(counters(), kAll);
}

TEST_F(OneWayDependents, DependentTableIsKnownInAnyCase)
{
    initWithDeletes(L"Chart_Option_SETTING");
    go();
    EXPECT_EQ(ado().statements(), wholeRun(L"Chart_Option_SETTING"));
}

TEST_F(OneWayDependents, DependentRowsAreRewrittenWhereDeletesAreNotAllowed)
{
    useComputerType(L"unid");
    init(ONE_WAY, kSettings);
    go();
    EXPECT_THAT(ado().statements(), testing::IsSupersetOf(onDestination({rewrite(L"K1"), rewrite(L"K2")})));
}

TEST_F(OneWayDependents, TableWithAKeyFieldHasNone)
{
    useComputerType(L"code");
    onlyDestinationHas(L"K3", -10);
    init(ONE_WAY_WITH_PK_FIELD, kSettings, DELETE_WITH_UPDATES);
    go();
    EXPECT_EQ(ado().statements(), withoutDependents());
}

TEST_F(OneWayDependents, RewritesAreLoggedBeforeTheyRun)
{
    initWithDeletes(kSettings);
    go();
    EXPECT_EQ(
        logEntries(),
        (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnSource: " + select(L"K1"),
               L"DEBUG: ConnDestination: " + update(L"K1", L"S1", 10), L"DEBUG: ConnDestination: " + rewrite(L"K1"),
               L"DEBUG: ConnLocal: " + sourceOnlySql(), L"DEBUG: ConnSource: " + select(L"K2"),
               L"DEBUG: ConnDestination: " + insert(L"K2", L"S2", 10), L"DEBUG: ConnDestination: " + rewrite(L"K2"),
               L"DEBUG: ConnLocal: " + destinationOnlySql(), L"DEBUG: ConnDestination: " + remove(L"K3"),
               L"DEBUG: ConnDestination: " + rewrite(L"K3"), summary(kAll, L"shortcut")}));
}

TEST_F(OneWayDependents, OtherDependentTableProducesNoStatements)
{
    initWithDeletes(L"other_setting");
    go();
    EXPECT_EQ(ado().statements(), withoutDependents());
    EXPECT_EQ(counters(), kAll);
}

TEST_F(OneWayDependents, UpdateIsCountedBeforeItsRewriteFails)
{
    initWithDeletes(kSettings);
    ado().failStatement(rewrite(L"K1"), connectionLost());
    EXPECT_EQ(goError().number, E_FAIL);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1}));
}

TEST_F(OneWayDependents, InsertAndDeleteAreCountedAfterTheirRewrite)
{
    initWithDeletes(kSettings);
    ado().failStatement(rewrite(L"K2"), connectionLost());
    EXPECT_EQ(goError().number, E_FAIL);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1}));
    ado().failStatement(rewrite(L"K3"), connectionLost());
    EXPECT_EQ(goError().number, E_FAIL);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1}));
}

} // namespace
