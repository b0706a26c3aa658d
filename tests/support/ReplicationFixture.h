#pragma once

#include "recording_error.h"
#include "recording_fixture.h"
#include "replication/ReplicateTableFace.h"

#include <map>
#include <optional>

using Lines = std::vector<std::wstring>;

using namespace quinmark;

namespace quinmark {

bool operator==(const Counters& left, const Counters& right);
void PrintTo(const Counters& counters, std::ostream* out);

} // namespace quinmark

/// Replication of a table between OfficeDB (source, prefix "office.") and LaptopDB (destination, prefix "laptop."). The
/// last run was at noon on 15 November 2026, the next one is a day later; all times are in seconds from the last run.
/// The table is "shortcut", keyed by `unid`, with the columns unid, item_name and mod_date, unless a test says
/// otherwise.
class ReplicationTest : public RecordingTest
{
protected:
    using Seconds = std::optional<double>;

    static constexpr DATE kLast = 46341.5;
    static constexpr DATE kNext = kLast + 1;
    static constexpr std::nullopt_t kNone = std::nullopt;
    static constexpr long kNoRecord = static_cast<long>(0x80040000) + 3021;

    static DATE at(double seconds) { return kLast + seconds / 86400; }

    /// OFFICES replicates from its own database, a LAPTOP into its own.
    void connectAt(long site);

    void useTable(const std::wstring& sTable, const std::wstring& sKey = L"unid");
    clsReplicateTable& table() { return *table_; }
    Counters counters() const { return table_->counters(); }

    /// A row by its modification date on each side, none on a side that lacks it. Its item_name is S in the source and
    /// D in the destination.
    void row(const std::wstring& key, Seconds source, Seconds destination);
    /// K1, K2 and K3 are changed in the source, on both sides and in the destination; K4 and K5 are new and old rows of
    /// the source alone, K6 and K7 of the destination.
    void rowOfEachKind();
    /// The row as it is found when it is read: by another name, or none at all.
    void holds(const std::wstring& connection, const std::wstring& key, const std::wstring& name, double seconds = 0);
    void vanishes(const std::wstring& connection, const std::wstring& key) { held_.erase({connection, key}); }

    /// Configures the table by `init` and runs it through `go` on its public interface.
    void init(long method, const std::wstring& sDependentTable = L"", long deletes = UNKNOWN);
    void go();
    void runAt(long site, long method, const std::wstring& sDependentTable = L"", long deletes = UNKNOWN);
    /// The error that `go` raises.
    com::Error goError();

    /// Every statement sent, "source: text" each.
    Lines sent();
    /// The same, "source, logged: text" where the log tells of it.
    Lines transcript();
    /// Every statement sent but queries and the table's counts.
    Lines written();
    /// The first lines of all log entries but those of statements.
    Lines logHeads();

    /// Fails each of the statements that `go` sends, one at a time: the run ends there with that error, and then sends
    /// `atEnd` alone.
    void expectEveryFailureEndsTheRun(const std::wstring& description, const Lines& atEnd);

private:
    using Row = std::vector<_variant_t>;

    AdoAnswer answerTo(const std::wstring& connection, const std::wstring& statement) const;

    std::unique_ptr<clsReplicateTable> made_ = std::make_unique<clsReplicateTable>();
    clsReplicateTable* table_ = made_.get();
    Microsoft::WRL::ComPtr<quinmark::ReplicateTableFace> face_ =
        com::makeObject<quinmark::ReplicateTableFace>(std::move(made_));
    std::wstring sTable_ = L"shortcut";
    std::wstring sKey_ = L"unid";
    std::vector<Row> both_;
    std::vector<Row> sourceOnly_;
    std::vector<Row> destinationOnly_;
    std::map<std::pair<std::wstring, std::wstring>, Row> held_;
};
