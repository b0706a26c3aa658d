// Texts that are pasted into SQL as they are, and texts that are not: a test for each kind. docs/security.md lists
// them.
#include "com/convert.h"
#include "conflicts/key_info.h"
#include "db/sql_literals.h"
#include "replication/row_sql.h"
#include "replication/table_report.h"
#include "support/PracticePair.h"
#include "support/Raised.h"

#include <gmock/gmock.h>

using namespace quinmark;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr wchar_t kKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
/// Ends the statement into which it is pasted and adds a second one; the rest becomes a comment.
constexpr wchar_t kEmptyUsers[] = L"; delete from users; --";

class SqlText : public PracticePair
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        for (const PracticeSide* side : {&source(), &destination()})
            side->execute(L"insert into users (unid, user_name, mod_date) values (1, 'kept', '2025-03-01')");
        addConfig(source(), L"name", kNew);
    }

    static void addConfig(const PracticeSide& side, const std::wstring& name, const std::wstring& modified = kOld)
    {
        side.execute(L"insert into config (category, config_name, config_value, mod_date) values ('run', " +
                     Common::SqlQuote(name, false, false) + L", 'value', '" + modified + L"')");
    }

    static std::vector<std::wstring> configNames(const PracticeSide& side)
    {
        return side.rows(L"select config_name from config");
    }

    /// Runs a table that does more than it was made for, and may fail with the rest of its text.
    void tryTable(const TablePlan& plan)
    {
        try {
            replicate(plan);
        }
        catch (const com::Error& error) {
            said_ = error.description;
        }
    }

    /// A conflict in the local database as somebody might have written it there.
    void addConflict(const std::wstring& table)
    {
        local().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                        L"patient_id, guid, conflict_type, key_info, source_mod_date, destination_mod_date) values ('" +
                        std::wstring(kKey) + L"', 1, '2025-03-10', " + Common::SqlQuote(table, false, false) +
                        L", 0, '" + kKey + L"', 5, 'words', '2025-03-11', '2025-03-11')");
    }

    ConflictObject createConflict(const std::wstring& id) const
    {
        ConflictObject conflict;
        _variant_t argument = com::textVariant(id);
        com::checkCall(factory().createConflict(&argument, conflict.GetAddressOf()));
        return conflict;
    }

    ConflictObject storedConflict() const
    {
        ConflictObject conflict = createConflict(kKey);
        const com::Dispatch rows = com::Dispatch::from(
            local().connection().call(L"Execute", {L"select * from replication_conflict order by key_info"}));
        IDispatch* rs = rows.get();
        com::checkCall(conflict->loadFromRs(&rs));
        rows.call(L"Close");
        return conflict;
    }

    static void resolve(const ConflictObject& conflict, short resolution)
    {
        com::checkCall(conflict->put_iResolutionType(&resolution));
        VARIANT_BOOL resolved = VARIANT_FALSE;
        com::checkCall(conflict->resolve(&resolved));
    }

    std::wstring said_;
};

TEST_F(SqlText, TableNameIsPasted)
{
    tryTable({.method = ONE_WAY_DELETE_ALL, .table = std::wstring(L"config") + kEmptyUsers});
    EXPECT_EQ(destination().count(L"users"), 0);
    EXPECT_EQ(source().count(L"users"), 1);
}

TEST_F(SqlText, DatabasePrefixIsPasted)
{
    host().sourcePrefix = host().sourcePrefix + L"config" + kEmptyUsers;
    tryTable({.method = ONE_WAY_DELETE_ALL, .table = L"config"});
    EXPECT_EQ(local().count(L"users"), 0);
    EXPECT_THAT(configNames(destination()), ElementsAre(L"name"));
}

TEST_F(SqlText, KeyFieldIsPasted)
{
    tryTable({.method = ONE_WAY_WITH_PK_FIELD,
              .table = L"config",
              .keyField = std::wstring(L"unid from config") + kEmptyUsers,
              .deletes = ONLY_DELETES});
    EXPECT_EQ(local().count(L"users"), 0);
}

TEST_F(SqlText, KeyValueIsPastedBetweenApostrophes)
{
    addConfig(destination(), L"name");
    addConfig(destination(), L"gone' or 'x' = 'x");
    tryTable(
        {.method = ONE_WAY_WITH_PK_FIELD, .table = L"config", .keyField = L"config_name", .deletes = ONLY_DELETES});
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_THAT(configNames(source()), ElementsAre(L"name"));
}

