#pragma once

#include "Apartment.h"
#include "PracticeSide.h"
#include "QuinmarkRepDLL.h"
#include "Requirements.h"
#include "TemporaryFolder.h"

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>
#include <wrl/client.h>

/// The counters of a table object.
struct TableCounters
{
    long sourceAdd = 0;
    long sourceUpdate = 0;
    long sourceDelete = 0;
    long destAdd = 0;
    long destUpdate = 0;
    long destDelete = 0;
    long conflict = 0;
    long error = 0;

    bool operator==(const TableCounters&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const TableCounters& counters);

/// The arguments with which a table object is created.
struct TablePlan
{
    enumReplicationMethod method = ONE_WAY;
    std::wstring table = {};
    std::wstring dependentTable = {};
    std::wstring keyField = {};
    enumReplicateDeletes deletes = UNKNOWN;
};

/// The arguments of Factory.init.
struct HostSettings
{
    enumReplicationUniqueId site = OFFICES;
    std::wstring role = L"SOURCE";
    std::wstring sourcePrefix = {};
    std::wstring sourceDsn = {};
    std::wstring sourcePassword = {};
    std::wstring destinationPrefix = {};
    std::wstring destinationDsn = {};
    std::wstring destinationPassword = {};
    short logLevel = 1;
    std::wstring logFile = {};
};

using RunObject = Microsoft::WRL::ComPtr<_clsReplicate>;
using TableObject = Microsoft::WRL::ComPtr<_clsReplicateTable>;
using ConflictObject = Microsoft::WRL::ComPtr<_clsConflict>;

/// Runs between the two practice databases through the registered component: the office is the source, the laptop the
/// destination. A test begins with empty practice tables, both control records ready, without error and with kLastRun
/// as the end of the last run; it leaves the control tables like that.
///
/// Without the settings of the databases a test is skipped; with QUINMARK_REQUIRE_DATABASE=1 it fails.
class PracticePair : public testing::Test
{
protected:
    static constexpr const auto& kLastRun = PracticeSide::kLastRun;
    /// Before and after the last run.
    static constexpr wchar_t kOld[] = L"2025-03-01T08:30:00";
    static constexpr wchar_t kOlder[] = L"2025-02-01T08:30:00";
    static constexpr wchar_t kNew[] = L"2025-03-11T09:15:00";
    static constexpr wchar_t kNewer[] = L"2025-03-12T10:45:00";
    static constexpr wchar_t kProgramVersion[] = L"3.46";
    static constexpr short kFrequencySeconds = 600;

    void SetUp() override;
    void TearDown() override;
    /// What a test needs besides, once it has its databases.
    virtual void prepare() {}

    const PracticeSide& source() const { return *source_; }
    const PracticeSide& destination() const { return *destination_; }
    /// The database of the machine that runs the component.
    const PracticeSide& local() const;
    const PracticeSide& remote() const;

    /// The site that runs the component: the offices on the source's machine, a laptop on the destination's, unless
    /// told.
    void runAt(enumReplicationUniqueId site);
    void runAt(enumReplicationUniqueId site, const std::wstring& role);

    /// Settings of the next `connect`.
    HostSettings& host() { return host_; }
    _Factory& factory() const { return *factory_.Get(); }

    void connect();
    void disconnect();
    bool ensureReplication() const;
    std::wstring factoryError() const;
    void resetError() const;

    TableObject createTable(const TablePlan& plan) const;
    RunObject createRun() const;
    static void initNextRun(_clsReplicate& run, const std::wstring& programVersion = kProgramVersion);
    static void go(_clsReplicate& run, const std::vector<TableObject>& tables);
    static TableCounters countersOf(_clsReplicateTable& table);

    /// A whole run over these tables, from init to disconnect, also when it fails; the counters of each table.
    std::vector<TableCounters> replicate(const std::vector<TablePlan>& plans);
    TableCounters replicate(const TablePlan& plan);

    /// The flags, the error text and last_timestamp of a site's control record.
    std::wstring controlRecord() const;
    std::wstring controlRecord(enumReplicationUniqueId site) const;
    /// The error of this site's control record: "error: " and its text, or "none".
    std::wstring recordedError() const;
    /// replication_counts of this site, as name=value in the order of the names.
    std::vector<std::wstring> counts() const;
    /// All conflicts of the local database: table, patient id, guid, type, description; in this order.
    std::vector<std::wstring> conflicts() const;
    /// Differing columns of all conflicts: name, source's value, destination's value; in the order of the names.
    std::vector<std::wstring> conflictData() const;

    /// The text that the component has logged in this test.
    std::wstring log() const;
    bool logged(const std::wstring& text) const { return log().find(text) != std::wstring::npos; }

    void emptyTables() const;
    void restoreControl() const;

    static void addUser(const PracticeSide& side, int key, const std::wstring& name, const std::wstring& modified);
    static void changeUser(const PracticeSide& side, int key, const std::wstring& name, const std::wstring& modified);
    /// key|name of every user
    static std::vector<std::wstring> users(const PracticeSide& side);

private:
    std::optional<Apartment> apartment_;
    std::unique_ptr<PracticeSide> source_;
    std::unique_ptr<PracticeSide> destination_;
    Microsoft::WRL::ComPtr<_Factory> factory_;
    const TemporaryFolder folder_;
    HostSettings host_;
};
