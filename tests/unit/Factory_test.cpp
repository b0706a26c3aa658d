#include "control/FactoryFace.h"
#include "control/settings.h"
#include "support/FactoryFixture.h"
#include "version.h"

using namespace quinmark;

namespace {

using com::Error;

TEST_F(FactoryTest, InitStoresEverythingAsGiven)
{
    init(L"Source", LAPTOP);
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().iReplicationUniqueId, LAPTOP);
    EXPECT_EQ(settings().sLocalConnection, L"Source");
    EXPECT_EQ(settings().sSourceDB, L"office.");
    EXPECT_EQ(settings().sSourceDSN, L"source");
    EXPECT_EQ(settings().sSourcePswd, L"sourcePassword");
    EXPECT_EQ(settings().sDestinationDB, L"laptop.");
    EXPECT_EQ(settings().sDestinationDSN, L"destination");
    EXPECT_EQ(settings().sDestinationPswd, L"destinationPassword");
}

TEST_F(FactoryTest, UnknownRoleStopsBeforeNamesAreStored)
{
    EXPECT_EQ(raised([&] { init(L"LOCAL", LAPTOP); }),
              (Error{-2147220504, L"Factory.init", L"Local Connection not set to SOURCE or DESTINATION"}));
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().iReplicationUniqueId, LAPTOP);
    EXPECT_EQ(settings().sLocalConnection, L"LOCAL");
    EXPECT_EQ(settings().sSourceDB + settings().sSourceDSN + settings().sSourcePswd, L"");
    EXPECT_EQ(settings().sDestinationDB + settings().sDestinationDSN + settings().sDestinationPswd, L"");
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, UnknownRoleLeavesLiveConnectionsUntouched)
{
    connectedSettings();
    EXPECT_EQ(raised([&] { init(L""); }).number, kOwnErrorRaised);
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, SiteBeyond16BitsOverflowsAfterTheLogIsSet)
{
    EXPECT_EQ(raised([&] { init(L"SOURCE", 32768); }), (Error{6, L"Factory.init", L"Overflow"}));
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().sLocalConnection, L"");
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, LogLevelIsConvertedTo16Bits)
{
    factory_.setLogLevel(L"4");
    EXPECT_EQ(settings().iLogLevel, 4);
    factory_.setLogLevel(2.5);
    EXPECT_EQ(settings().iLogLevel, 2);
}

TEST_F(FactoryTest, LogLevelThatCannotBeConvertedRaisesAsItIs)
{
    settings().iLogLevel = 3;
    EXPECT_EQ(raised([&] { factory_.setLogLevel(32768L); }), (Error{6, kComponentName, L"Overflow"}));
    EXPECT_EQ(raised([&] { factory_.setLogLevel(L"high"); }), (Error{13, kComponentName, L"Type mismatch"}));
    EXPECT_EQ(raised([&] { factory_.setLogLevel(adoNull()); }), (Error{94, kComponentName, L"Invalid use of Null"}));
    EXPECT_EQ(settings().iLogLevel, 3);
}

TEST_F(FactoryTest, VersionHasMajorMinorAndRevision)
{
    EXPECT_EQ(factory_.Version(), L"3.46.0");
}

TEST_F(FactoryTest, ErrorMessageIsEmptyAtFirst)
{
    EXPECT_EQ(factory_.sErrorMessage(), L"");
}

TEST_F(FactoryTest, ErrorMessageIsLeftToTheChecks)
{
    connectedSettings();
    ado().failMember(L"Connection.State", {E_FAIL, L"State unknown"});
    EXPECT_FALSE(factory_.ensureReplication());
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([&] { factory_.setError(true, L"stopped by host"); }).description, L"Connection lost");
    EXPECT_EQ(factory_.sErrorMessage(), L"State unknown");
    EXPECT_EQ(raised([&] { init(L"LOCAL"); }).source, L"Factory.init");
    EXPECT_EQ(factory_.sErrorMessage(), L"State unknown");
}

TEST_F(FactoryTest, ObjectsOfAThreadShareItsSettings)
{
    Factory first;
    first.setLogLevel(2L);
    Factory second;
    second.setLogLevel(4L);
    EXPECT_EQ(settings().iLogLevel, 4);
}

TEST_F(FactoryTest, RunObjectIsNewAndEmptyAndNeedsNoState)
{
    const auto face = com::makeObject<FactoryFace>();
    Microsoft::WRL::ComPtr<_clsReplicate> first;
    Microsoft::WRL::ComPtr<_clsReplicate> second;
    ASSERT_EQ(face->createReplication(first.GetAddressOf()), S_OK);
    ASSERT_EQ(face->createReplication(second.GetAddressOf()), S_OK);
    EXPECT_NE(first.Get(), second.Get());
    VARIANT_BOOL error = VARIANT_TRUE;
    VARIANT_BOOL ready = VARIANT_TRUE;
    DATE last = 1;
    DATE next = 1;
    EXPECT_EQ(first->get_bError(&error), S_OK);
    EXPECT_EQ(first->get_bReady(&ready), S_OK);
    EXPECT_EQ(first->get_dLastReplicate(&last), S_OK);
    EXPECT_EQ(first->get_dNextReplicate(&next), S_OK);
    EXPECT_EQ(error, VARIANT_FALSE);
    EXPECT_EQ(ready, VARIANT_FALSE);
    EXPECT_EQ(last, 0);
    EXPECT_EQ(next, 0);
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, TableObjectIsConfiguredByItsInit)
{
    EXPECT_EQ(factory_.createReplicationTable(ONE_WAY, L"patient", L"", L"", UNKNOWN)->sTable(), L"patient");
    EXPECT_EQ(raised([&] { factory_.createReplicationTable(ONE_WAY, L"patient", L"child", L"", UNKNOWN); }),
              (Error{kOwnErrorRaised, L"clsReplicateTable.init",
                     L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"}));
}

} // namespace
