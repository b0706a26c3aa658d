// Names and keys that are pasted into SQL as they are, as docs/security.md lists them. The unit tests hold each
// statement.
#include "com/convert.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

/// Ends the statement into which it is pasted and adds a second one; the rest becomes a comment.
const std::wstring kEmptyUsers = L"; delete from users; --";

class SqlText : public PracticePair
{
protected:
    /// The same user on both sides, and a row of config in the source.
    void fill() const
    {
        emptyTables();
        for (const PracticeSide* side : {&source(), &destination()})
            addUser(*side, 1, L"kept", kOld);
        source().execute(L"insert into config (category, config_name, mod_date) values ('run', 'name', '2025-03-11')");
    }

    /// Runs a table that does more than it was made for, and may fail with the rest of its text.
    void tryTable(const TablePlan& plan)
    {
        try {
            replicate(plan);
        }
        catch (const com::Error&) {
        }
    }
};

TEST_F(SqlText, OfTablesPrefixesAndKeyFieldsIsPasted)
{
    const std::wstring prefix = host().sourcePrefix;
    for (const auto& [plan, suffix, emptied] :
         {std::tuple(TablePlan{ONE_WAY_DELETE_ALL, L"config" + kEmptyUsers}, std::wstring(), &destination()),
          std::tuple(TablePlan{ONE_WAY_DELETE_ALL, L"config"}, L"config" + kEmptyUsers, &local()),
          std::tuple(TablePlan{ONE_WAY_WITH_PK_FIELD, L"config", L"", L"unid from config" + kEmptyUsers, ONLY_DELETES},
                     std::wstring(), &local())})
    {
        fill();
        host().sourcePrefix = prefix + suffix;
        tryTable(plan);
        EXPECT_EQ(emptied->count(L"users"), 0) << plan.table << suffix << plan.keyField;
    }
}

TEST_F(SqlText, OfAKeyIsPastedBetweenApostrophes)
{
    fill();
    destination().execute(L"insert into config (category, config_name, mod_date) values ('run', 'name', '2025-03-01'), "
                          L"('run', 'gone'' or ''x'' = ''x', '2025-03-01')");
    tryTable({ONE_WAY_WITH_PK_FIELD, L"config", L"", L"config_name", ONLY_DELETES});
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_EQ(source().count(L"config"), 1);
}

TEST_F(SqlText, OfAStoredConflictsTableIsPasted)
{
    fill();
    runAt(LAPTOP);
    local().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, patient_id, "
                    L"guid, conflict_type, key_info, source_mod_date, destination_mod_date) values "
                    L"('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 1, '2025-03-10', 'users; --', 0, "
                    L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 5, 'words', '2025-03-11', '2025-03-11')");
    connect();
    _variant_t id;
    ConflictObject conflict;
    com::checkCall(factory().createConflict(&id, conflict.GetAddressOf()));
    const _variant_t rows = local().connection().call(L"Execute", {L"select * from replication_conflict"});
    com::Dispatch(conflict.Get()).call(L"loadFromRs", {rows});
    com::Dispatch(conflict.Get()).put(L"iResolutionType", static_cast<long>(USE_SOURCE));
    com::Dispatch(conflict.Get()).call(L"resolve");
    EXPECT_EQ(destination().count(L"users"), 0);
    EXPECT_EQ(source().count(L"users"), 1);
}

} // namespace
