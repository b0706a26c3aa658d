#include "support/HeapPeak.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace {

/// QUINMARK_ROWS, or what the ordinary test run has time for: rows of the largest table, of which 1 % changed; a tenth
/// of them where all rows changed.
int mostRows()
{
    constexpr int kOrdinary = 20'000;
    const char* told = std::getenv("QUINMARK_ROWS");
    return told ? std::atoi(told) : kOrdinary;
}

/// The rows that the server changed in one table, and its reads of the table.
struct TableWork
{
    long inserts;
    long updates;
    long deletes;
    long scans;   ///< of the whole table
    long lookups; ///< by its key

    bool operator==(const TableWork&) const = default;
};

TableWork operator-(const TableWork& after, const TableWork& before)
{
    return {after.inserts - before.inserts, after.updates - before.updates, after.deletes - before.deletes,
            after.scans - before.scans, after.lookups - before.lookups};
}

/// A run over a table of `rows` rows; every `step`-th of them changed.
struct Size
{
    int rows;
    int step;

    int changed() const { return rows / step; }
};

class LargeTable : public PracticePair, public testing::WithParamInterface<enumReplicationMethod>
{
protected:
    void executeOnBoth(const std::wstring& sql) const
    {
        source().execute(sql);
        destination().execute(sql);
    }

    /// The same rows on both sides, but for the changed ones. Of four, two are newer in the source (two-way: one on
    /// either side), and one is missing on either side.
    void fill(const Size& size) const
    {
        // Rows that other tests have deleted lie in the table still, and the server plans by its pages.
        executeOnBoth(L"truncate table users");
        executeOnBoth(L"insert into users select n, concat('user ', n), 'abc', n % 5, 1, '" + std::wstring(kOld) +
                      L"' from " + numbers(size.rows));
        const std::wstring step = std::to_wstring(size.step);
        const std::wstring turn = L"unid % " + step + L" = 0 and unid / " + step + L" % 4";
        const std::wstring change =
            L"update users set user_name = concat('changed ', unid), mod_date = '" + std::wstring(kNew) + L"' where ";
        source().execute(change + turn + (isTwoWay() ? L" in (0, 2)" : L" < 3"));
        source().execute(L"delete from users where " + turn + L" = 3");
        destination().execute(L"delete from users where " + turn + L" = 2");
        if (isTwoWay())
            destination().execute(change + turn + L" in (1, 3)");
        executeOnBoth(analyzeStatement(L"users"));
    }

    bool isTwoWay() const { return GetParam() == TWO_WAY; }

    /// Replicates and judges the resulting rows. Returns the most bytes of heap that were in use meanwhile, beyond
    /// those before.
    size_t peakOfRun(const Size& size)
    {
        fill(size);
        restoreControl();
        // Memory is judged where work is not counted, too.
        const bool isCounted = !IsSkipped() && tryOrSkip(L"counts of a table's reads and writes",
                                                         [&] { source().row(workQuery(L"users")); });
        const TableWork sourceBefore = isCounted ? workOn(source()) : TableWork{};
        const TableWork destinationBefore = isCounted ? workOn(destination()) : TableWork{};
        const auto begun = std::chrono::steady_clock::now();
        const size_t heapBefore = heapBytesInUse();
        size_t peak = 0;
        {
            const HeapPeak watch;
            EXPECT_EQ(replicate(TablePlan{.method = GetParam(), .table = L"users"}), countersFor(size));
            peak = watch.bytes() - heapBefore;
            EXPECT_GT(watch.looks(), 5U);
        }
        tell(size, peak, std::chrono::steady_clock::now() - begun);
        if (isCounted)
            judgeWork(size, workOn(source()) - sourceBefore, workOn(destination()) - destinationBefore);
        judgeRows(isTwoWay() ? size.rows : size.rows - size.changed() / 4);
        EXPECT_EQ(recordedError(), L"none");
        executeOnBoth(L"truncate table users");
        return peak;
    }

