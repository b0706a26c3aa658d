#include "conflicts/clsConflict.h"
#include "control/settings.h"
#include "support/MessageBoxes.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

/// A conflict of the row {K1}, as it was loaded, at a site.
class ResolutionTest : public ReplicationTest
{
protected:
    void conflictAt(long site, long kind, long resolution)
    {
        releaseConnections();
        connectAt(site);
        sourceHolds(L"{K1}", L"S", 10);
        conflict_ = clsConflict();
        conflict_.setConflictId(L"{C1}");
        conflict_.sTable = L"shortcut";
        conflict_.vGuid = L"{K1}";
        conflict_.iConflictType = kind;
        conflict_.iResolutionType = resolution;
    }

    /// The conflict stays, and `resolve` gives true.
    void expectKept()
    {
        EXPECT_TRUE(conflict_.resolve());
        EXPECT_EQ(ado().statements(), Statements());
        EXPECT_EQ(conflict_.sErrorMessage(), L"");
    }

    void expectRefused(const std::wstring& message)
    {
        EXPECT_FALSE(conflict_.resolve());
        EXPECT_EQ(ado().statements(), Statements());
        EXPECT_EQ(conflict_.sErrorMessage(), message);
    }

    Error resolveError()
    {
        return raised([&] { conflict_.resolve(); });
    }

    Statements removed() const
    {
        return onLocal({L"Delete from replication_conflict where unid = '{C1}';Delete from replication_conflict_data "
                        L"where conflict_id = '{C1}'"});
    }

    Statements copied() const
    {
        return joined({onSource({select(L"{K1}")}), onDestination({update(L"{K1}", L"S", 10)})});
    }

    const Statements deleted_ = onDestination({L"Delete from shortcut where unid = '{K1}'"});
    clsConflict conflict_;
};

TEST_F(ResolutionTest, SourceRowReplacesTheDestinationsAtLaptop)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(ado().statements(), joined({copied(), removed()}));
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ResolutionTest, RowDeletedOnTheSourceIsDeletedAtLaptop)
{
    conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(ado().statements(), joined({deleted_, removed()}));
}

TEST_F(ResolutionTest, NoStatementAsksHowManyRowsItChanged)
{
    for (const long kind : {CHANGED_ON_BOTH, DELETED_ON_SOURCE}) {
        conflictAt(LAPTOP, kind, USE_SOURCE);
        EXPECT_TRUE(conflict_.resolve());
        for (const std::wstring& call : ado().calls())
            EXPECT_EQ(call.find(L"Execute(ref"), std::wstring::npos) << call;
    }
}

TEST_F(ResolutionTest, OtherKindsAreNotSettledFromTheSource)
{
    for (const long kind : {NEW_ON_source, NEW_ON_DEST, CHANGED_ON_DEST}) {
        conflictAt(LAPTOP, kind, USE_SOURCE);
        expectKept();
    }
}

TEST_F(ResolutionTest, SourceIsNotUsedAtOffices)
{
    for (const long kind : {CHANGED_ON_BOTH, NEW_ON_source, NEW_ON_DEST, CHANGED_ON_DEST, DELETED_ON_SOURCE}) {
        conflictAt(OFFICES, kind, USE_SOURCE);
        expectKept();
    }
}

TEST_F(ResolutionTest, DestinationIsRefusedAtOffices)
{
    for (const long kind : {CHANGED_ON_BOTH, NEW_ON_source, NEW_ON_DEST, CHANGED_ON_DEST, DELETED_ON_SOURCE}) {
        conflictAt(OFFICES, kind, USE_DESTINATION);
        expectRefused(L"Cannot replicate back to Norvale");
    }
}

TEST_F(ResolutionTest, DestinationKeepsItsRowAndLosesTheConflictAtLaptop)
{
    for (const long kind : {CHANGED_ON_BOTH, NEW_ON_source, NEW_ON_DEST, CHANGED_ON_DEST, DELETED_ON_SOURCE}) {
        conflictAt(LAPTOP, kind, USE_DESTINATION);
        EXPECT_TRUE(conflict_.resolve());
        EXPECT_EQ(ado().statements(), removed());
    }
}

TEST_F(ResolutionTest, LaterKeepsTheConflictAtBothSites)
{
    for (const long site : {OFFICES, LAPTOP})
        for (const long kind : {CHANGED_ON_BOTH, DELETED_ON_SOURCE}) {
            conflictAt(site, kind, WORK_LATER);
            expectKept();
        }
}

