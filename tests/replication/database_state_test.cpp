// Databases that other programs lock, that cannot be written, that let nobody in, or that are full.
#include "BadInput.h"
#include "support/Sabotage.h"

#include <atomic>
#include <future>
#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using namespace std::chrono_literals;

namespace {

const TablePlan kUsers{.method = ONE_WAY, .table = L"users"};

/// Another program, on a thread and with a connection of its own, that changes rows in a transaction and lets go of
/// them at last, as they were before.
class OtherProgram
{
public:
    /// `locking` is done when this is there; then the thread goes on with `body`.
    OtherProgram(const HostSettings& host, const std::wstring& locking, std::function<void(const PracticeSide&)> body)
        : thread_([this, dsn = host.destinationDsn, password = host.destinationPassword, locking,
                   body = std::move(body)] { run(dsn, password, locking, body); })
    {
        locked_.get_future().wait();
    }
    ~OtherProgram()
    {
        thread_.join();
        EXPECT_EQ(failure_, L"");
    }

    bool hasLetGo() const { return hasLetGo_; }

private:
    void run(const std::wstring& dsn, const std::wstring& password, const std::wstring& locking,
             const std::function<void(const PracticeSide&)>& body)
    {
        const Apartment apartment;
        const PracticeSide side(dsn, password);
        failure_ = errorOf([&] {
                       side.connection().call(L"BeginTrans");
                       side.execute(locking);
                   }).description;
        locked_.set_value();
        if (failure_.empty())
            failure_ = errorOf([&] { body(side); }).description;
        hasLetGo_ = true;
        errorOf([&] { side.connection().call(L"RollbackTrans"); });
    }

    std::promise<void> locked_;
    std::atomic<bool> hasLetGo_ = false;
    std::wstring failure_;
    std::thread thread_;
};

class DatabaseState : public BadInput
{
protected:
    /// Users 6 to 8, changed at the source.
    void changeUsers()
    {
        for (const int key : {6, 7, 8}) {
            addUser(source(), key, L"changed " + std::to_wstring(key), kNew);
            addUser(destination(), key, L"before", kOld);
        }
    }

    std::wstring destinationUser(int key)
    {
        return destination().row(L"select user_name from users where unid = " + std::to_wstring(key));
    }

    /// Waits until somebody else keeps user 7 of the destination locked: longer than a reader does.
    static void awaitLockedUser(const HostSettings& host)
    {
        const PracticeSide side(host.destinationDsn, host.destinationPassword);
        side.execute(lockTimeout(100));
        const auto isLocked = [&] {
            return !errorOf([&] {
                        side.execute(L"update users set active_f = active_f where unid = 7");
                    }).description.empty();
        };
        for (const auto begun = std::chrono::steady_clock::now();
             !(isLocked() && isLocked()) && std::chrono::steady_clock::now() - begun < 20s;)
            std::this_thread::sleep_for(20ms);
    }

