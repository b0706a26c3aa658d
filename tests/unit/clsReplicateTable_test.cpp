#include "replication/clsReplicateTable.h"

#include "replication/ReplicateTableFace.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "support/recording_table.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

class ReplicateTableTest : public RecordingTest
{
protected:
    void init(long method, const std::wstring& table, const std::wstring& dependent)
    {
        table_.init(method, table, dependent, L"", UNKNOWN);
    }

    Error initError(long method, const std::wstring& table, const std::wstring& dependent)
    {
        return raised([&] { init(method, table, dependent); });
    }

    /// The calls that `go` makes for a method.
    Lines dispatched(long method)
    {
        init(method, L"patient", L"");
        const auto routines = com::makeObject<RecordingTable>();
        table_.go(1, 2, *routines.Get());
        return routines->calls;
    }

    static Error ownError(const std::wstring& source, const std::wstring& description)
    {
        return {kOwnErrorRaised, source, description};
    }

    clsReplicateTable table_;
};

TEST_F(ReplicateTableTest, DependentTableIsRefusedForOtherMethods)
{
    for (const long method :
         {ONE_WAY_DELETE_ALL, ONE_WAY, TWO_WAY, TWO_WAY_NO_DELETES, COMPUTER_TYPE, ONE_WAY_WITH_PK_FIELD})
    {
        clsReplicateTable fresh;
        EXPECT_EQ(
            raised([&] { fresh.init(method, L"patient", L"child", L"", UNKNOWN); }),
            ownError(L"clsReplicateTable.init", L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"));
        EXPECT_EQ(fresh.sTable(), L"patient") << "stored before the check";
    }
}

TEST_F(ReplicateTableTest, RefusalNamesTheDependentTableOfBefore)
{
    init(ONE_WAY_ALLOW_DELETES, L"chart_option", L"chart_option_setting");
    EXPECT_EQ(initError(ONE_WAY, L"patient", L"child").description,
              L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,chart_option_setting)");
    EXPECT_EQ(initError(ONE_WAY, L"patient", L"child").description,
              L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,chart_option_setting)")
        << "a refused table stays unset";
}

TEST_F(ReplicateTableTest, RefusalHasReplacedTheMethod)
{
    const auto routines = com::makeObject<RecordingTable>();
    init(ONE_WAY, L"patient", L"");
    initError(TWO_WAY, L"patient", L"child");
    table_.go(1, 2, *routines.Get());
    EXPECT_EQ(routines->calls, (Lines{L"replicateTableTwoWay(True)"}));
}

TEST_F(ReplicateTableTest, DependentTableIsAllowedWithDeletes)
{
    init(ONE_WAY_ALLOW_DELETES, L"chart_option", L"chart_option_setting");
    EXPECT_EQ(table_.sTable(), L"chart_option");
}

TEST_F(ReplicateTableTest, ComputerTypeMayDependWhateverTheMethod)
{
    init(ONE_WAY, L"computer_type", L"child");
    init(COMPUTER_TYPE, L"computer_type", L"child");
    EXPECT_EQ(initError(ONE_WAY, L"COMPUTER_TYPE", L"other").description,
              L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (COMPUTER_TYPE,child)");
}

TEST_F(ReplicateTableTest, MethodBeyond16BitsOverflows)
{
    init(ONE_WAY, L"users", L"");
    EXPECT_EQ(initError(32768, L"patient", L""), (Error{6, L"clsReplicateTable.init", L"Overflow"}));
    EXPECT_EQ(initError(-32769, L"patient", L""), (Error{6, L"clsReplicateTable.init", L"Overflow"}));
    EXPECT_EQ(table_.sTable(), L"users") << "nothing was stored";
}

TEST_F(ReplicateTableTest, GoRunsTheMethodsRoutineThroughThePublicInterface)
{
    EXPECT_EQ(dispatched(ONE_WAY_DELETE_ALL), (Lines{L"replicateOneWayDeleteAll"}));
    EXPECT_EQ(dispatched(ONE_WAY), (Lines{L"replicateOneWay(False)"}));
    EXPECT_EQ(dispatched(ONE_WAY_ALLOW_DELETES), (Lines{L"replicateOneWay(True)"}));
    EXPECT_EQ(dispatched(TWO_WAY), (Lines{L"replicateTableTwoWay(True)"}));
    EXPECT_EQ(dispatched(TWO_WAY_NO_DELETES), (Lines{L"replicateTableTwoWay(False)"}));
    EXPECT_EQ(dispatched(COMPUTER_TYPE), (Lines{L"replicateComputerType"}));
    EXPECT_EQ(dispatched(ONE_WAY_WITH_PK_FIELD), (Lines{L"replicateOneWayWithPKField"}));
}

TEST_F(ReplicateTableTest, TableThatWasNotInitialisedRunsNothing)
{
    const auto routines = com::makeObject<RecordingTable>();
    EXPECT_EQ(raised([&] { table_.go(1, 2, *routines.Get()); }),
              ownError(L"clsReplicateTable.go", L"Invalid replication method"));
    EXPECT_EQ(routines->calls, Lines());
}

TEST_F(ReplicateTableTest, MethodThatDoesNotExistRunsNothing)
{
    const auto routines = com::makeObject<RecordingTable>();
    for (const long method : {0, 8, -1, 32767}) {
        init(method, L"patient", L"");
        EXPECT_EQ(raised([&] { table_.go(1, 2, *routines.Get()); }),
                  ownError(L"clsReplicateTable.go", L"Invalid replication method"));
    }
    EXPECT_EQ(routines->calls, Lines());
}

TEST_F(ReplicateTableTest, GoKeepsNumberAndTextOfAFailedRoutine)
{
    const auto routines = com::makeObject<RecordingTable>();
    routines->failure = [] { throw Error{static_cast<long>(0x80040E14), L"clsReplicateTable.inner", L"Syntax error"}; };
    init(ONE_WAY, L"patient", L"");
    EXPECT_EQ(raised([&] { table_.go(1, 2, *routines.Get()); }),
              (Error{static_cast<long>(0x80040E14), L"clsReplicateTable.go", L"Syntax error"}));
}

TEST_F(ReplicateTableTest, CountersOfANewObjectAreZero)
{
    const Counters& counters = table_.counters();
    EXPECT_EQ(counters.lCntSourceAdd, 0);
    EXPECT_EQ(counters.lCntSourceUpdate, 0);
    EXPECT_EQ(counters.lCntSourceDelete, 0);
    EXPECT_EQ(counters.lCntDestAdd, 0);
    EXPECT_EQ(counters.lCntDestUpdate, 0);
    EXPECT_EQ(counters.lCntDestDelete, 0);
    EXPECT_EQ(counters.lCntConflict, 0);
    EXPECT_EQ(counters.lCntError, 0);
}

TEST_F(ReplicateTableTest, GoOfTheFaceReturnsEmptyAndLeavesItsCounters)
{
    connectedSettings();
    ado().answer(L"insert into laptop.patient select * from office.patient", adoAffected(4));
    auto table = std::make_unique<clsReplicateTable>();
    table->init(ONE_WAY_DELETE_ALL, L"patient", L"", L"", UNKNOWN);
    const auto face = com::makeObject<ReplicateTableFace>(std::move(table));
    DATE last = 1;
    DATE next = 2;
    _variant_t result(12L);
    long adds = 0;
    ASSERT_EQ(face->go(&last, &next, &result), S_OK);
    EXPECT_EQ(result.vt, VT_EMPTY);
    EXPECT_EQ(face->get_lCntDestAdd(&adds), S_OK);
    EXPECT_EQ(adds, 4);
}

} // namespace
