#include "control/error_state.h"

#include "control/Factory.h"
#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

class ErrorStateTest : public RecordingTest
{
protected:
    ErrorStateTest() { connectedSettings({.site = 1, .role = L"DESTINATION"}); }

    /// Name, type, direction, size and value of every parameter sent since the last time.
    Lines parameters()
    {
        Lines found;
        for (const std::wstring& call : ado().calls())
            if (const size_t at = call.find(L".CreateParameter("); at != std::wstring::npos)
                found.push_back(call.substr(call.find(L'(', at)));
        ado().forget();
        return found;
    }
};

TEST_F(ErrorStateTest, ErrorIsRecordedInTheLocalDatabaseBySiteFlagAndText)
{
    Utils::setError(true, L"row lost");
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"SetReplicationError(1, 1, \"row lost\")"}}));
    EXPECT_EQ(parameters(),
              (Lines{L"(\"0\", 2, 1, 0, 1)", L"(\"1\", 16, 1, 0, 1)", L"(\"2\", 200, 1, 8, \"row lost\")"}));
    Utils::setError(false, L"");
    EXPECT_EQ(parameters(), (Lines{L"(\"0\", 2, 1, 0, 1)", L"(\"1\", 16, 1, 0, 0)", L"(\"2\", 200, 1, 0, Null)"}));
    Utils::resetError();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"setReplicationError(1, 0, Null)"}}));
    EXPECT_EQ(parameters(), (Lines{L"(\"0\", 2, 1, 0, 1)", L"(\"1\", 16, 1, 0, 0)", L"(\"2\", 200, 1, 1, Null)"}));
}

TEST_F(ErrorStateTest, ErrorIsRecordedOnAnOpenConnectionOnlyAndResetOnAny)
{
    for (const long state : {0, 5}) {
        ado().setState(L"destination", state);
        ado().forget();
        Utils::setError(true, L"x");
        EXPECT_EQ(ado().callsAndReads(), Lines{L"Connection(destination).State"});
        Utils::resetError();
        EXPECT_EQ(ado().statements().size(), 1U);
    }
    releaseConnections();
    EXPECT_EQ(raised([] { Utils::setError(true, L"x"); }),
              (Error{91, L"Utils.setError", L"Object variable or With block variable not set"}));
}

TEST_F(ErrorStateTest, EveryFailureIsRaisedUnderTheRoutinesName)
{
    const auto expectFailures = [&](const std::function<void()>& routine, const wchar_t* sSource) {
        ado().forget();
        routine();
        const size_t calls = ado().callCount();
        ASSERT_GT(calls, 10U);
        for (size_t call = 1; call <= calls; ++call) {
            ado().failCall(call, connectionLost());
            const Error error = raised(routine);
            EXPECT_EQ(error.source, sSource) << call;
            EXPECT_EQ(error.number, E_FAIL) << call;
        }
    };
    expectFailures([] { Utils::setError(true, L"x"); }, L"Utils.setError");
    expectFailures(Utils::resetError, L"Utils.resetError");
}

TEST_F(ErrorStateTest, EntryObjectRecordsAndResets)
{
    Factory().setError(true, L"stopped by host");
    Factory().resetError();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"SetReplicationError(1, 1, \"stopped by host\")"},
                                              {L"destination", L"setReplicationError(1, 0, Null)"}}));
    ado().cut(L"destination", connectionLost());
    EXPECT_EQ(raised([] { Factory().setError(true, L"x"); }), (Error{E_FAIL, L"Factory.setError", L"Connection lost"}));
    EXPECT_EQ(raised([] { Factory().resetError(); }), (Error{E_FAIL, L"Factory.resetError", L"Connection lost"}));
}

} // namespace
