#include "conflicts/clsConflict.h"
#include "control/settings.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

const Lines kCopied{L"source: Select * from shortcut where unid = '{K1}'",
                    L"destination: Update shortcut set unid = '{K1}', item_name = 'S', mod_date = "
                    L"'11/15/2026 12:00:10 PM' where unid = '{K1}'",
                    L"destination: Delete from replication_conflict where unid = '{C1}';Delete from "
                    L"replication_conflict_data where conflict_id = '{C1}'"};
const Lines kDeleted{L"destination: Delete from shortcut where unid = '{K1}'", kCopied[2]};

/// A conflict of the row {K1}, as it was loaded, at a site.
class ResolutionTest : public ReplicationTest
{
protected:
    ResolutionTest() { row(L"{K1}", 10, kNone); }

    void conflictAt(long site, long kind, long resolution)
    {
        connectAt(site);
        conflict_ = clsConflict();
        conflict_.setConflictId(L"{C1}");
        conflict_.sTable = L"shortcut";
        conflict_.vGuid = L"{K1}";
        conflict_.iConflictType = kind;
        conflict_.iResolutionType = resolution;
    }

    Error resolveError()
    {
        return raised([&] { conflict_.resolve(); });
    }

    clsConflict conflict_;
};

TEST_F(ResolutionTest, StepIsCarriedOutAndTheSettledConflictRemoved)
{
    struct
    {
        long site;
        long kind;
        long resolution;
        bool resolved;
        Lines statements;
        const wchar_t* sMessage;
    } const kCases[] = {
        {LAPTOP, CHANGED_ON_BOTH, USE_SOURCE, true, kCopied, L""},
        {LAPTOP, DELETED_ON_SOURCE, USE_SOURCE, true, kDeleted, L""},
        {LAPTOP, CHANGED_ON_BOTH, USE_DESTINATION, true, {kCopied[2]}, L""},
        {LAPTOP, CHANGED_ON_BOTH, WORK_LATER, true, {}, L""},
        {OFFICES, CHANGED_ON_BOTH, USE_SOURCE, true, {}, L""},
        {OFFICES, CHANGED_ON_BOTH, USE_DESTINATION, false, {}, L"Cannot replicate back to Norvale"},
        {OFFICES, CHANGED_ON_BOTH, 4, false, {}, L"Invalid resolution type"},
    };
    for (const auto& given : kCases) {
        conflictAt(given.site, given.kind, given.resolution);
        EXPECT_EQ(conflict_.resolve(), given.resolved);
        EXPECT_EQ(sent(), given.statements);
        EXPECT_EQ(conflict_.sErrorMessage(), given.sMessage);
        for (const std::wstring& call : ado().calls())
            EXPECT_EQ(call.find(L"Execute(ref"), std::wstring::npos) << "no statement asks how many rows it changed";
        EXPECT_EQ(ado().liveObjects(), 2);
    }
    EXPECT_EQ(logBytes(), "");
}

TEST_F(ResolutionTest, SettledConflictKeepsItsFieldsAndMayBeResolvedAgain)
{
    conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.iResolutionType, USE_SOURCE);
    EXPECT_EQ(conflict_.vGuid, _variant_t(L"{K1}"));
    ado().forget();
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(sent(), kDeleted);
}

TEST_F(ResolutionTest, RefusalStaysInTheMessageAfterALaterSuccess)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, 0);
    EXPECT_FALSE(conflict_.resolve());
    conflict_.iResolutionType = WORK_LATER;
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(conflict_.sErrorMessage(), L"Invalid resolution type");
}

TEST_F(ResolutionTest, NumericKeyIsNotUsedSoTheEmptyKeyIsAddressed)
{
    for (const _variant_t& guid : {_variant_t(L""), _variant_t()}) {
        conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
        conflict_.lPatientId = 7;
        conflict_.vGuid = guid;
        EXPECT_TRUE(conflict_.resolve());
        EXPECT_EQ(sent()[0], L"destination: Delete from shortcut where unid = ''");
        conflict_.iConflictType = CHANGED_ON_BOTH;
        EXPECT_EQ(resolveError().number, kNoRecord);
        EXPECT_EQ(sent().back(), L"source: Select * from shortcut where unid = ''");
    }
}

TEST_F(ResolutionTest, ApostrophesOfAKeyAreNotDoubled)
{
    conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
    conflict_.vGuid = L"a'b";
    conflict_.setConflictId(L"c'd");
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(sent(), (Lines{L"destination: Delete from shortcut where unid = 'a'b'",
                             L"destination: Delete from replication_conflict where unid = 'c'd';Delete from "
                             L"replication_conflict_data where conflict_id = 'c'd'"}));
}

TEST_F(ResolutionTest, EveryStatementThatFailsIsRaisedUnderTheRoutinesName)
{
    for (const long kind : {CHANGED_ON_BOTH, DELETED_ON_SOURCE}) {
        const size_t statements = kind == CHANGED_ON_BOTH ? kCopied.size() : kDeleted.size();
        for (size_t failing = 1; failing <= statements; ++failing) {
            conflictAt(LAPTOP, kind, USE_SOURCE);
            ado().failMember(L"Command.Execute", connectionLost(), failing);
            EXPECT_EQ(resolveError(), (Error{E_FAIL, L"clsConflict.resolve", L"Connection lost"}));
            EXPECT_EQ(sent().size(), failing - 1);
        }
    }
}

TEST_F(ResolutionTest, ClosedSourceIsRaised)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    settings().remoteConnection()->getConn().close();
    EXPECT_EQ(resolveError(),
              (Error{kOwnErrorRaised, L"clsConflict.resolve", L"Remote database not available as Source"}));
    EXPECT_EQ(sent(), Lines());
}

TEST_F(ResolutionTest, DestinationIsAskedForWhenTheRowHasBeenRead)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    settings().localConnection()->getConn().close();
    EXPECT_EQ(resolveError().description, L"Local database not available as Destination");
    EXPECT_EQ(sent(), Lines{kCopied[0]});
    vanishes(L"source", L"{K1}");
    EXPECT_EQ(resolveError().number, kNoRecord);
}

} // namespace
