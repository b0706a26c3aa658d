#include "replication/clsReplicateTable.h"

#include "replication/ReplicateTableFace.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "support/recording_table.h"

#include <array>
#include <bit>

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

class ReplicateTableTest : public RecordingTest
{
protected:
    void init(long method, const std::wstring& table, const std::wstring& dependent = L"")
    {
        table_.init(method, table, dependent, L"", UNKNOWN);
    }

    void expectRefused(long method, const std::wstring& table, const std::wstring& told)
    {
        EXPECT_EQ(raised([&] { init(method, table, L"child"); }),
                  (Error{kOwnErrorRaised, L"clsReplicateTable.init",
                         L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES " + told}));
    }

    /// The calls that `go` makes.
    Lines dispatched()
    {
        routines_->calls.clear();
        table_.go(1, 2, *routines_.Get());
        return routines_->calls;
    }

    clsReplicateTable table_;
    Microsoft::WRL::ComPtr<RecordingTable> routines_ = com::makeObject<RecordingTable>();
};

TEST_F(ReplicateTableTest, DependentTableIsRefusedForOtherMethodsAndTheRestKept)
{
    for (const long method :
         {ONE_WAY_DELETE_ALL, ONE_WAY, TWO_WAY_NO_DELETES, COMPUTER_TYPE, ONE_WAY_WITH_PK_FIELD, TWO_WAY})
        expectRefused(method, L"patient", L"(patient,)");
    EXPECT_EQ(table_.sTable(), L"patient") << "stored before the check";
    EXPECT_EQ(dispatched(), Lines{L"replicateTableTwoWay(True)"}) << "and so was the method";
}

TEST_F(ReplicateTableTest, RefusalNamesTheDependentTableOfBefore)
{
    init(ONE_WAY_ALLOW_DELETES, L"chart_option", L"chart_option_setting");
    for (int time = 0; time < 2; ++time)
        expectRefused(ONE_WAY, L"patient", L"(patient,chart_option_setting)");
}

TEST_F(ReplicateTableTest, ComputerTypeMayDependWhateverTheMethod)
{
    init(ONE_WAY, L"computer_type", L"other");
    init(COMPUTER_TYPE, L"computer_type", L"child");
    expectRefused(ONE_WAY, L"COMPUTER_TYPE", L"(COMPUTER_TYPE,child)");
}

TEST_F(ReplicateTableTest, MethodBeyond16BitsOverflows)
{
    init(ONE_WAY, L"users");
    for (const long method : {32768L, -32769L})
        EXPECT_EQ(raised([&] { init(method, L"patient"); }), (Error{6, L"clsReplicateTable.init", L"Overflow"}));
    EXPECT_EQ(table_.sTable(), L"users") << "nothing was stored";
}

TEST_F(ReplicateTableTest, GoRunsTheMethodsRoutineThroughThePublicInterface)
{
    const std::pair<long, const wchar_t*> routines[] = {
        {ONE_WAY_DELETE_ALL, L"replicateOneWayDeleteAll"},     {ONE_WAY, L"replicateOneWay(False)"},
        {ONE_WAY_ALLOW_DELETES, L"replicateOneWay(True)"},     {TWO_WAY, L"replicateTableTwoWay(True)"},
        {TWO_WAY_NO_DELETES, L"replicateTableTwoWay(False)"},  {COMPUTER_TYPE, L"replicateComputerType"},
        {ONE_WAY_WITH_PK_FIELD, L"replicateOneWayWithPKField"}};
    for (const auto& [method, routine] : routines) {
        init(method, L"patient");
        EXPECT_EQ(dispatched(), Lines{routine});
    }
}

TEST_F(ReplicateTableTest, MethodThatDoesNotExistRunsNothing)
{
    const Error invalid{kOwnErrorRaised, L"clsReplicateTable.go", L"Invalid replication method"};
    EXPECT_EQ(raised([&] { dispatched(); }), invalid) << "without init";
    for (const long method : {0, 8, -1, 32767}) {
        init(method, L"patient");
        EXPECT_EQ(raised([&] { dispatched(); }), invalid);
    }
    EXPECT_EQ(routines_->calls, Lines());
}

TEST_F(ReplicateTableTest, GoKeepsNumberAndTextOfAFailedRoutine)
{
    routines_->failure = [] {
        throw Error{static_cast<long>(0x80040E14), L"clsReplicateTable.inner", L"Syntax error"};
    };
    init(ONE_WAY, L"patient");
    EXPECT_EQ(raised([&] { dispatched(); }),
              (Error{static_cast<long>(0x80040E14), L"clsReplicateTable.go", L"Syntax error"}));
}

TEST_F(ReplicateTableTest, CountersOfANewObjectAreZero)
{
    for (const long counter : std::bit_cast<std::array<long, 8>>(table_.counters()))
        EXPECT_EQ(counter, 0);
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
