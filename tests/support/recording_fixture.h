#pragma once

#include "RecordingAdo.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

/// The settings with which a connected test was initialised. The DSNs are "source" and "destination", and so are the
/// labels of the connections; the passwords are "sourcePassword" and "destinationPassword".
struct ConnectOptions
{
    long site = 0; ///< OFFICES
    std::wstring role = L"SOURCE";
    std::wstring sourceDB = L"office.";
    std::wstring destinationDB = L"laptop.";
    short logLevel = 1;
};

/// A test with fresh thread settings, a recording ADO in place of the real one, and a log file of its own.
class RecordingTest : public ::testing::Test
{
protected:
    /// 15 November 2026 at noon.
    static constexpr DATE kNoon = 46341.5;

    RecordingTest();
    ~RecordingTest() override;

    RecordingAdo& ado() { return ado_; }

    /// Initialises the component through its entry object and forgets the calls that this made.
    void connectedSettings(const ConnectOptions& options = {});

    /// The number of result sets that were closed.
    long closedResults() const;

    /// Lets both connections go, so that only what the component leaked is left alive.
    void releaseConnections();

    const std::wstring& logFile() const { return logFile_; }
    /// The log file as it stands; empty when there is none.
    std::string logBytes() const;
    /// The entries of the log without empty line and date: "DEBUG: text". Raw lines belong to the entry before them.
    std::vector<std::wstring> logEntries() const;

private:
    RecordingAdo ado_;
    const TemporaryFolder folder_;
    const std::wstring logFile_ = folder_.file(L"replication.log");
};

/// A provider's failure for tests that only need one: 0x80004005 "Connection lost".
AdoFailure connectionLost();
