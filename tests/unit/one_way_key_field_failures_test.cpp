#include "support/ReplicationFixture.h"

namespace {

using com::Error;

/// Ends of a run by the key column `code` before its time.
class KeyFieldFailures : public ReplicationTest
{
protected:
    KeyFieldFailures() { useTable(L"shortcut", L"code"); }

    void runAt(long site)
    {
        connectAt(site);
        init(ONE_WAY_WITH_PK_FIELD, L"", DELETE_WITH_UPDATES);
        go();
    }

    /// One row of every kind: to update, to insert and to delete.
    void oneOfEach()
    {
        bothHave(L"K1", 10, -10);
        sourceHolds(L"K1", L"S", 10);
        onlySourceHas(L"K2", 10);
        sourceHolds(L"K2", L"S", 10);
        onlyDestinationHas(L"K3", -10);
    }
};

TEST_F(KeyFieldFailures, FailureToMarkAFailedCheckIsTheRoutinesFailure)
{
    useTable(L"shortcut");
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD);
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(goError(), (Error{E_FAIL, L"clsReplicateTable.go",
                                L"clsReplicateTable.replicateOneWayWithPKField(shortcut): Connection lost"}));
}

TEST_F(KeyFieldFailures, CompanyStaysWhenTheCommentsCannotBeCleared)
{
    useTable(L"dentist_company", L"dc_id");
    onlyDestinationHas(L"7", -10);
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD, L"", ONLY_DELETES);
    ado().failStatement(L"update chart_comment_info set dc_id = null where dc_id = '7'", connectionLost());
    EXPECT_EQ(goError().description, L"clsReplicateTable.replicateOneWayWithPKField(dentist_company): Connection lost");
    EXPECT_EQ(ado().statements().size(), 3U);
    EXPECT_EQ(counters(), Counters());
}

TEST_F(KeyFieldFailures, EveryStatementThatFailsEndsTheRun)
{
    oneOfEach();
    runAt(OFFICES);
    const Statements good = ado().statements();
    ASSERT_EQ(good.size(), 9U);
    for (size_t failing = 0; failing < good.size(); ++failing) {
        ado().forget();
        ado().failMember(L"Command.Execute", connectionLost(), failing + 1);
        EXPECT_EQ(goError(), (Error{E_FAIL, L"clsReplicateTable.go",
                                    L"clsReplicateTable.replicateOneWayWithPKField(shortcut): Connection lost"}));
        Statements expected(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(failing));
        expected.push_back(marked(L"clsReplicateTable.replicateOneWayWithPKField: Connection lost")[0]);
        EXPECT_EQ(ado().statements(), expected) << failing;
    }
}

TEST_F(KeyFieldFailures, RoutineNamesTheTableInItsSource)
{
    runAt(OFFICES);
    ado().failStatement(sourceOnlySql(), connectionLost());
    EXPECT_EQ(raised([&] { table().replicateOneWayWithPKField(); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateOneWayWithPKField(shortcut)",
                     L"clsReplicateTable.replicateOneWayWithPKField(shortcut): Connection lost"}));
}

TEST_F(KeyFieldFailures, KeyColumnThatIsNotThereEndsTheRunAtItsFirstRow)
{
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD, L"", DELETE_WITH_UPDATES);
    AdoRows dates{{{L"src_mod_date", 135}, {L"dest_mod_date", 135}}, {}};
    AdoRows deleted{{{L"unid", 200}, {L"mod_date", 135}}, {}};
    ado().answerOn(L"source", changedSql(), {dates, 0, {}});
    ado().answerOn(L"source", destinationOnlySql(), {deleted, 0, {}});
    go();
    deleted.rows = {{L"K", _variant_t(at(-10), VT_DATE)}};
    ado().answerOn(L"source", destinationOnlySql(), {deleted, 0, {}});
    EXPECT_EQ(goError().number, static_cast<long>(0x80040000) + 3265);
    dates.rows = {{_variant_t(at(10), VT_DATE), _variant_t(at(-10), VT_DATE)}};
    ado().answerOn(L"source", changedSql(), {dates, 0, {}});
    EXPECT_EQ(goError().number, static_cast<long>(0x80040000) + 3265);
    EXPECT_EQ(counters(), Counters());
}

} // namespace
