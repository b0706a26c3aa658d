#include "Quinrep.h"

#include "Schema.h"
#include "com/error.h"
#include "text.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr DWORD kLongestRun = 60000;

std::wstring temporaryPath(const std::wstring& name)
{
    static int number = 0;
    return std::filesystem::temp_directory_path() /
           (L"quinrep_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++number) + L"_" + name);
}

std::wstring configurationPath()
{
    return std::filesystem::temp_directory_path() / (L"quinrep_" + std::to_wstring(GetCurrentProcessId()) + L".toml");
}

HANDLE inheritedFile(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

std::string contentOf(const std::wstring& path)
{
    std::ostringstream text;
    text << std::ifstream(std::filesystem::path(path), std::ios::binary).rdbuf();
    std::string content = text.str();
    std::erase(content, '\r');
    return content;
}

std::filesystem::path builtProgram()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).replace_filename(L"quinrep.exe");
}

std::string side(const char* name, const std::wstring& dsn, const std::wstring& prefix, const std::string& password)
{
    return std::string("[") + name + "]\ndsn = '" + toUtf8(dsn) + "'\nprefix = '" + toUtf8(prefix) + "'\npassword = '" +
           password + "'\n";
}

} // namespace

QuinrepProcess::QuinrepProcess(const std::wstring& arguments)
    : outputPath_(temporaryPath(L"output")),
      messagesPath_(temporaryPath(L"messages"))
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = inheritedFile(outputPath_);
    startup.hStdError = inheritedFile(messagesPath_);
    std::wstring line = L"\"" + builtProgram().wstring() + L"\" " + arguments;
    const BOOL started =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process_);
    const DWORD reason = GetLastError();
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (!started)
        com::check(HRESULT_FROM_WIN32(reason));
}

QuinrepProcess::~QuinrepProcess()
{
    TerminateProcess(process_.hProcess, 99);
    WaitForSingleObject(process_.hProcess, kLongestRun);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
    DeleteFileW(outputPath_.c_str());
    DeleteFileW(messagesPath_.c_str());
}

Ended QuinrepProcess::wait()
{
    Ended ended;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kLongestRun), WAIT_OBJECT_0) << "quinrep does not end";
    GetExitCodeProcess(process_.hProcess, &ended.exitCode);
    ended.output = contentOf(outputPath_);
    ended.messages = contentOf(messagesPath_);
    return ended;
}

void Quinrep::TearDown()
{
    DeleteFileW(configurationPath().c_str());
    for (const wchar_t* ending : {L".last-run.json", L".decisions.jsonl"})
        DeleteFileW(std::filesystem::path(host().logFile).replace_extension(ending).c_str());
    PracticePair::TearDown();
}

std::wstring Quinrep::commandLine(const std::wstring& arguments)
{
    const HostSettings& settings = host();
    std::ofstream file(std::filesystem::path(configurationPath()), std::ios::binary);
    file << "site = '" << (settings.site == OFFICES ? "offices" : "laptop") << "'\nlocal = '"
         << (settings.role == L"SOURCE" ? "source" : "destination") << "'\nprogram_version = '" << programVersion
         << "'\nfrequency = 600\n"
         << side("source", settings.sourceDsn, settings.sourcePrefix, passwordSource)
         << side("destination", settings.destinationDsn, settings.destinationPrefix, passwordSource)
         << "[log]\nfile = '" << toUtf8(settings.logFile) << "'\nlevel = 1\n"
         << sections << tables;
    return L"-c \"" + configurationPath() + L"\" " + arguments;
}

Ended Quinrep::quinrep(const std::wstring& arguments)
{
    return QuinrepProcess(commandLine(arguments)).wait();
}

Ended Quinrep::quinrepJson(const std::wstring& arguments, const std::string& schema)
{
    const Ended ended = quinrep(arguments + L" --json");
    EXPECT_EQ(breachesOf(schema, ended.json()), std::vector<std::string>{}) << ended.output;
    return ended;
}
