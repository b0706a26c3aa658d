#include "database_test.h"

namespace adodb {
namespace {

/// What a script writes under the console script host, which takes a path without a drive for a switch.
std::string outputOf(const std::wstring& script)
{
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    const std::wstring path = folder + (L"adodb_script_" + std::to_wstring(GetCurrentProcessId()) + L".txt");
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    &inherit, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    std::wstring line = L"cscript.exe //nologo \"" + script + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return "cscript does not start";
    const bool ended = WaitForSingleObject(process.hProcess, 60'000) == WAIT_OBJECT_0;
    if (!ended)
        TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    std::string output(4096, '\0');
    DWORD bytes = 0;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    ReadFile(file, output.data(), static_cast<DWORD>(output.size()), &bytes, nullptr);
    CloseHandle(file);
    output.resize(bytes);
    return ended ? output : output + "cscript does not end";
}

class ScriptTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        const HMODULE module = LoadLibraryW(ADODB_DLL);
        ASSERT_NE(module, nullptr);
        const auto registerServer = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")));
        ASSERT_NE(registerServer, nullptr);
        ASSERT_EQ(registerServer(), S_OK);
        FreeLibrary(module);
    }
};

TEST_F(ScriptTest, ClassesWorkFromVBScript)
{
    EXPECT_EQ(outputOf(L"Z:" SCRIPT_FOLDER L"/recordset.vbs"),
              "1|O'Brien|1|1|200|False\r\n"
              "2||2|2|200|True\r\n"
              "count 2\r\n"
              "id,name,\r\n"
              "state 0\r\n"
              "sum 42 affected -1\r\n"
              "a=40,b=2,\r\n"
              "affected 2\r\n"
              "3265 ADODB.Fields Item cannot be found in the collection corresponding to the requested name or "
              "ordinal.\r\n"
              "80040E37 Microsoft OLE DB Provider for ODBC Drivers 1 42P01\r\n"
              "8004D00E No transaction is active.\r\n");
}

} // namespace
} // namespace adodb