TEST_F(ResolutionTest, OtherResolutionsAreInvalidAtBothSites)
{
    for (const long site : {OFFICES, LAPTOP})
        for (const long resolution : {0L, 4L, -1L}) {
            conflictAt(site, CHANGED_ON_BOTH, resolution);
            expectRefused(L"Invalid resolution type");
        }
}

TEST_F(ResolutionTest, SettledConflictKeepsItsFieldsAndMayBeResolvedAgain)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.iResolutionType, USE_SOURCE);
    EXPECT_EQ(conflict_.vGuid, _variant_t(L"{K1}"));
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(ado().statements(), joined({copied(), removed(), copied(), removed()}));
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
    conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
    conflict_.sTable = L"patient";
    conflict_.lPatientId = 7;
    for (const _variant_t& guid : {_variant_t(L""), _variant_t()}) {
        ado().forget();
        conflict_.vGuid = guid;
        EXPECT_TRUE(conflict_.resolve());
        EXPECT_EQ(ado().statements(), joined({onDestination({L"Delete from patient where unid = ''"}), removed()}));
    }
}

TEST_F(ResolutionTest, NumericKeyedRowIsNotFoundInTheSource)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    conflict_.vGuid = L"";
    sourceHolds(L"");
    const Error error = resolveError();
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(error.source, L"clsConflict.resolve");
    EXPECT_EQ(ado().statements(), onSource({select(L"")}));
}

TEST_F(ResolutionTest, ApostrophesOfAKeyAreNotDoubled)
{
    conflictAt(LAPTOP, DELETED_ON_SOURCE, USE_SOURCE);
    conflict_.vGuid = L"a'b";
    conflict_.setConflictId(L"c'd");
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(ado().statements(), joined({onDestination({L"Delete from shortcut where unid = 'a'b'"}),
                                          onLocal({L"Delete from replication_conflict where unid = 'c'd';Delete from "
                                                   L"replication_conflict_data where conflict_id = 'c'd'"})}));
}

TEST_F(ResolutionTest, EveryStatementThatFailsIsRaisedUnderTheRoutinesName)
{
    for (const long kind : {CHANGED_ON_BOTH, DELETED_ON_SOURCE}) {
        const size_t statements = kind == CHANGED_ON_BOTH ? 3 : 2;
        for (size_t failing = 1; failing <= statements; ++failing) {
            conflictAt(LAPTOP, kind, USE_SOURCE);
            ado().failMember(L"Command.Execute", connectionLost(), failing);
            EXPECT_EQ(resolveError(), (Error{E_FAIL, L"clsConflict.resolve", L"Connection lost"}));
            EXPECT_EQ(ado().statements().size(), failing - 1);
        }
    }
}

TEST_F(ResolutionTest, FailedRemovalLeavesTheDataChanged)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    ado().failStatement(removed()[0].second, connectionLost());
    EXPECT_EQ(resolveError(), (Error{E_FAIL, L"clsConflict.resolve", L"Connection lost"}));
    EXPECT_EQ(ado().statements(), joined({copied(), removed()}));
}

TEST_F(ResolutionTest, ClosedSidesAreRaised)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    settings().remoteConnection()->getConn().close();
    EXPECT_EQ(resolveError(),
              (Error{kOwnErrorRaised, L"clsConflict.resolve", L"Remote database not available as Source"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ResolutionTest, DestinationIsAskedForWhenTheRowHasBeenRead)
{
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    settings().localConnection()->getConn().close();
    EXPECT_EQ(resolveError(),
              (Error{kOwnErrorRaised, L"clsConflict.resolve", L"Local database not available as Destination"}));
    EXPECT_EQ(ado().statements(), onSource({select(L"{K1}")}));
    conflict_.vGuid = L"{K2}";
    sourceHolds(L"{K2}");
    EXPECT_EQ(resolveError().number, static_cast<long>(0x80040000) + 3021);
}

TEST_F(ResolutionTest, UnsupportedTypeShowsAMessageAndSendsAnEmptyValue)
{
    const MessageBoxes boxes;
    conflictAt(LAPTOP, CHANGED_ON_BOTH, USE_SOURCE);
    conflict_.vGuid = L"K2";
    ado().answer(select(L"K2"), {{{{L"photo", 205}}, {{L"x"}}}, 0, {}});
    EXPECT_TRUE(conflict_.resolve());
    EXPECT_EQ(boxes.shown(), (std::vector<ShownBox>{{L"QuinmarkRepDLL", L"ado type not coded, see debug", {L"OK"}}}));
    EXPECT_EQ(ado().statements()[1], AdoStatement(L"destination", L"Update shortcut set photo =  where unid = 'K2'"));
}

} // namespace
