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

} // namespace

RecordingTest::RecordingTest()
{
    if (!kAttached)
        ADD_FAILURE() << "no thread slot for the settings";
    // Removes the settings that an earlier test left on this thread.
    detachThreadSettings();
}

RecordingTest::~RecordingTest()
{
    releaseConnections();
    detachThreadSettings();
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
    return static_cast<long>(std::ranges::count(calls, L"Recordset.Close()"));
}

std::string RecordingTest::logBytes() const
{
    std::ifstream file(std::filesystem::path(logFile_), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::wstring> RecordingTest::logEntries() const
{
    // An empty line, the date with the time unless that is midnight, and ": ".
    static const std::wregex head(LR"((^|\r\n)\r\n\d+/\d+/\d+( \d+:\d\d:\d\d [AP]M)?: )");
    const std::string bytes = logBytes();
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                                        text.data(), static_cast<int>(text.size()))));
    std::vector<std::wstring> entries;
    for (std::wsregex_iterator at(text.begin(), text.end(), head), end; at != end;) {
        const auto begin = (*at)[0].second;
        ++at;
        entries.emplace_back(begin, at == end ? text.end() - 2 : (*at)[0].first);
    }
    return entries;
}

AdoFailure connectionLost()
{
    return {E_FAIL, L"Connection lost"};
}
