#pragma once

#include "com/error.h"

#include <stdexcept>
#include <string>

/// The program's exit codes.
enum ExitCode : int
{
    kDone = 0,
    /// Failed, and may be tried again.
    kFailed = 1,
    /// Done, but conflicts or errors were recorded.
    kRecorded = 2,
    /// The command line or the configuration is wrong, or a file cannot be written.
    kUsage = 3,
    /// The site is not ready or in error, another run goes on, or check found something wrong.
    kNotReady = 4,
    /// The look ahead stopped the run before anything was written.
    kGuarded = 7,
};

/// A failure of the host itself, with the exit code that tells of it and, where that is not obvious, what to do about
/// it. Failures of the component and of ADO are com::Error and end with kFailed.
class HostError : public std::runtime_error
{
public:
    HostError(ExitCode exitCode, const std::string& text, std::string todo = {})
        : std::runtime_error(text),
          exitCode_(exitCode),
          todo_(std::move(todo))
    {
    }
    ExitCode exitCode() const { return exitCode_; }
    const std::string& todo() const { return todo_; }

private:
    ExitCode exitCode_;
    std::string todo_;
};

/// The failure code that stands for an error, as 0x and eight digits.
std::string hexNumber(const com::Error& error);

/// Advice for a control record that is not there, and for one that begins no interval.
inline constexpr char kInsertControlRecord[] = "Insert the site's row into replication_control of the local database.";
inline constexpr char kSetLastTimestamp[] =
    "Set last_timestamp of the site's control record to a date before all changes that are to be replicated.";

/// Advice for a server that is not reached, or not any more.
inline constexpr char kServerIsLost[] =
    "The server does not answer; look whether it runs and the network is up, then try again.";

/// Advice for an error of a run that nothing is known about.
inline constexpr char kLookIntoLog[] = "The component's log tells the statement that failed (with -v every statement); "
                                       "the document \"After a failure\" says what a failed run leaves.";

/// The same for any other command.
inline constexpr char kCheckAll[] = "`quinrep check` looks at all that a run needs, and says what to do.";

/// The failure of a command that needs the site's control record and finds none.
HostError missingControlRecord();

/// Advice for an error; empty when nothing is known.
std::string advice(const com::Error& error);