    void expectEqualUsersAfterAGoodRun(TableCounters counters)
    {
        resetError(local());
        EXPECT_EQ(replicate(kUsers), counters);
        EXPECT_EQ(users(destination()), users(source()));
        EXPECT_EQ(recordedError(), L"none");
        EXPECT_TRUE(local().hasPatientKey());
    }
};

// No limit of the component's own ends the wait for a lock before the 300 seconds of its statements.
TEST_F(DatabaseState, RowThatIsLockedHoldsTheRunUntilItIsLetGo)
{
    changeUsers();
    const OtherProgram other(host(), L"update users set user_name = 'typing' where unid = 7",
                             [](const PracticeSide&) { std::this_thread::sleep_for(1500ms); });
    EXPECT_EQ(replicate(kUsers), (TableCounters{.destUpdate = 3}));
    EXPECT_TRUE(other.hasLetGo());
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(DatabaseState, DeadlockThatARunLosesEndsTheTableAndTheNextRunDoesTheRest)
{
    changeUsers();
    destination().execute(L"insert into procs (unid, proc_name, mod_date) values (1, 'x', '2025-01-01')");
    {
        const Sabotage lock(destination(), updateTrigger(L"users", L"user_name", L"changed 7",
                                                         L"update procs set fee = 1 where unid = 1"));
        const std::wstring win = winDeadlocks();
        const OtherProgram other(host(), L"update procs set fee = 2 where unid = 1",
                                 [settings = host(), win](const PracticeSide& side) {
                                     if (!win.empty())
                                         side.execute(win);
                                     awaitLockedUser(settings);
                                     side.execute(L"update users set user_name = 'typed' where unid = 7");
                                 });
        EXPECT_THAT(runFailure({kUsers}).description, HasSubstr(L"deadlock"));
    }
    EXPECT_EQ(destinationUser(7), L"before");
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(local().hasPatientKey());
    const long rest = destination().count(L"users where user_name = 'before'");
    EXPECT_GE(rest, 1);
    expectEqualUsersAfterAGoodRun({.destUpdate = rest});
}

TEST_F(DatabaseState, ReadOnlyDestinationEndsTheTableAtItsFirstRow)
{
    changeUsers();
    std::optional<Sabotage> readOnly;
    if (!tryOrSkip(L"read-only databases", [&] { readOnly.emplace(destination(), readOnlyDatabase()); }))
        return;
    EXPECT_THAT(runFailure({kUsers}).description, HasSubstr(L"read-only"));
    readOnly.reset();
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    EXPECT_EQ(destinationUser(6), L"before");
    expectEqualUsersAfterAGoodRun({.destUpdate = 3});
}

// Nothing can be recorded where nothing can be written: the host alone hears of it.
TEST_F(DatabaseState, ReadOnlyLocalDatabaseFailsTheRunBeforeItsTables)
{
    changeUsers();
    std::optional<Sabotage> readOnly;
    if (!tryOrSkip(L"read-only databases", [&] { readOnly.emplace(source(), readOnlyDatabase()); }))
        return;
    EXPECT_THAT(runFailure({kUsers}).description, HasSubstr(L"read-only"));
    readOnly.reset();
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    EXPECT_EQ(destinationUser(6), L"before");
    EXPECT_TRUE(local().hasPatientKey());
    expectEqualUsersAfterAGoodRun({.destUpdate = 3});
}

// The connection that keeps the database for itself is the test's own.
TEST_F(DatabaseState, DatabaseForOneUserRefusesTheRun)
{
    changeUsers();
    std::optional<Sabotage> alone;
    if (!tryOrSkip(L"databases for one user", [&] {
            alone.emplace(destination(), L"alter database current set single_user with rollback immediate",
                          L"alter database current set multi_user");
        }))
        return;
    EXPECT_THAT(connectFailure().source, L"Factory.init");
    alone.reset();
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectEqualUsersAfterAGoodRun({.destUpdate = 3});
}

/// Whether readers see rows as they were committed last, or wait for those who change them.
class ReadCommittedSnapshot : public DatabaseState, public testing::WithParamInterface<const wchar_t*>
{
};

INSTANTIATE_TEST_SUITE_P(, ReadCommittedSnapshot, testing::Values(L"on", L"off"),
                         [](const auto& info) { return info.param == std::wstring(L"on") ? "On" : "Off"; });

TEST_P(ReadCommittedSnapshot, LetsARunReadPastAnUncommittedChangeOrHoldsIt)
{
    const std::wstring state = GetParam();
    changeUsers();
    destination().execute(L"update users set mod_date = '" + std::wstring(kNew) + L"' where unid = 7");
    std::optional<Sabotage> snapshot;
    const auto turn = [&](const std::wstring& to) {
        return L"alter database current set read_committed_snapshot " + to + L" with rollback immediate";
    };
    if (!tryOrSkip(L"a choice of read_committed_snapshot", [&] {
            const bool was = destination().row(L"select is_read_committed_snapshot_on from sys.databases"
                                               L" where name = db_name()") == L"True";
            snapshot.emplace(destination(), turn(state), turn(was ? L"on" : L"off"));
        }))
        return;
    {
        std::promise<void> done;
        const OtherProgram other(host(), L"update users set user_name = 'typing' where unid = 7",
                                 [&](const PracticeSide&) { done.get_future().wait_for(state == L"on" ? 60s : 2s); });
        EXPECT_EQ(replicate(kUsers), (TableCounters{.destUpdate = 2}));
        EXPECT_EQ(other.hasLetGo(), state == L"off");
        done.set_value();
    }
    EXPECT_EQ(destinationUser(7), L"before");
    EXPECT_EQ(destinationUser(8), L"changed 8");
}

// The other database by way of its server, which is this one: what a run reads comes through the linked server.
TEST_F(DatabaseState, LinkedServerReachesTheOtherDatabase)
{
    changeUsers();
    std::optional<Sabotage> linked;
    const std::wstring prefix = L"QUINMARK_TEST." + destination().name() + L".dbo.";
    if (!tryOrSkip(L"linked servers", [&] {
            linked.emplace(source(),
                           L"declare @here sysname = @@servername; exec sp_addlinkedserver @server = 'QUINMARK_TEST',"
                           L" @srvproduct = '', @provider = 'MSOLEDBSQL', @datasrc = @here",
                           L"exec sp_dropserver 'QUINMARK_TEST', 'droplogins'");
            source().execute(L"exec sp_addlinkedsrvlogin 'QUINMARK_TEST', 'false', 'quinmarkapp_user',"
                             L" 'quinmarkapp_user', '" +
                             host().destinationPassword + L"'");
            source().rows(L"select unid from " + prefix + L"users where 1 = 0");
        }))
        return;
    addUser(destination(), 9, L"gone", kOld);
    host().destinationPrefix = prefix;
    EXPECT_EQ(replicate({.method = ONE_WAY_ALLOW_DELETES, .table = L"users"}),
              (TableCounters{.destUpdate = 3, .destDelete = 1}));
    EXPECT_EQ(users(destination()), users(source()));
}

// The log does not grow, and is not emptied while the other program's transaction is open.
TEST_F(DatabaseState, FullLogEndsTheTableAndTheNextRunDoesTheRest)
{
    changeUsers();
    std::optional<Sabotage> small;
    if (!tryOrSkip(L"a limit for the database's log", [&] {
            const std::wstring log = destination().row(L"select name from sys.database_files where type_desc = 'LOG'");
            destination().execute(L"dbcc shrinkfile ([" + log + L"], 1)");
            const std::wstring file = L"alter database current modify file (name = [" + log + L"], filegrowth = ";
            small.emplace(destination(), file + L"0)", file + L"64MB)");
        }))
        return;
    {
        const Sabotage filler(destination(), L"create table log_filler (number int, filler char(7000))",
                              L"drop table log_filler");
        std::promise<void> full;
        std::promise<void> done;
        const OtherProgram other(host(), L"insert into log_filler values (1, '')", [&](const PracticeSide& side) {
            // A server that takes the other program's transaction back when the log is full never gets there.
            const auto begun = std::chrono::steady_clock::now();
            for (const wchar_t* sql : {L"insert into log_filler values (2, '')",
                                       L"update log_filler set number = number + 1 where number = 1"})
                while (std::chrono::steady_clock::now() - begun < 60s &&
                       errorOf([&] { side.execute(sql); }).description.empty())
                    continue;
            full.set_value();
            done.get_future().wait();
        });
        full.get_future().wait();
        EXPECT_THAT(runFailure({kUsers}).description, HasSubstr(L"transaction log"));
        done.set_value();
    }
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    small.reset();
    expectEqualUsersAfterAGoodRun({.destUpdate = destination().count(L"users where user_name = 'before'")});
}

} // namespace
