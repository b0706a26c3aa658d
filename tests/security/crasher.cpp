// Starts a program, and when a line comes in lets a thread of it jump to where nothing is.
//
//   crasher PROGRAM ARGUMENT...
#include <windows.h>

#include <iostream>
#include <string>

namespace {

/// The command line without this program's own name, which holds no blank.
std::wstring givenCommand()
{
    const std::wstring line = GetCommandLineW();
    const size_t end = line.front() == L'"' ? line.find(L'"', 1) : line.find(L' ');
    return line.substr(line.find_first_not_of(L"\" ", end));
}

} // namespace

int main()
{
    std::wstring command = givenCommand();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION program = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &program))
        return 2;
    std::string line;
    std::getline(std::cin, line);
    const auto nowhere = reinterpret_cast<LPTHREAD_START_ROUTINE>(static_cast<UINT_PTR>(16));
    if (!CreateRemoteThread(program.hProcess, nullptr, 0, nowhere, nullptr, 0, nullptr))
        return 3;
    WaitForSingleObject(program.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(program.hProcess, &status);
    std::cout << "ended with " << std::hex << status << std::endl;
    return 0;
}
