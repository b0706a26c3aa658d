#include "recording_fixture.h"

#include "control/Factory.h"
#include "control/settings.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

using namespace quinmark;

namespace {

const bool kAttached = attachComponent(nullptr);

std::wstring newDirectory()
{
    static int number = 0;
    wchar_t temporary[MAX_PATH + 1];
    GetTempPathW(MAX_PATH, temporary);
    const std::wstring path = std::wstring(temporary) + L"quinmark-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(++number);
    CreateDirectoryW(path.c_str(), nullptr);
    return path;
}

std::string ansiText(const std::wstring& text)
{
    std::string ansi(text.size() * 2 + 1, '\0');
    const int length = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), ansi.data(),
                                           static_cast<int>(ansi.size()), nullptr, nullptr);
    ansi.resize(static_cast<size_t>(length));
    return ansi;
}

std::wstring wideText(const std::string& text)
{
    std::wstring wide(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                           static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(length));
    return wide;
}

} // namespace

RecordingTest::RecordingTest() : directory_(newDirectory()), logFile_(directory_ + L"\\replication.log")
{
    if (!kAttached)
        ADD_FAILURE() << "no thread slot for the settings";
    // Whatever an earlier test left on this thread.
    detachThreadSettings();
}

RecordingTest::~RecordingTest()
{
    releaseConnections();
    detachThreadSettings();
    DeleteFileW(logFile_.c_str());
    RemoveDirectoryW(directory_.c_str());
}

void RecordingTest::connectedSettings(const ConnectOptions& options)
{
    Factory().init(options.site, options.role, options.sourceDB, L"source", L"sourcePassword", options.destinationDB,
                   L"destination", L"destinationPassword", options.logLevel, logFile_);
    ado_.forget();
}

void RecordingTest::releaseConnections()
{
    settings().releaseLocalConnection();
    settings().releaseRemoteConnection();
}

long RecordingTest::closedResults() const
{
    const std::vector<std::wstring> calls = ado_.calls();
    return static_cast<long>(std::count(calls.begin(), calls.end(), L"Recordset.Close()"));
}

std::string RecordingTest::logBytes() const
{
    std::ifstream file(ansiText(logFile_), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::wstring> RecordingTest::logEntries() const
{
    // An empty line, the date with the time unless that is midnight, and ": ".
    static const std::wregex head(LR"((^|\r\n)\r\n\d+/\d+/\d+( \d+:\d\d:\d\d [AP]M)?: )");
    const std::wstring text = wideText(logBytes());
    std::vector<std::wstring> entries;
    size_t begin = std::wstring::npos;
    for (std::wsregex_iterator at(text.begin(), text.end(), head), end; at != end; ++at) {
        if (begin != std::wstring::npos)
            entries.push_back(text.substr(begin, static_cast<size_t>(at->position()) - begin));
        begin = static_cast<size_t>(at->position() + at->length());
    }
    if (begin != std::wstring::npos)
        entries.push_back(text.substr(begin, text.size() - begin - 2));
    return entries;
}

AdoFailure connectionLost(AdoMoment moment)
{
    return {E_FAIL, L"Connection lost", L"Test provider", moment};
}
