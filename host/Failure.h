#pragma once

#include "HostError.h"

#include <nlohmann/json.hpp>
#include <string>

/// How a command failed: for --json, for a person, and for the program that started this one.
struct Failure
{
    /// {"error": {...}}: text and todo, and for a failure of the component or of ADO its number, hex and source.
    nlohmann::ordered_json result;
    std::string text;
    ExitCode exitCode = kFailed;
};

/// A failure with all that its result has to tell.
struct FailedRun
{
    Failure failure;
};

/// An error of the component or of ADO as the "error" of a result.
nlohmann::ordered_json errorJson(const com::Error& error);

/// The exception that is being handled.
Failure currentFailure();
