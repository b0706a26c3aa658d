#pragma once

#include "recording_error.h"
#include "recording_fixture.h"
#include "replication/ReplicateTableFace.h"

using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

using namespace quinmark;

namespace quinmark {

bool operator==(const Counters& left, const Counters& right);
void PrintTo(const Counters& counters, std::ostream* out);

} // namespace quinmark

/// "11/15/2026 12:00:03 PM": a time as text, in seconds from the last run (noon), less than twelve hours away.
std::wstring clockText(int seconds);

/// Statements of several sequences, one after the other.
Statements joined(std::initializer_list<Statements> parts);

/// Replication of a table between OfficeDB (source, prefix "office.") and LaptopDB (destination, prefix "laptop."). The
/// last run was at noon on 15 November 2026, the next one is a day later; all times are in seconds from the last run.
/// The table is "shortcut", keyed by `unid`, with the columns unid, item_name and mod_date, unless a test says
/// otherwise.
class ReplicationTest : public RecordingTest
{
protected:
    static constexpr DATE kLast = 46341.5;
    static constexpr DATE kNext = kLast + 1;

    static DATE at(double seconds) { return kLast + seconds / 86400; }

    /// OFFICES replicates from its own database, a LAPTOP into its own.
    void connectAt(long site, short logLevel = 1);
    bool atOffices() const { return site_ == L"0"; }

    void useTable(const std::wstring& sTable, const std::wstring& sKey = L"unid");
    clsReplicateTable& table() { return *table_; }
    Counters counters() const { return table_->counters(); }

    /// What the comparison queries find.
    void bothHave(const std::wstring& key, double sourceSeconds, double destinationSeconds);
    void onlySourceHas(const std::wstring& key, double seconds);
    void onlyDestinationHas(const std::wstring& key, double seconds);

    /// What the side that is named holds of a row; without a name it holds no such row.
    void sourceHolds(const std::wstring& key, const std::wstring& name = L"", double seconds = 0);
    void destinationHolds(const std::wstring& key, const std::wstring& name = L"", double seconds = 0);

    /// Configures the table by `init` and runs it through `go` on its public interface.
    void init(long method, const std::wstring& sDependentTable = L"", long deletes = UNKNOWN);
    void go();
    /// The error that `go` raises.
    com::Error goError();

    /// Expected statements, by their connection.
    static Statements on(const std::wstring& connection, const Lines& texts);
    static Statements onSource(const Lines& texts) { return on(L"source", texts); }
    static Statements onDestination(const Lines& texts) { return on(L"destination", texts); }
    Statements onLocal(const Lines& texts) const { return on(atOffices() ? L"source" : L"destination", texts); }

    std::wstring changedSql() const;
    std::wstring twoWayChangedSql() const;
    std::wstring sourceOnlySql() const { return missingSql(L"office.", L"laptop."); }
    std::wstring destinationOnlySql() const { return missingSql(L"laptop.", L"office."); }
    std::wstring select(const std::wstring& key) const;
    std::wstring selectDumped(const std::wstring& key) const;
    std::wstring insert(const std::wstring& key, const std::wstring& name, int seconds) const;
    std::wstring update(const std::wstring& key, const std::wstring& name, int seconds) const;
    std::wstring remove(const std::wstring& key) const;

    /// How reporting reads both copies of a row and describes it.
    Statements compared(const std::wstring& key, bool describedBySource) const;
    /// How a conflict with one differing column is recorded; dates as clockText, or empty for none.
    Statements recorded(const std::wstring& key, long kind, const std::wstring& sourceDate,
                        const std::wstring& destinationDate, const Lines& names) const;
    /// How the run is marked as failed.
    Statements marked(const std::wstring& message) const;
    /// The batch and the summary of a one-way routine.
    Statements counted(const Counters& counters) const;
    std::wstring summary(const Counters& counters, const std::wstring& sTitle) const;

private:
    using Row = std::vector<_variant_t>;

    std::wstring missingSql(const std::wstring& has, const std::wstring& lacks) const;
    void holds(const std::wstring& connection, const std::wstring& key, const std::wstring& name, double seconds);
    void answerComparisons();

    std::unique_ptr<clsReplicateTable> made_ = std::make_unique<clsReplicateTable>();
    clsReplicateTable* table_ = made_.get();
    Microsoft::WRL::ComPtr<quinmark::ReplicateTableFace> face_ =
        com::makeObject<quinmark::ReplicateTableFace>(std::move(made_));
    std::wstring site_;
    std::wstring sTable_ = L"shortcut";
    std::wstring sKey_ = L"unid";
    std::vector<Row> both_;
    std::vector<Row> sourceOnly_;
    std::vector<Row> destinationOnly_;
};
