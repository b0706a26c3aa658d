#include "com/convert.h"
#include "support/PracticePair.h"
#include "support/Raised.h"
#include "support/Relay.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t kKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
constexpr wchar_t kOtherKey[] = L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}";
const TablePlan kShortcuts{.method = ONE_WAY, .table = L"shortcut"};

/// A conflict that a run has found, loaded and resolved as a host does it.
class Conflicts : public PracticePair
{
protected:
    static void addShortcut(const PracticeSide& side, const std::wstring& key, const std::wstring& name,
                            const std::wstring& modified)
    {
        side.execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values ('" + key + L"', '" + name +
                     L"', null, '" + modified + L"')");
    }

    static std::vector<std::wstring> shortcuts(const PracticeSide& side)
    {
        return side.rows(L"select item_name from shortcut order by item_name");
    }

    /// A run that finds one shortcut in conflict; connected again for its resolution. A row that is new gives a
    /// conflict whose row is missing its other date.
    void find(enumConflictType kind)
    {
        if (kind != DELETED_ON_SOURCE)
            addShortcut(source(), kKey, L"source''s", kind == CHANGED_ON_BOTH ? kNew : kOld);
        addShortcut(destination(), kKey, L"destination''s", kind == DELETED_ON_SOURCE ? kOld : kNewer);
        if (kind == DELETED_ON_SOURCE)
            addShortcut(source(), kOtherKey, L"new", kNew);
        EXPECT_EQ(replicate(kShortcuts).conflict, 1);
        EXPECT_EQ(com::toInt32(local().value(L"select conflict_type from replication_conflict")), kind);
        connect();
    }

    com::Dispatch listed() const
    {
        return com::Dispatch::from(
            local().connection().call(L"Execute", {L"select * from replication_conflict order by key_info"}));
    }

    com::Dispatch createConflict(const _variant_t& id = _variant_t()) const
    {
        return com::Dispatch::from(com::Dispatch(&factory()).call(L"createConflict", {id}));
    }

    /// The first conflict of the list.
    com::Dispatch loadConflict() const
    {
        const com::Dispatch recordset = listed();
        const com::Dispatch conflict = createConflict();
        conflict.call(L"loadFromRs", {_variant_t(recordset.get())});
        recordset.call(L"Close");
        return conflict;
    }

    static bool resolve(const com::Dispatch& conflict, long resolution)
    {
        conflict.put(L"iResolutionType", resolution);
        return com::toBool(conflict.call(L"resolve"));
    }
};

TEST_F(Conflicts, LoadWhatTheRunHasFound)
{
    runAt(LAPTOP);
    find(CHANGED_ON_BOTH);
    const com::Dispatch row = listed();
    const _variant_t id = com::Dispatch::from(com::Dispatch::from(row.property(L"Fields")).property(L"Item", {L"unid"}))
                              .property(L"Value");
    const com::Dispatch loaded = createConflict(id);
    EXPECT_EQ(com::toText(loaded.property(L"bExists")), L"False");
    loaded.call(L"loadFromRs", {_variant_t(row.get())});
    EXPECT_EQ(com::toText(loaded.property(L"vConflictId")), com::toText(id));
    EXPECT_EQ(com::toText(loaded.property(L"bExists")), L"True");
    EXPECT_EQ(com::toText(loaded.property(L"sTable")), L"shortcut");
    EXPECT_EQ(com::toInt32(loaded.property(L"lPatientId")), 0);
    EXPECT_EQ(com::toText(loaded.property(L"vGuid")), kKey);
    EXPECT_EQ(com::toInt32(loaded.property(L"iConflictType")), CHANGED_ON_BOTH);
    EXPECT_EQ(com::toText(loaded.property(L"sKeyInfo")), L"source's");
    EXPECT_EQ(com::toDate(loaded.property(L"dSource")), com::toDate(source().value(L"select mod_date from shortcut")));
    EXPECT_EQ(com::toDate(loaded.property(L"dDestination")),
              com::toDate(destination().value(L"select mod_date from shortcut")));
    EXPECT_EQ(com::toInt32(loaded.property(L"iResolutionType")), 0);
    EXPECT_NEAR(com::toDate(loaded.property(L"dNextReplicate")),
                com::toDate(local().value(L"select last_replicate_date from replication_conflict")), 1e-8);
}

TEST_F(Conflicts, AreSettledFromEitherSideAndMayBeResolvedAgain)
{
    for (const auto& [kind, resolution, left] :
         {std::tuple(CHANGED_ON_BOTH, USE_SOURCE, std::vector<std::wstring>{L"source's"}),
          std::tuple(CHANGED_ON_BOTH, USE_DESTINATION, std::vector<std::wstring>{L"destination's"}),
          std::tuple(DELETED_ON_SOURCE, USE_SOURCE, std::vector<std::wstring>{L"new"}),
          std::tuple(DELETED_ON_SOURCE, USE_DESTINATION, std::vector<std::wstring>{L"destination's", L"new"})})
    {
        SCOPED_TRACE(kind * 10 + resolution);
        emptyTables();
        restoreControl();
        runAt(LAPTOP);
        find(kind);
        const std::vector<std::wstring> sources = source().rows(L"select * from shortcut");
        const com::Dispatch conflict = loadConflict();
        for (int time = 0; time < 2; ++time) {
            EXPECT_TRUE(resolve(conflict, resolution));
            EXPECT_EQ(shortcuts(destination()), left);
        }
        EXPECT_EQ(source().rows(L"select * from shortcut"), sources);
        EXPECT_THAT(conflicts(), IsEmpty());
        EXPECT_THAT(conflictData(), IsEmpty());
        disconnect();
    }
}

TEST_F(Conflicts, SavedByTheHostAppearInTheDatabase)
{
    connect();
    const com::Dispatch host = createConflict();
    host.put(L"sTable", L"shortcut");
    host.put(L"vGuid", kKey);
    host.put(L"iConflictType", 3L);
    host.put(L"sKeyInfo", L"Müller's €");
    EXPECT_EQ(raised([&] { host.call(L"save"); }).source, L"clsConflict.save");
    EXPECT_THAT(conflicts(), ElementsAre(L"shortcut|0|" + std::wstring(kKey) + L"|3|Müller's €"));
}

TEST_F(Conflicts, WhoseResolutionIsCutMayBeResolvedAgain)
{
    const std::unique_ptr<Relay> relay = relayToServer();
    if (!relay)
        return;
    runAt(LAPTOP);
    const HostSettings good = host();
    host().destinationDsn = relay->dataSource(host().destinationDsn);
    find(CHANGED_ON_BOTH);
    host() = good;
    relay->cutAt(L"item_name = 'source''s'");
    EXPECT_EQ(raised([&] { resolve(loadConflict(), USE_SOURCE); }).source, L"clsConflict.resolve");
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"destination's"));
    EXPECT_EQ(conflicts().size(), 1U);
    disconnect();
    connect();
    EXPECT_TRUE(resolve(loadConflict(), USE_SOURCE));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"source's"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

} // namespace
