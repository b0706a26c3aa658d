#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

// In this program the entry object is compiled with QUINMARK_TEST_FAILED_CONNECTION.
TEST_F(RecordingTest, TestHookFailsInitWithBothConnectionsOpen)
{
    EXPECT_EQ(raised([&] { connectedSettings(); }),
              (com::Error{static_cast<long>(0x80042710), L"Factory.init", L"Test failed connction"}));
    EXPECT_EQ(settings().localConnection()->getConn().state(), 1);
    EXPECT_EQ(settings().remoteConnection()->getConn().state(), 1);
}

} // namespace
