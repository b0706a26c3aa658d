#include "IsError.h"
#include "com/convert.h"
#include "support/PracticePair.h"
#include "support/Raised.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr wchar_t kKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
constexpr wchar_t kOtherKey[] = L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}";
const TablePlan kShortcuts{.method = ONE_WAY, .table = L"shortcut"};

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

    /// A run of a laptop that finds one shortcut changed on both sides; connected again for its resolution.
    void findChangedOnBoth()
    {
        runAt(LAPTOP);
        addShortcut(source(), kKey, L"of the source", kNew);
        addShortcut(destination(), kKey, L"of the destination", kNewer);
        EXPECT_EQ(replicate(kShortcuts), (Counters{.conflict = 1}));
        connect();
    }

    /// The same for a shortcut that the source has deleted. The row before it gives the conflict its other date.
    void findDeletedOnSource()
    {
        runAt(LAPTOP);
        addShortcut(source(), kOtherKey, L"new", kNew);
        addShortcut(destination(), kKey, L"deleted", kOld);
        EXPECT_EQ(replicate(kShortcuts), (Counters{.destAdd = 1, .conflict = 1, .error = 1}));
        connect();
    }

    com::Dispatch listed() const
    {
        return com::Dispatch::from(
            local().connection().call(L"Execute", {L"select * from replication_conflict order by key_info"}));
    }

    ConflictObject createConflict(const _variant_t& id = _variant_t()) const
    {
        _variant_t argument(id);
        ConflictObject conflict;
        com::checkCall(factory().createConflict(&argument, conflict.GetAddressOf()));
        return conflict;
    }

    static void load(_clsConflict& conflict, const com::Dispatch& recordset)
    {
        IDispatch* rs = recordset.get();
        com::checkCall(conflict.loadFromRs(&rs));
    }

    /// The first conflict of the list.
    ConflictObject loadConflict() const
    {
        const com::Dispatch recordset = listed();
        const ConflictObject conflict = createConflict();
        load(*conflict.Get(), recordset);
        recordset.call(L"Close");
        return conflict;
    }

    static bool resolve(_clsConflict& conflict, short resolution)
    {
        VARIANT_BOOL resolved = VARIANT_FALSE;
        com::checkCall(conflict.put_iResolutionType(&resolution));
        com::checkCall(conflict.resolve(&resolved));
        return resolved != VARIANT_FALSE;
    }

    static std::wstring errorOf(_clsConflict& conflict)
    {
        BSTR text = nullptr;
        com::checkCall(conflict.get_sErrorMessage(&text));
        const _bstr_t owner(text, false);
        return com::fromBstr(text);
    }

    void expectStays() { EXPECT_EQ(conflicts().size(), 1U); }

    void expectGone()
    {
        EXPECT_THAT(conflicts(), IsEmpty());
        EXPECT_THAT(conflictData(), IsEmpty());
    }
};

TEST_F(Conflicts, LoadsWhatTheRunHasFound)
{
    findChangedOnBoth();
    const com::Dispatch row = listed();
    const _variant_t id = com::Dispatch::from(com::Dispatch::from(row.property(L"Fields")).property(L"Item", {L"unid"}))
                              .property(L"Value");
    const com::Dispatch loaded(createConflict(id).Get());
    EXPECT_EQ(com::toText(loaded.property(L"bExists")), L"False");
    loaded.call(L"loadFromRs", {_variant_t(row.get())});
    EXPECT_EQ(com::toText(loaded.property(L"vConflictId")), com::toText(id));
    EXPECT_EQ(com::toText(loaded.property(L"bExists")), L"True");
    EXPECT_EQ(com::toText(loaded.property(L"sTable")), L"shortcut");
    EXPECT_EQ(com::toInt32(loaded.property(L"lPatientId")), 0);
    EXPECT_EQ(com::toText(loaded.property(L"vGuid")), kKey);
    EXPECT_EQ(com::toInt32(loaded.property(L"iConflictType")), CHANGED_ON_BOTH);
    EXPECT_EQ(com::toText(loaded.property(L"sKeyInfo")), L"of the source");
    EXPECT_EQ(com::toDate(loaded.property(L"dSource")), com::toDate(source().value(L"select mod_date from shortcut")));
    EXPECT_EQ(com::toDate(loaded.property(L"dDestination")),
              com::toDate(destination().value(L"select mod_date from shortcut")));
    EXPECT_EQ(com::toInt32(loaded.property(L"iResolutionType")), 0);
    EXPECT_NEAR(com::toDate(loaded.property(L"dNextReplicate")),
                com::toDate(local().value(L"select last_replicate_date from replication_conflict")), 1e-8);
}

TEST_F(Conflicts, ChangedOnBothTakesTheSourcesRow)
{
    findChangedOnBoth();
    EXPECT_TRUE(resolve(*loadConflict().Get(), USE_SOURCE));
    EXPECT_EQ(destination().rows(L"select * from shortcut"), source().rows(L"select * from shortcut"));
    EXPECT_THAT(shortcuts(source()), ElementsAre(L"of the source"));
    expectGone();
    disconnect();
    EXPECT_EQ(replicate(kShortcuts), Counters{});
}

TEST_F(Conflicts, ChangedOnBothKeepsTheDestinationsRow)
{
    findChangedOnBoth();
    EXPECT_TRUE(resolve(*loadConflict().Get(), USE_DESTINATION));
    EXPECT_THAT(shortcuts(source()), ElementsAre(L"of the source"));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectGone();
}

