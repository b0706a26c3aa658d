#include "control/log.h"

#include "com/convert.h"
#include "control/Factory.h"
#include "control/settings.h"
#include "support/MessageBoxes.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "version.h"

using namespace quinmark;

namespace {

using com::Error;
using Entries = std::vector<std::wstring>;

class WriteLogTest : public RecordingTest
{
protected:
    WriteLogTest() { settings().sLogFile = logFile(); }

    void setLevel(short level) { settings().iLogLevel = level; }

    Error failedWrite(const std::wstring& path)
    {
        settings().sLogFile = path;
        return raised([] { Utils::WriteLog(LOG_INFO, L"text"); });
    }

    const Error exitingMethod_{static_cast<long>(0x80040001), L"Utils.WriteLog", L"Exiting method"};
};

TEST_F(WriteLogTest, EntryBelowTheThresholdDoesNotTouchTheFile)
{
    setLevel(3);
    Utils::WriteLog(LOG_STAT, L"unseen");
    EXPECT_EQ(GetFileAttributesW(logFile().c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(WriteLogTest, EntryAtTheThresholdHasAnEmptyLineAndADate)
{
    setLevel(3);
    Utils::WriteLog(LOG_INFO, L"message");
    const std::string text = logBytes();
    const size_t mark = text.find(": INFO : message\r\n");
    ASSERT_EQ(text.substr(0, 2), "\r\n");
    ASSERT_NE(mark, std::string::npos);
    EXPECT_EQ(mark + std::string(": INFO : message\r\n").size(), text.size());
    const DATE stamp =
        com::toDate(_variant_t(std::wstring(text.begin() + 2, text.begin() + static_cast<long>(mark)).c_str()));
    SYSTEMTIME time;
    GetLocalTime(&time);
    DATE now = 0;
    SystemTimeToVariantTime(&time, &now);
    EXPECT_NEAR(stamp, now, 60.0 / 86400.0);
}

TEST_F(WriteLogTest, EveryLevelHasItsTag)
{
    setLevel(1);
    for (const short level : {LOG_DEBUG, LOG_STAT, LOG_INFO, LOG_WARN})
        Utils::WriteLog(level, L"x");
    EXPECT_EQ(logEntries(), (Entries{L"DEBUG: x", L"STAT : x", L"INFO : x", L"WARN : x"}));
}

TEST_F(WriteLogTest, LevelOutsideTheTableHasNoTag)
{
    setLevel(-1);
    Utils::WriteLog(0, L"zero");
    Utils::WriteLog(-1, L"minus one");
    EXPECT_EQ(logEntries(), (Entries{L"zero", L"minus one"}));
}

TEST_F(WriteLogTest, RawMessageIsOneLineAndNothingElse)
{
    Utils::WriteLog(LOG_INFO, L"raw", true);
    EXPECT_EQ(logBytes(), "raw\r\n");
}

TEST_F(WriteLogTest, RawMessageBelowTheThresholdIsNotWritten)
{
    setLevel(3);
    Utils::WriteLog(LOG_STAT, L"raw", true);
    EXPECT_EQ(logBytes(), "");
}

TEST_F(WriteLogTest, EntriesAreAppendedInCallOrder)
{
    Utils::WriteLog(LOG_INFO, L"first");
    Utils::WriteLog(LOG_INFO, L"body 1", true);
    Utils::WriteLog(LOG_INFO, L"body 2", true);
    Utils::WriteLog(LOG_WARN, L"two\r\nlines");
    EXPECT_EQ(logEntries(), (Entries{L"INFO : first\r\nbody 1\r\nbody 2", L"WARN : two\r\nlines"}));
}

TEST_F(WriteLogTest, TextIsInTheAnsiCodePage)
{
    Utils::WriteLog(LOG_INFO, L"Z\u00FCrich", true);
    EXPECT_EQ(logBytes(), "Z\xFCrich\r\n");
}

TEST_F(WriteLogTest, FileIsFreeBetweenEntries)
{
    Utils::WriteLog(LOG_INFO, L"gone", true);
    ASSERT_TRUE(DeleteFileW(logFile().c_str()));
    Utils::WriteLog(LOG_INFO, L"anew", true);
    EXPECT_EQ(logBytes(), "anew\r\n");
}

TEST_F(WriteLogTest, ErrorIsWrittenAndRecordedAsTheRunsError)
{
    connectedSettings();
    Utils::WriteLog(LOG_ERROR, L"row lost");
    EXPECT_EQ(logEntries(), (Entries{L"ERROR: row lost"}));
    EXPECT_EQ(ado().statements(), (std::vector<AdoStatement>{{L"source", L"SetReplicationError(0, 1, \"row lost\")"}}));
}

TEST_F(WriteLogTest, LevelAboveErrorIsRecordedToo)
{
    connectedSettings();
    Utils::WriteLog(6, L"row lost");
    EXPECT_EQ(logEntries(), (Entries{L"row lost"}));
    EXPECT_EQ(ado().statements(), (std::vector<AdoStatement>{{L"source", L"SetReplicationError(0, 1, \"row lost\")"}}));
}

TEST_F(WriteLogTest, ErrorIsWrittenBeforeItIsRecorded)
{
    connectedSettings();
    std::string written;
    ado().whenExecuting(L"SetReplicationError", [&] { written = logBytes(); });
    Utils::WriteLog(LOG_ERROR, L"row lost", true);
    EXPECT_EQ(written, "row lost\r\n");
}

TEST_F(WriteLogTest, ErrorBelowTheThresholdIsNeitherWrittenNorRecorded)
{
    ConnectOptions options;
    options.logLevel = 6;
    connectedSettings(options);
    Utils::WriteLog(LOG_ERROR, L"row lost");
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

TEST_F(WriteLogTest, LesserEntriesAreNotRecorded)
{
    connectedSettings();
    Utils::WriteLog(LOG_WARN, L"careful");
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

TEST_F(WriteLogTest, MissingDirectoryShowsOneBoxAndRaises)
{
    MessageBoxes boxes;
    EXPECT_EQ(failedWrite(logFile() + L"\\missing\\file.log"), exitingMethod_);
    EXPECT_EQ(boxes.shown(), (std::vector<ShownBox>{{kComponentName, L"Utils.WriteLog: Path not found", {L"OK"}}}));
}

TEST_F(WriteLogTest, DirectoryInPlaceOfTheFileShowsItsOwnReason)
{
    MessageBoxes boxes;
    const std::wstring directory = logFile().substr(0, logFile().rfind(L'\\'));
    EXPECT_EQ(failedWrite(directory), exitingMethod_);
    EXPECT_EQ(boxes.texts(), (Entries{L"Utils.WriteLog: Path/File access error"}));
}

TEST_F(WriteLogTest, FileHeldByAnotherShowsItsOwnReason)
{
    MessageBoxes boxes;
    const HANDLE held =
        CreateFileW(logFile().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(failedWrite(logFile()), exitingMethod_);
    CloseHandle(held);
    EXPECT_EQ(boxes.texts(), (Entries{L"Utils.WriteLog: Permission denied"}));
}

TEST_F(WriteLogTest, EmptyPathShowsABoxAndRaises)
{
    MessageBoxes boxes;
    EXPECT_EQ(failedWrite(L""), exitingMethod_);
    EXPECT_EQ(boxes.shown().size(), 1U);
}

TEST_F(WriteLogTest, FailureToRecordTheErrorShowsABoxAndRaises)
{
    MessageBoxes boxes;
    connectedSettings();
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(raised([] { Utils::WriteLog(LOG_ERROR, L"row lost"); }), exitingMethod_);
    EXPECT_EQ(boxes.texts(), (Entries{L"Utils.WriteLog: Connection lost"}));
    EXPECT_EQ(logEntries(), (Entries{L"ERROR: row lost"}));
}

TEST_F(WriteLogTest, ErrorWithoutAnyConnectionShowsABoxAndRaises)
{
    MessageBoxes boxes;
    EXPECT_EQ(raised([] { Utils::WriteLog(LOG_ERROR, L"row lost"); }), exitingMethod_);
    EXPECT_EQ(boxes.texts(), (Entries{L"Utils.WriteLog: Object variable or With block variable not set"}));
}

TEST_F(WriteLogTest, HostsWindowsTakeNoInputWhileTheBoxIsUp)
{
    MessageBoxes boxes;
    const HWND window = CreateWindowW(L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 100, 100, nullptr,
                                      nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    BOOL enabled = TRUE;
    boxes.whileShown([&] { enabled = IsWindowEnabled(window); });
    EXPECT_EQ(failedWrite(L""), exitingMethod_);
    EXPECT_FALSE(enabled);
    EXPECT_TRUE(IsWindowEnabled(window));
    DestroyWindow(window);
}

TEST_F(WriteLogTest, HostMayDisconnectWhileTheBoxIsUp)
{
    MessageBoxes boxes;
    connectedSettings();
    boxes.whileShown([] { Factory().disconnect(); });
    EXPECT_EQ(failedWrite(logFile() + L"\\missing\\file.log"), exitingMethod_);
    EXPECT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(ado().liveObjects(), 0);
}

} // namespace