TEST_F(SqlText, KeyValueWithAnApostropheStopsItsTable)
{
    addConfig(destination(), L"O'Brien");
    tryTable(
        {.method = ONE_WAY_WITH_PK_FIELD, .table = L"config", .keyField = L"config_name", .deletes = ONLY_DELETES});
    EXPECT_THAT(said_, HasSubstr(L"Brien"));
    EXPECT_EQ(destination().count(L"config"), 1);
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(SqlText, KeyInTheDescriptionOfAConflictIsPasted)
{
    const _variant_t key = com::textVariant(L"1 or 1 = 1");
    EXPECT_THAT(keyInfoSql(L"users", key), EndsWith(L" where unid = 1 or 1 = 1"));
    EXPECT_THAT(keyInfoSql(L"config", com::textVariant(L"x' or 'x' = 'x")),
                EndsWith(L" where unid = 'x' or 'x' = 'x'"));
}

TEST_F(SqlText, TableNameOfAStoredConflictIsPasted)
{
    runAt(LAPTOP);
    addConflict(L"users; --");
    connect();
    resolve(storedConflict(), USE_SOURCE);
    EXPECT_EQ(destination().count(L"users"), 0);
    EXPECT_EQ(source().count(L"users"), 1);
}

TEST_F(SqlText, RowKeyOfAConflictIsPastedBetweenApostrophes)
{
    runAt(LAPTOP);
    addConfig(destination(), L"name");
    addConflict(L"config");
    connect();
    const ConflictObject conflict = storedConflict();
    com::Dispatch(conflict.Get()).put(L"vGuid", com::textVariant(std::wstring(kKey) + L"' or 'x' = 'x"));
    resolve(conflict, USE_SOURCE);
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_THAT(configNames(source()), ElementsAre(L"name"));
}

TEST_F(SqlText, ConflictIdIsPastedBetweenApostrophes)
{
    runAt(LAPTOP);
    addConflict(L"config");
    connect();
    resolve(createConflict(std::wstring(kKey) + L"'" + kEmptyUsers), USE_DESTINATION);
    EXPECT_EQ(destination().count(L"replication_conflict"), 0);
    EXPECT_EQ(destination().count(L"users"), 0);
    EXPECT_EQ(source().count(L"users"), 1);
}

TEST_F(SqlText, ColumnNameIsPasted)
{
    const com::Dispatch rows = com::Dispatch::from(
        source().connection().call(L"Execute", {L"select 5 as \"access_level) values (5); delete from users; --\""}));
    const std::wstring sql = Utils::getInsertSql(ado::Recordset(rows), L"users");
    rows.call(L"Close");
    EXPECT_THAT(sql, StartsWith(L"Insert into users (access_level) values (5); delete from users; --)"));
}

TEST_F(SqlText, DataSourceNameGoesOnWithSettingsOfItsOwn)
{
    if (!isPostgreSql())
        GTEST_SKIP() << "Port is a setting of the private PostgreSQL's driver";
    host().sourceDsn += L";Port=1";
    EXPECT_THAT(raised([this] { connect(); }).description, HasSubstr(L"port 1 failed"));
}

TEST_F(SqlText, DependentTableIsOneNameOrNothing)
{
    EXPECT_EQ(Utils::getDependentSql(std::wstring(L"chart_option_setting") + kEmptyUsers, _variant_t(1L), L""), L"");
    EXPECT_THAT(Utils::getDependentSql(L"chart_option_setting", com::textVariant(L"x' or 'x' = 'x"), L""),
                StartsWith(L"delete from chart_option_setting where chart_option_id = 'x' or 'x' = 'x';"));
}

TEST_F(SqlText, TextOfAColumnArrivesAsItIs)
{
    const std::wstring name = std::wstring(L"x'") + kEmptyUsers;
    source().execute(L"update config set config_name = " + Common::SqlQuote(name, false, false));
    tryTable({.method = ONE_WAY, .table = L"config"});
    EXPECT_THAT(configNames(destination()), ElementsAre(name));
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(SqlText, TableNameInTheCountersIsQuoted)
{
    EXPECT_THAT(countsBatch(OFFICES, L"it's", {{L" adds", 0}}), EndsWith(L" values (0,'it''s adds',0)"));
}

TEST_F(SqlText, SiteIsANumber)
{
    const auto initAt = [this](const std::wstring& site) {
        const HostSettings& to = host();
        com::Dispatch(&factory())
            .call(L"init", {com::textVariant(site), com::textVariant(to.role), com::textVariant(to.sourcePrefix),
                            com::textVariant(to.sourceDsn), com::textVariant(to.sourcePassword),
                            com::textVariant(to.destinationPrefix), com::textVariant(to.destinationDsn),
                            com::textVariant(to.destinationPassword), to.logLevel, com::textVariant(to.logFile)});
    };
    EXPECT_EQ(raised([&] { initAt(std::wstring(L"0") + kEmptyUsers); }).number, com::kTypeMismatch);
    EXPECT_NO_THROW(initAt(L"0"));
    EXPECT_EQ(local().count(L"users"), 1);
}

TEST_F(SqlText, FrequencyIsANumber)
{
    connect();
    const RunObject run = createRun();
    const auto initNextRun = [&run](const std::wstring& frequency) {
        com::Dispatch(run.Get()).call(L"initNextRun", {com::textVariant(frequency), com::textVariant(kProgramVersion)});
    };
    EXPECT_EQ(raised([&] { initNextRun(std::wstring(L"600,getdate())") + kEmptyUsers); }).number, com::kTypeMismatch);
    EXPECT_NO_THROW(initNextRun(L"600"));
    EXPECT_EQ(local().count(L"users"), 1);
}

TEST_F(SqlText, ErrorTextIsAParameter)
{
    connect();
    VARIANT_BOOL set = VARIANT_TRUE;
    _bstr_t message(L"x'; delete from users; --");
    BSTR text = message.GetBSTR();
    com::checkCall(factory().setError(&set, &text));
    EXPECT_EQ(recordedError(), L"error: x'; delete from users; --");
    EXPECT_EQ(local().count(L"users"), 1);
}

TEST_F(SqlText, TextWithLineEndsLooksLikeALogEntryOfItsOwn)
{
    const std::wstring forged = L"\r\n\r\n1/1/2026 0:00:00 AM: ERROR: forged";
    source().execute(L"update config set config_value = " + Common::SqlQuote(forged, false, false));
    tryTable({.method = ONE_WAY, .table = L"config"});
    EXPECT_TRUE(logged(L"\n1/1/2026 0:00:00 AM: ERROR: forged"));
}

} // namespace
