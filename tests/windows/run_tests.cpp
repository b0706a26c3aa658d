// Runs the programs of the kit between two databases of a SQL Server and leaves results.txt:
//
//   run_tests OFFICE_DSN LAPTOP_DSN OFFICE_PREFIX LAPTOP_PREFIX
//
// programs.txt, beside it, names the programs; a script goes to the script host. docs/testing.md says how it is used.

#include "HostError.h"
#include "Registration.h"
#include "Results.h"
#include "TestDatabase.h"
#include "com/convert.h"
#include "passwords.h"
#include "support/Apartment.h"
#include "support/Folders.h"
#include "support/Requirements.h"
#include "text.h"

#include <atomic>
#include <iostream>
#include <shellapi.h>

namespace {

enum Status : int
{
    kPassed = 0,
    kFailed = 1,
    kRefused = 2,
};

constexpr const wchar_t* kSettings[] = {L"QUINMARK_OFFICE_DSN", L"QUINMARK_LAPTOP_DSN", L"QUINMARK_OFFICE_PREFIX",
                                        L"QUINMARK_LAPTOP_PREFIX"};
constexpr std::chrono::minutes kLongestProgram{60};

std::atomic<bool> g_stopped = false;

/// Ctrl+C ends the program of tests that runs, and no other begins.
BOOL WINAPI stop(DWORD)
{
    g_stopped = true;
    return TRUE;
}

/// The settings of the tests, for the programs that are started too.
void applySettings(wchar_t** arguments)
{
    for (const wchar_t* name : kSettings)
        SetEnvironmentVariableW(name, *++arguments);
    if (setting(L"QUINMARK_SERVER").empty())
        SetEnvironmentVariableW(L"QUINMARK_SERVER", L"sqlserver");
    if (setting(L"QUINMARK_PASSWORD").empty())
        SetEnvironmentVariableW(L"QUINMARK_PASSWORD", resolvePassword("prompt", "quinmarkapp_user").c_str());
    if (setting(L"QUINMARK_PASSWORD").empty())
        throw HostError(kUsage, "there is no password");
    SetEnvironmentVariableW(L"QUINMARK_KIT", L"1");
}

std::wstring windowsVersion()
{
    using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    // The documented functions answer with the version that the program was made for.
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    reinterpret_cast<GetVersion>(reinterpret_cast<void*>(GetProcAddress(system, "RtlGetVersion")))(&version);
    wchar_t locale[LOCALE_NAME_MAX_LENGTH] = L"";
    GetUserDefaultLocaleName(locale, LOCALE_NAME_MAX_LENGTH);
    return std::to_wstring(version.dwMajorVersion) + L"." + std::to_wstring(version.dwMinorVersion) + L"." +
           std::to_wstring(version.dwBuildNumber) + (isWine() ? L" (Wine)" : L"") + L", locale " + locale;
}

/// The two databases, for a moment: tests count the connections.
struct Databases
{
    TestDatabase office{setting(L"QUINMARK_OFFICE_DSN"), setting(L"QUINMARK_PASSWORD")};
    TestDatabase laptop{setting(L"QUINMARK_LAPTOP_DSN"), setting(L"QUINMARK_PASSWORD")};
};

/// Raises HostError, and has changed nothing, unless tests may use both databases.
void claim(const Databases& databases)
{
    for (const TestDatabase* side : {&databases.office, &databases.laptop})
        if (const std::wstring refusal = side->refusal(); !refusal.empty())
            throw HostError(kUsage, toUtf8(refusal));
    databases.office.claim();
    databases.laptop.claim();
}

void saySurroundings(Results& results, const Databases& databases)
{
    const com::Dispatch connection = com::Dispatch::create(L"ADODB.Connection");
    results.say("QuinmarkRepDLL: " + trimmed(contentOf(sourceFile(L"VERSION").wstring())));
    results.say("Windows: " + toUtf8(windowsVersion()));
    results.say("ADO: " + toUtf8(com::toText(connection.property(L"Version"))));
    results.say("office: " + toUtf8(databases.office.server()));
    results.say("laptop: " + toUtf8(databases.laptop.server()));
}

TestOutput outputOf(const std::string& program)
{
    const std::wstring file = L"\"" + builtFile(program).wstring() + L"\"";
    const bool isScript = program.ends_with(".vbs");
    if (isScript && !isRegistered())
        return {.skipped = {"all: needs the component registered, from the program's folder"}};
    ChildProcess process(isScript ? L"cscript.exe //nologo " + file : file, builtFile(L"").wstring());
    return readTestOutput(process.wait(kLongestProgram));
}

/// A step that must not fail; its failure is a result.
template <class Step>
void attempt(Results& results, const std::string& what, const Step& step)
{
    try {
        step();
    }
    catch (const com::Error& error) {
        results.add(what, {.failed = {toUtf8(error.description)}});
    }
    catch (const std::exception& error) {
        results.add(what, {.failed = {error.what()}});
    }
}

void runPrograms(Results& results)
{
    const Registration registration;
    results.say(std::string("registered: ") + (isRegistered() ? "yes, for this run" : "no"));
    std::ifstream list(builtFile(L"programs.txt"));
    for (std::string program; !g_stopped && list >> program;) {
        std::cout << program << " ..." << std::endl;
        attempt(results, program, [&] { results.add(program, outputOf(program)); });
    }
    if (g_stopped)
        results.add("run-tests.cmd", {.failed = {"stopped by Ctrl+C"}});
}

void release()
{
    const Databases databases;
    databases.office.release();
    databases.laptop.release();
}

Status run()
{
    Results results(sourceFile(L"results.txt"), setting(L"QUINMARK_PASSWORD"));
    try {
        const Databases databases;
        claim(databases);
        saySurroundings(results, databases);
    }
    catch (const com::Error& error) {
        results.say("REFUSED: " + toUtf8(error.description));
        return kRefused;
    }
    catch (const HostError& refusal) {
        results.say(std::string("REFUSED: ") + refusal.what());
        return kRefused;
    }
    attempt(results, "registration", [&] { runPrograms(results); });
    attempt(results, "emptying the databases", release);
    return results.sayWhetherPassed() ? kPassed : kFailed;
}

} // namespace

int main()
{
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != static_cast<int>(std::size(kSettings)) + 1) {
        std::cerr << "usage: run-tests.cmd OFFICE_DSN LAPTOP_DSN OFFICE_PREFIX LAPTOP_PREFIX\n";
        return kRefused;
    }
    try {
        applySettings(arguments);
        SetConsoleCtrlHandler(stop, TRUE);
        const Apartment apartment;
        return run();
    }
    catch (const std::exception& error) {
        std::cerr << "run-tests.cmd: " << error.what() << '\n';
    }
    return kRefused;
}
