#pragma once

#include <string>
#include <string_view>

/// Texts are UTF-16 towards the platform and UTF-8 towards files, standard output and the browser.
std::string toUtf8(std::wstring_view text);
std::wstring toWide(std::string_view text);

/// Without the white space at its end that drivers leave.
std::string trimmed(std::string text);

/// With a capital letter at its beginning.
std::string capitalized(std::string text);

/// "1 row", "2 rows".
std::string counted(long long count, const char* one, const char* many);

bool isUtf8(std::string_view text);

/// Text in the ANSI code page, as the component's log has it.
std::wstring fromAnsi(std::string_view text);
/// Text in that of the console, as its programs write it.
std::wstring fromConsole(std::string_view text);