    /// The same rows on both sides, so many.
    void judgeRows(long rows)
    {
        EXPECT_EQ(source().count(L"users"), rows);
        EXPECT_EQ(destination().count(L"users"), rows);
        // The private server keeps a connection to the other side as long as this one.
        const PracticeSide side(host().sourceDsn, host().sourcePassword);
        EXPECT_THAT(side.rows(L"select * from users except select * from " + host().destinationPrefix + L"users"),
                    testing::IsEmpty());
    }

    TableCounters countersFor(const Size& size) const
    {
        const int quarter = size.changed() / 4;
        if (isTwoWay())
            return {};
        if (GetParam() == ONE_WAY_DELETE_ALL)
            return {.destAdd = size.rows - quarter};
        return {.destAdd = quarter, .destUpdate = 2 * quarter, .destDelete = quarter};
    }

    /// Each changed row is looked up and written once, and whole tables are read a fixed number of times.
    void judgeWork(const Size& size, const TableWork& onSource, const TableWork& onDestination) const
    {
        constexpr long kScans = 8;
        constexpr int kFewPages = 1000; // the server may prefer to read so small a table as a whole
        const int quarter = size.changed() / 4;
        const TableCounters counters = countersFor(size);
        if (isTwoWay()) {
            EXPECT_EQ(onSource.updates + onSource.inserts, 2 * quarter);
            EXPECT_EQ(onDestination.updates + onDestination.inserts, 2 * quarter);
        }
        else {
            EXPECT_EQ(onSource.updates + onSource.inserts + onSource.deletes, 0);
            EXPECT_EQ(onDestination.inserts, counters.destAdd);
            EXPECT_EQ(onDestination.updates, counters.destUpdate);
        }
        for (const TableWork& work : {onSource, onDestination}) {
            EXPECT_LE(work.scans + work.lookups, size.changed() + kScans);
            if (size.rows >= kFewPages) {
                EXPECT_LE(work.scans, kScans);
            }
        }
    }

    static TableWork workOn(const PracticeSide& side)
    {
        side.execute(settleStatement());
        std::wistringstream numbers(side.row(workQuery(L"users")));
        TableWork work{};
        wchar_t bar = 0;
        numbers >> work.inserts >> bar >> work.updates >> bar >> work.deletes >> bar >> work.scans >> bar >>
            work.lookups;
        EXPECT_FALSE(numbers.fail());
        return work;
    }

    static void tell(const Size& size, size_t peak, std::chrono::duration<double> time)
    {
        std::cout << size.rows << " rows, " << size.changed() << " changed: " << time.count() << " s, "
                  << time.count() / size.changed() * 1000 << " ms for each changed row, at most " << peak
                  << " bytes of heap\n";
    }

    /// The memory for connecting varies by less than this. A run that kept something of every row would take more,
    /// already at the size of the ordinary test run.
    static constexpr size_t kNoise = 40 * 1024;
    /// The memory for connecting and loading, with few rows.
    size_t peakOfSmallRun() { return peakOfRun({400, 100}); }
};

INSTANTIATE_TEST_SUITE_P(Methods, LargeTable, testing::Values(ONE_WAY_ALLOW_DELETES, TWO_WAY, ONE_WAY_DELETE_ALL),
                         [](const auto& info) {
                             return info.param == TWO_WAY              ? "TwoWay"
                                    : info.param == ONE_WAY_DELETE_ALL ? "FullCopy"
                                                                       : "OneWay";
                         });

} // namespace

TEST_P(LargeTable, WithFewChangesTakesNoMoreMemoryThanASmallOne)
{
    constexpr int kStep = 100;
    const size_t least = peakOfSmallRun();
    const size_t small = std::max(least, peakOfRun({mostRows() / 10, kStep}));
    EXPECT_LE(peakOfRun({mostRows(), kStep}), small + kNoise);
}

TEST_P(LargeTable, OfWhichAllRowsChangedTakesNoMoreMemoryThanASmallOne)
{
    const size_t least = peakOfSmallRun();
    const size_t small = std::max(least, peakOfRun({mostRows() / 40, 1}));
    EXPECT_LE(peakOfRun({mostRows() / 10, 1}), small + kNoise);
}
