#include "control/log.h"

#include "com/convert.h"
#include "com/error.h"
#include "control/RaiseError.h"
#include "control/error_state.h"
#include "control/settings.h"
#include "version.h"

using namespace quinmark;

namespace Utils {
namespace {

const wchar_t* levelTag(short iLevel)
{
    switch (iLevel) {
    case LOG_DEBUG:
        return L"DEBUG: ";
    case LOG_STAT:
        return L"STAT : ";
    case LOG_INFO:
        return L"INFO : ";
    case LOG_WARN:
        return L"WARN : ";
    case LOG_ERROR:
        return L"ERROR: ";
    default:
        return L"";
    }
}

/// The automation runtime's number for a file operation that failed.
long fileErrorNumber(DWORD code)
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
        return com::kFileNotFound;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return com::kDiskFull;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        return com::kPermissionDenied;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
        return com::kPathNotFound;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return com::kBadFileName;
    default:
        return com::kPathFileAccess;
    }
}

std::string ansiText(const std::wstring& text)
{
    const int wideLength = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(CP_ACP, 0, text.data(), wideLength, nullptr, 0, nullptr, nullptr);
    std::string ansi(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.data(), wideLength, ansi.data(), length, nullptr, nullptr);
    return ansi;
}

class AppendedFile
{
public:
    explicit AppendedFile(const std::wstring& path)
        : handle_(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr))
    {
        if (handle_ == INVALID_HANDLE_VALUE)
            com::raiseRuntimeError(fileErrorNumber(GetLastError()));
    }
    ~AppendedFile() { CloseHandle(handle_); }
    AppendedFile(const AppendedFile&) = delete;
    AppendedFile& operator=(const AppendedFile&) = delete;

    void write(const std::string& text)
    {
        DWORD written = 0;
        const DWORD length = static_cast<DWORD>(text.size());
        if (!WriteFile(handle_, text.data(), length, &written, nullptr))
            com::raiseRuntimeError(fileErrorNumber(GetLastError()));
        if (written != length)
            com::raiseRuntimeError(com::kDiskFull);
    }

private:
    HANDLE handle_;
};

DATE now()
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    time.wMilliseconds = 0;
    DATE date = 0;
    SystemTimeToVariantTime(&time, &date);
    return date;
}

std::wstring entryText(short iLevel, const std::wstring& sMessage, bool bRaw)
{
    if (bRaw)
        return sMessage + L"\r\n";
    return L"\r\n" + com::dateText(now()) + L": " + levelTag(iLevel) + sMessage + L"\r\n";
}

} // namespace

bool isLogged(short iLevel)
{
    return iLevel >= settings().iLogLevel;
}

void WriteLog(short iLevel, const std::wstring& sMessage, bool bRaw)
try {
    if (!isLogged(iLevel))
        return;
    AppendedFile(settings().sLogFile).write(ansiText(entryText(iLevel, sMessage, bRaw)));
    if (iLevel >= LOG_ERROR)
        setError(true, sMessage);
}
catch (...) {
    showMessage(L"Utils.WriteLog: " + com::currentError().description);
    Common::RaiseError(L"Utils.WriteLog", 1, L"Exiting method");
}

void showMessage(const std::wstring& text)
{
    MessageBoxW(nullptr, text.c_str(), kComponentName, MB_OK | MB_TASKMODAL);
}

} // namespace Utils