TEST_F(Conflicts, LeftForLaterStayAsTheyAre)
{
    findChangedOnBoth();
    EXPECT_TRUE(resolve(*loadConflict().Get(), WORK_LATER));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectStays();
    EXPECT_THAT(conflictData(), ElementsAre(L"item_name|of the source|of the destination"));
}

TEST_F(Conflicts, OfAnUnknownResolutionAreRefused)
{
    findChangedOnBoth();
    const ConflictObject conflict = loadConflict();
    for (const short resolution : {short{0}, short{4}, short{-1}}) {
        EXPECT_FALSE(resolve(*conflict.Get(), resolution));
        EXPECT_EQ(errorOf(*conflict.Get()), L"Invalid resolution type");
    }
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectStays();
}

TEST_F(Conflicts, DeletedOnSourceDeletesTheDestinationsRow)
{
    findDeletedOnSource();
    EXPECT_TRUE(resolve(*loadConflict().Get(), USE_SOURCE));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"new"));
    expectGone();
}

TEST_F(Conflicts, DeletedOnSourceKeepsTheDestinationsRow)
{
    findDeletedOnSource();
    EXPECT_TRUE(resolve(*loadConflict().Get(), USE_DESTINATION));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"deleted", L"new"));
    expectGone();
}

TEST_F(Conflicts, AtTheOfficesAreNeitherSettledBySourceNorByDestination)
{
    addShortcut(source(), kKey, L"of the source", kNew);
    addShortcut(destination(), kKey, L"of the destination", kNewer);
    EXPECT_EQ(replicate(kShortcuts), (Counters{.conflict = 1, .error = 1}));
    connect();
    const ConflictObject conflict = loadConflict();
    EXPECT_TRUE(resolve(*conflict.Get(), USE_SOURCE));
    EXPECT_EQ(errorOf(*conflict.Get()), L"");
    EXPECT_FALSE(resolve(*conflict.Get(), USE_DESTINATION));
    EXPECT_EQ(errorOf(*conflict.Get()), L"Cannot replicate back to Norvale");
    EXPECT_TRUE(resolve(*conflict.Get(), WORK_LATER));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectStays();
}

TEST_F(Conflicts, ChangedOnDestinationAreNotSettledFromTheSource)
{
    runAt(OFFICES, L"DESTINATION");
    addShortcut(source(), kKey, L"of the source", kOld);
    addShortcut(destination(), kKey, L"of the destination", kNew);
    EXPECT_EQ(replicate(kShortcuts), (Counters{.conflict = 1, .error = 1}));
    runAt(LAPTOP);
    connect();
    const ConflictObject conflict = loadConflict();
    EXPECT_TRUE(resolve(*conflict.Get(), USE_SOURCE));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectStays();
    EXPECT_TRUE(resolve(*conflict.Get(), USE_DESTINATION));
    expectGone();
}

TEST_F(Conflicts, ResolvedTwiceStayResolved)
{
    findChangedOnBoth();
    const ConflictObject conflict = loadConflict();
    EXPECT_TRUE(resolve(*conflict.Get(), USE_SOURCE));
    EXPECT_TRUE(resolve(*conflict.Get(), USE_SOURCE));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the source"));
    expectGone();
}

TEST_F(Conflicts, OfNumericKeysAreNotSettledFromTheSource)
{
    runAt(LAPTOP);
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNewer);
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"users"}), (Counters{.conflict = 1}));
    connect();
    const ConflictObject conflict = loadConflict();
    EXPECT_EQ(raised([&] { resolve(*conflict.Get(), USE_SOURCE); }).source, L"clsConflict.resolve");
    EXPECT_THAT(users(destination()), ElementsAre(L"7|destination"));
    expectStays();
    EXPECT_TRUE(resolve(*conflict.Get(), USE_DESTINATION));
    expectGone();
}

TEST_F(Conflicts, WithoutOneOfTheDatesDoNotLoad)
{
    addShortcut(destination(), kKey, L"new", kNew);
    EXPECT_EQ(replicate(kShortcuts), (Counters{.conflict = 1, .error = 1}));
    connect();
    const com::Dispatch recordset = listed();
    const ConflictObject conflict = createConflict();
    EXPECT_THAT(raised([&] { load(*conflict.Get(), recordset); }),
                isError(13, L"clsConflict.loadFromRs", L"Type mismatch"));
    EXPECT_EQ(com::toText(com::Dispatch(conflict.Get()).property(L"sKeyInfo")), L"new");
}

TEST_F(Conflicts, ThatCannotBeSettledStayWithTheRowAsItWas)
{
    findChangedOnBoth();
    const ConflictObject conflict = loadConflict();
    source().execute(L"delete from shortcut");
    EXPECT_THAT(raised([&] { resolve(*conflict.Get(), USE_SOURCE); }),
                isError(static_cast<long>(0x80040000 + 3021), L"clsConflict.resolve", Not(IsEmpty())));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"of the destination"));
    expectStays();
}

TEST_F(Conflicts, SavedByTheHostAppearInTheDatabase)
{
    connect();
    const ConflictObject conflict = createConflict();
    const com::Dispatch host(conflict.Get());
    host.put(L"sTable", L"shortcut");
    host.put(L"vGuid", kKey);
    host.put(L"iConflictType", 3L);
    host.put(L"sKeyInfo", L"Müller's €");
    EXPECT_EQ(raised([&] { host.call(L"save"); }).source, L"clsConflict.save");
    EXPECT_THAT(conflicts(), ElementsAre(L"shortcut|0|" + std::wstring(kKey) + L"|3|Müller's €"));
}

} // namespace
