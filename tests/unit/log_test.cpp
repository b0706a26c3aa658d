#include "control/log.h"

#include "com/convert.h"
#include "control/Factory.h"
#include "control/settings.h"
#include "support/MessageBoxes.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Entries = std::vector<std::wstring>;

class WriteLogTest : public RecordingTest
{
protected:
    WriteLogTest() { settings().sLogFile = logFile(); }

    static void setLevel(short level) { settings().iLogLevel = level; }

    /// Writes an entry that cannot be written or recorded, and gives the texts of the boxes it shows.
    Entries boxesOfFailedWrite(const std::wstring& path, short level = LOG_INFO)
    {
        settings().sLogFile = path;
        EXPECT_EQ(raised([&] { Utils::WriteLog(level, L"text"); }),
                  (Error{static_cast<long>(0x80040001), L"Utils.WriteLog", L"Exiting method"}));
        return boxes_.texts();
    }

    MessageBoxes boxes_;
    const std::wstring missing_ = logFile() + L"\\missing\\file.log";
};

TEST_F(WriteLogTest, EntryBelowTheThresholdDoesNotTouchTheFile)
{
    setLevel(3);
    Utils::WriteLog(LOG_STAT, L"unseen");
    Utils::WriteLog(LOG_STAT, L"raw", true);
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
    const std::wstring stamp(text.begin() + 2, text.begin() + static_cast<long>(mark));
    SYSTEMTIME time;
    GetLocalTime(&time);
    DATE now = 0;
    SystemTimeToVariantTime(&time, &now);
    EXPECT_NEAR(com::toDate(com::textVariant(stamp)), now, 60.0 / 86400.0);
}

TEST_F(WriteLogTest, LevelsOfTheTableHaveTheirTags)
{
    setLevel(-1);
    for (const short level : {short{-1}, short{0}, short{LOG_DEBUG}, short{LOG_STAT}, short{LOG_INFO}, short{LOG_WARN}})
        Utils::WriteLog(level, L"x");
    EXPECT_EQ(logEntries(), (Entries{L"x", L"x", L"DEBUG: x", L"STAT : x", L"INFO : x", L"WARN : x"}));
}

TEST_F(WriteLogTest, RawMessageIsOneLineInTheAnsiCodePageAndNothingElse)
{
    Utils::WriteLog(LOG_INFO, L"Z\u00FCrich", true);
    EXPECT_EQ(logBytes(), "Z\xFCrich\r\n");
}

TEST_F(WriteLogTest, EntriesAreAppendedInCallOrder)
{
    Utils::WriteLog(LOG_INFO, L"first");
    Utils::WriteLog(LOG_INFO, L"body 1", true);
    Utils::WriteLog(LOG_INFO, L"body 2", true);
    Utils::WriteLog(LOG_WARN, L"two\r\nlines");
    EXPECT_EQ(logEntries(), (Entries{L"INFO : first\r\nbody 1\r\nbody 2", L"WARN : two\r\nlines"}));
}

TEST_F(WriteLogTest, FileIsFreeBetweenEntries)
{
    Utils::WriteLog(LOG_INFO, L"gone", true);
    ASSERT_TRUE(DeleteFileW(logFile().c_str()));
    Utils::WriteLog(LOG_INFO, L"anew", true);
    EXPECT_EQ(logBytes(), "anew\r\n");
}

struct LoggedLevel
{
    short threshold;
    short level;
    Entries entries;
    bool recorded;
};

TEST_F(WriteLogTest, ErrorThatIsWrittenIsRecordedAsTheRunsError)
{
    connectedSettings();
    const LoggedLevel levels[] = {
        {1, LOG_WARN, {L"WARN : row lost"}, false},
        {1, LOG_ERROR, {L"ERROR: row lost"}, true},
        {1, 6, {L"row lost"}, true},
        {6, LOG_ERROR, {}, false},
    };
    for (const auto& [threshold, level, entries, recorded] : levels) {
        setLevel(threshold);
        Utils::WriteLog(level, L"row lost");
        EXPECT_EQ(logEntries(), entries);
        const std::vector<AdoStatement> statement{{L"source", L"SetReplicationError(0, 1, \"row lost\")"}};
        EXPECT_EQ(ado().statements(), recorded ? statement : std::vector<AdoStatement>()) << level;
        ado().forget();
        DeleteFileW(logFile().c_str());
    }
}

TEST_F(WriteLogTest, ErrorIsWrittenBeforeItIsRecorded)
{
    connectedSettings();
    std::string written;
    ado().whenExecuting(L"SetReplicationError", [&] { written = logBytes(); });
    Utils::WriteLog(LOG_ERROR, L"row lost", true);
    EXPECT_EQ(written, "row lost\r\n");
}

TEST_F(WriteLogTest, FileThatCannotBeWrittenShowsOneBoxWithItsReasonAndRaises)
{
    boxesOfFailedWrite(missing_);
    EXPECT_EQ(boxes_.shown(), (std::vector<ShownBox>{{L"QuinmarkRepDLL", L"Utils.WriteLog: Path not found", {L"OK"}}}));
    EXPECT_EQ(boxesOfFailedWrite(L"").size(), 2U);
    const std::wstring directory = logFile().substr(0, logFile().rfind(L'\\'));
    EXPECT_EQ(boxesOfFailedWrite(directory).at(2), L"Utils.WriteLog: Path/File access error");
    const HANDLE held =
        CreateFileW(logFile().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(boxesOfFailedWrite(logFile()).at(3), L"Utils.WriteLog: Permission denied");
    CloseHandle(held);
}

TEST_F(WriteLogTest, ErrorThatCannotBeRecordedShowsABoxAndRaises)
{
    EXPECT_EQ(boxesOfFailedWrite(logFile(), LOG_ERROR),
              (Entries{L"Utils.WriteLog: Object variable or With block variable not set"}));
    connectedSettings();
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(boxesOfFailedWrite(logFile(), LOG_ERROR).at(1), L"Utils.WriteLog: Connection lost");
    EXPECT_EQ(logEntries(), (Entries{L"ERROR: text", L"ERROR: text"}));
}

TEST_F(WriteLogTest, HostsWindowsTakeNoInputWhileTheBoxIsUp)
{
    const HWND window = CreateWindowW(L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 100, 100, nullptr,
                                      nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    BOOL enabled = TRUE;
    boxes_.whileShown([&] { enabled = IsWindowEnabled(window); });
    boxesOfFailedWrite(missing_);
    EXPECT_FALSE(enabled);
    EXPECT_TRUE(IsWindowEnabled(window));
    DestroyWindow(window);
}

TEST_F(WriteLogTest, HostMayDisconnectWhileTheBoxIsUp)
{
    connectedSettings();
    boxes_.whileShown([] { Factory().disconnect(); });
    EXPECT_EQ(boxesOfFailedWrite(missing_).size(), 1U);
    EXPECT_EQ(ado().liveObjects(), 0);
}

} // namespace
