#pragma once

#include "com/error.h"

#include <stdexcept>
#include <string>

/// How the program ends.
enum ExitCode : int
{
    kDone = 0,
    /// Failed, and may be tried again.
    kFailed = 1,
    /// Done, but conflicts or errors were recorded.
    kRecorded = 2,
    /// The command line or the configuration is wrong.
    kUsage = 3,
    /// The site is not ready, or its last run is in error.
    kNotReady = 4,
    /// The guard against mass deletion stopped the run before anything was written.
    kGuarded = 7,
};

/// A failure of the host itself, with the exit code that tells of it. Failures of the component and of ADO are
/// com::Error and end with kFailed.
class HostError : public std::runtime_error
{
public:
    HostError(ExitCode exitCode, const std::string& text) : std::runtime_error(text), exitCode_(exitCode) {}
    ExitCode exitCode() const { return exitCode_; }

private:
    ExitCode exitCode_;
};

/// A component's error in words: number in decimal and hexadecimal, source and text, and for the usual ones a line of
/// what to do.
std::string describe(const com::Error& error);

/// The failure code that stands for an error, as 0x and eight digits.
std::string hexNumber(const com::Error& error);

/// What to do about an error; empty when nothing is known.
std::string advice(const com::Error& error);
