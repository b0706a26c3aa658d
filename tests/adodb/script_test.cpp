#include "database_test.h"

#include <vector>

namespace adodb {
namespace {

/// What a script writes under the console script host.
std::string outputOf(const std::wstring& script)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inherit, 0))
        return "no pipe";
    std::wstring line = L"cscript.exe //nologo \"" + script + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = write;
    PROCESS_INFORMATION process = {};
    const BOOL started =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle(write);
    std::string output = started ? "" : "cscript does not start";
    char buffer[4096];
    for (DWORD bytes = 0; started && ReadFile(read, buffer, sizeof buffer, &bytes, nullptr) && bytes > 0;)
        output.append(buffer, bytes);
    CloseHandle(read);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return output;
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
    EXPECT_EQ(outputOf(std::wstring(SCRIPT_FOLDER) + L"/recordset.vbs"),
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
