#include "support/ReplicationFixture.h"

namespace {

enum class Side
{
    Common,
    SourceOnly,
    DestinationOnly,
};

/// A row of every kind at every distance from the last run, and what becomes of it at each site.
struct MatrixCase
{
    const char* name;
    Side row;
    double source;
    double destination;
    /// At OFFICES without deletes, with them, and at LAPTOP with either.
    Counters offices;
    Counters officesDeleting;
    Counters laptop;
    /// The kinds of conflict recorded; 0 for none.
    long officesKind;
    long officesDeletingKind;
    long laptopKind;
};

constexpr Counters kNothing{};
constexpr Counters kUpdated{.lCntDestUpdate = 1};
constexpr Counters kAdded{.lCntDestAdd = 1};
constexpr Counters kDeleted{.lCntDestDelete = 1};
constexpr Counters kConflict{.lCntConflict = 1};
constexpr Counters kError{.lCntConflict = 1, .lCntError = 1};

constexpr MatrixCase kMatrix[] = {
    {"EqualAfter", Side::Common, 12, 10, kNothing, kNothing, kNothing, 0, 0, 0},
    {"EqualBefore", Side::Common, -10, -12, kNothing, kNothing, kNothing, 0, 0, 0},
    {"EqualAcrossLastRun", Side::Common, 1, -1, kNothing, kNothing, kNothing, 0, 0, 0},
    {"BothAfterSourceNewer", Side::Common, 20, 10, kError, kError, kConflict, 1, 1, 1},
    {"BothAfterDestinationNewer", Side::Common, 10, 20, kError, kError, kConflict, 1, 1, 1},
    {"BothOneSecondAfterAndMore", Side::Common, 1, 4, kError, kError, kConflict, 1, 1, 1},
    {"SourceAfter", Side::Common, 10, -10, kUpdated, kUpdated, kUpdated, 0, 0, 0},
    {"SourceAfterDestinationAtLastRun", Side::Common, 10, 0, kUpdated, kUpdated, kUpdated, 0, 0, 0},
    {"SourceAtLastRunDestinationOlder", Side::Common, 0, -10, kUpdated, kUpdated, kUpdated, 0, 0, 0},
    {"DestinationAfter", Side::Common, -10, 10, kError, kError, kNothing, 4, 4, 0},
    {"DestinationAfterSourceAtLastRun", Side::Common, 0, 10, kError, kError, kNothing, 4, 4, 0},
    {"DestinationAtLastRunSourceOlder", Side::Common, -10, 0, kError, kError, kNothing, 4, 4, 0},
    {"SourceOnlyAfter", Side::SourceOnly, 10, 0, kAdded, kAdded, kAdded, 0, 0, 0},
    {"SourceOnlyAtLastRun", Side::SourceOnly, 0, 0, kAdded, kAdded, kAdded, 0, 0, 0},
    {"SourceOnlyOneSecondBefore", Side::SourceOnly, -1, 0, kError, kError, kNothing, 2, 2, 0},
    {"DestinationOnlyAfter", Side::DestinationOnly, 0, 10, kError, kError, kNothing, 3, 3, 0},
    {"DestinationOnlyAtLastRun", Side::DestinationOnly, 0, 0, kError, kError, kNothing, 3, 3, 0},
    {"DestinationOnlyOneSecondBefore", Side::DestinationOnly, 0, -1, kError, kDeleted, kError, 3, 0, 5},
};

class OneWayMatrix : public ReplicationTest, public testing::WithParamInterface<MatrixCase>
{
protected:
    void laidDown()
    {
        const MatrixCase& given = GetParam();
        if (given.row == Side::Common)
            bothHave(L"K1", given.source, given.destination);
        if (given.row == Side::SourceOnly)
            onlySourceHas(L"K1", given.source);
        if (given.row == Side::DestinationOnly)
            onlyDestinationHas(L"K1", given.destination);
        sourceHolds(L"K1", given.row == Side::DestinationOnly ? L"" : L"S", given.source);
        destinationHolds(L"K1", given.row == Side::SourceOnly ? L"" : L"D", given.destination);
    }

    void runAt(long site, long method)
    {
        laidDown();
        connectAt(site);
        init(method);
        go();
    }

    /// The kind of the one conflict that was recorded, or 0.
    long recordedKind()
    {
        long kind = 0;
        for (const AdoStatement& statement : ado().statements())
            for (long candidate = 1; candidate <= 5; ++candidate)
                if (statement.second.find(L"\"K1\", " + std::to_wstring(candidate) + L", \"Item K1\"") !=
                    std::wstring::npos)
                    kind = kind * 10 + candidate;
        return kind;
    }

    long count(const std::wstring& head)
    {
        long found = 0;
        for (const AdoStatement& statement : ado().statements())
            found += statement.second.compare(0, head.size(), head) == 0;
        return found;
    }

    /// What was written agrees with the counters.
    void expectWritten(const Counters& counters)
    {
        EXPECT_EQ(count(L"Update "), counters.lCntDestUpdate);
        EXPECT_EQ(count(L"Insert into "), counters.lCntDestAdd);
        EXPECT_EQ(count(L"delete from "), counters.lCntDestDelete);
        EXPECT_EQ(count(L"InsertReplicationConflict("), counters.lCntConflict);
        EXPECT_EQ(count(L"SetReplicationError("), counters.lCntError);
        EXPECT_EQ(ado().statements().back(), counted(counters).back());
    }
};

TEST_P(OneWayMatrix, AtOfficesWithoutDeletes)
{
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(counters(), GetParam().offices);
    EXPECT_EQ(recordedKind(), GetParam().officesKind);
    expectWritten(GetParam().offices);
}

TEST_P(OneWayMatrix, AtOfficesWithDeletes)
{
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(counters(), GetParam().officesDeleting);
    EXPECT_EQ(recordedKind(), GetParam().officesDeletingKind);
    expectWritten(GetParam().officesDeleting);
}

TEST_P(OneWayMatrix, AtLaptopWithoutDeletes)
{
    runAt(LAPTOP, ONE_WAY);
    EXPECT_EQ(counters(), GetParam().laptop);
    EXPECT_EQ(recordedKind(), GetParam().laptopKind);
    expectWritten(GetParam().laptop);
}

TEST_P(OneWayMatrix, AtLaptopWithDeletes)
{
    runAt(LAPTOP, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(counters(), GetParam().laptop);
    EXPECT_EQ(recordedKind(), GetParam().laptopKind);
    expectWritten(GetParam().laptop);
}

INSTANTIATE_TEST_SUITE_P(Rows, OneWayMatrix, testing::ValuesIn(kMatrix),
                         [](const auto& info) { return info.param.name; });

} // namespace
