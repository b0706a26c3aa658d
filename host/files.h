#pragma once

#include "Configuration.h"

#include <string>
#include <string_view>

/// A file beside the component's log, with the log's name and this ending.
std::string besideLog(const Configuration& configuration, const std::string& ending);

/// A path that does not depend on the current folder.
std::string absolutePath(const std::string& path);

/// Raises HostError(kUsage) when a file cannot be written: with the advice `todo`, unless another program has it open.
/// It is made where there is none.
void requireWritable(const std::string& what, const std::string& path, const std::string& todo);

/// What to do about a file that cannot be opened: `todo`, unless the reason, as GetLastError says, is another program.
std::string adviceOnFile(unsigned long reason, const std::string& todo);

/// Gives a file this content in one step, through another file beside it; whether that worked. Where it did not, the
/// file is as it was.
bool replaceFile(const std::string& path, std::string_view content);

/// Raises HostError(kUsage) when a file cannot be replaced. It changes nothing.
void requireReplaceable(const std::string& what, const std::string& path, const std::string& todo);

/// Now, in UTC, as 2026-11-21T09:48:34Z.
std::string utcNow();

/// Advice for a log, or a file beside it, that cannot be written.
inline constexpr char kNameAnotherLog[] =
    "Name a file in a folder that exists and may be written to: file under [log], or --log-file.";
