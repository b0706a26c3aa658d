#pragma once

#include <string>
#include <vector>

std::string toUtf8(const std::wstring& text);

/// The fields of a line: UTF-8, separated by tabs, with \t \n \r \\ for these characters. A carriage return at the end
/// is no part of it.
std::vector<std::wstring> splitLine(const std::string& line);

/// The reverse of splitLine.
std::string joinLine(const std::vector<std::wstring>& fields);
