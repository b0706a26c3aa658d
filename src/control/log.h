#pragma once

#include <string>

namespace quinmark {

/// Severity of a log entry; entries below the host's threshold are not written.
enum LogLevel : short
{
    LOG_DEBUG = 1,
    LOG_STAT = 2,
    LOG_INFO = 3,
    LOG_WARN = 4,
    LOG_ERROR = 5,
};

} // namespace quinmark

namespace Utils {

/// Whether entries of this severity are written.
bool isLogged(short iLevel);

/// Appends one entry to the log file, opened and closed for it: an empty line, then the date and time, the level and
/// the message; `bRaw` writes the message alone. Text is in the ANSI code page, lines end in CR LF. An ERROR entry is
/// also recorded as the run's error. Any failure shows a message box and raises 0x80040001 "Exiting method".
void WriteLog(short iLevel, const std::wstring& sMessage, bool bRaw = false);

/// Shows `text` in a box with an OK button, titled with the component's name, and blocks until it is closed. Windows of
/// the calling thread take no input meanwhile.
void showMessage(const std::wstring& text);

} // namespace Utils
