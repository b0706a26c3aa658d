#pragma once

#include "db/clsConn.h"
#include "support/RecordingAdo.h"
#include "support/recording_error.h"

/// A test of a connection "office" that is open.
class ConnectionTest : public ::testing::Test
{
protected:
    using Error = com::Error;
    using Lines = std::vector<std::wstring>;
    using Statements = std::vector<AdoStatement>;

    ConnectionTest()
    {
        conn_.openConnection(L"office", L"");
        ado_.forget();
    }

    /// Fails each of the calls that `run` makes in turn, and expects the source and that nothing is left alive.
    template <class Run>
    void expectEveryFailureFrom(const std::wstring& source, size_t calls, Run run)
    {
        ado_.forget();
        run();
        EXPECT_EQ(ado_.callCount(), calls) << ::testing::PrintToString(source);
        for (size_t call = 1; call <= calls; ++call) {
            ado_.failCall(call, refused_);
            const Error error = raised(run);
            EXPECT_EQ(error.number, refused_.code) << call;
            EXPECT_EQ(error.source, source) << call;
            EXPECT_EQ(ado_.liveObjects(), 1) << call;
        }
    }

    RecordingAdo ado_;
    clsConn conn_;
    const AdoFailure refused_{static_cast<HRESULT>(0x80040E14), L"Refused", L"Provider"};
};
