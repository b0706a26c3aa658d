#include "BadInput.h"
#include "support/CreatedTable.h"
#include "support/MessageBoxes.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr long kStatementFailed = static_cast<long>(0x80040E14);
constexpr long kConstraintFailed = static_cast<long>(0x80040E2F);

const std::wstring kRoutine = L"clsReplicateTable.replicateOneWay";

/// A table of the test's own in both databases, addressed by the prefixes like any other.
class OwnTable : public NeedsDisplay<BadInput>
{
protected:
    static constexpr const auto& kTable = CreatedTable::kName;

    void expectFailedTable(enumReplicationMethod method, const testing::Matcher<std::wstring>& reason)
    {
        EXPECT_THAT(runFailure({{.method = method, .table = kTable}}),
                    isError(kStatementFailed, L"clsReplicate.go", reason));
        EXPECT_EQ(destination().count(kTable), 0);
        EXPECT_FALSE(local().hasPatientKey());
        EXPECT_FALSE(logged(L"Replicated table: "));
    }
};

TEST_F(OwnTable, WithoutKeyOrModificationDateIsNotReplicatedAndOneWayRecordsIt)
{
    const std::wstring withoutKey = L"name varchar(20), mod_date " + dateType();
    const std::wstring withoutDate = L"unid int not null primary key, name varchar(20)";
    for (const auto& [method, columns, row, missing] :
         {std::tuple(ONE_WAY, withoutKey, L"'a', '2025-03-11T09:15:00'", L"unid"),
          std::tuple(ONE_WAY, withoutDate, L"7, 'a'", L"mod_date"),
          std::tuple(TWO_WAY, withoutDate, L"7, 'a'", L"mod_date")})
    {
        restoreControl();
        const CreatedTable table(source(), destination(), host(), columns);
        source().execute(L"insert into replication_test values (" + std::wstring(row) + L")");
        expectFailedTable(method, HasSubstr(missing));
        EXPECT_THAT(recordedError(), StartsWith(method == ONE_WAY ? L"error: " + kRoutine + L": " : L"none"));
    }
}

TEST_F(OwnTable, WithAColumnOfAnUnsupportedTypeShowsItAndFailsUnlessItIsNull)
{
    const CreatedTable table(source(), destination(), host(),
                             L"unid int not null primary key, share real, mod_date " + dateType());
    source().execute(L"insert into replication_test values (7, 0.5, '2025-03-11T09:15:00')");
    const MessageBoxes boxes;
    expectFailedTable(ONE_WAY, StartsWith(kRoutine + L"(replication_test): "));
    EXPECT_THAT(boxes.texts(), ElementsAre(L"ado type not coded, see debug"));
    source().execute(L"update replication_test set share = null");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = kTable}), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(destination().row(L"select unid, share from replication_test"), L"7|<Null>");
    EXPECT_EQ(boxes.texts().size(), 1U);
}

/// A row that a database refuses, and the state that it leaves: the destination's users, conflicts, their columns, and
/// whether the error is recorded.
struct RefusedRow
{
    const char* name;
    bool atDestination;
    const wchar_t* table;
    const wchar_t* condition;
    std::vector<std::wstring> left;
    std::vector<std::wstring> conflicts = {};
    std::vector<std::wstring> conflictData = {};
    bool isRecorded = true;
};

const std::vector<std::wstring> kCopiedUsers{L"6|changed", L"7|typed in", L"8|new"};
const std::vector<std::wstring> kConflict{L"users|7|<Null>|3|typed in"};
const std::vector<std::wstring> kColumns{L"access_level|<Null>|1", L"active_f|<Null>|True", L"initials|<Null>|<Null>",
                                         L"unid|<Null>|7", L"user_name|<Null>|typed in"};

const RefusedRow kRefusedRows[] = {
    {"Copied", true, L"users", L"user_name = 'new'", {L"6|changed", L"7|typed in"}},
    {"Conflict", false, L"replication_conflict", L"conflict_type = 3", kCopiedUsers},
    {"ColumnOfAConflict",
     false,
     L"replication_conflict_data",
     L"field_name = 'user_name'",
     kCopiedUsers,
     kConflict,
     {L"unid|<Null>|7"}},
    {"Control", false, L"replication_control", L"error_message is not null", kCopiedUsers, kConflict, kColumns, false},
};

class RefusedRows : public BadInput, public testing::WithParamInterface<RefusedRow>
{
};

INSTANTIATE_TEST_SUITE_P(, RefusedRows, testing::ValuesIn(kRefusedRows),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(RefusedRows, EndTheTableKeepTheRowsBeforeThemAndComeWithTheNextRun)
{
    const RefusedRow& refused = GetParam();
    const TablePlan kUsers{.method = ONE_WAY, .table = L"users"};
    addUser(source(), 6, L"changed", kNew);
    addUser(destination(), 6, L"before", kOld);
    addUser(destination(), 7, L"typed in", kNew);
    addUser(source(), 8, L"new", kNew);
    {
        const FailingRows failing(refused.atDestination ? destination() : local(), refused.table, refused.condition);
        EXPECT_THAT(runFailure({kUsers}), isError(kConstraintFailed, L"clsReplicate.go", Not(IsEmpty())));
    }
    EXPECT_EQ(users(destination()), refused.left);
    EXPECT_EQ(conflicts(), refused.conflicts);
    EXPECT_EQ(conflictData(), refused.conflictData);
    EXPECT_THAT(recordedError(), StartsWith(refused.isRecorded ? L"error: " + kRoutine + L": " : L"none"));
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_EQ(replicate(kUsers), (TableCounters{.destAdd = refused.atDestination ? 1 : 0, .conflict = 1, .error = 1}));
    EXPECT_EQ(users(destination()), kCopiedUsers);
    EXPECT_TRUE(local().hasPatientKey());
}

} // namespace
