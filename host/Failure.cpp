#include "Failure.h"

#include "text.h"

#include <fmt/format.h>

using nlohmann::ordered_json;

ordered_json errorJson(const com::Error& error)
{
    return {{"number", error.number},
            {"hex", hexNumber(error)},
            {"source", toUtf8(error.source)},
            {"text", toUtf8(error.description)},
            {"todo", advice(error)}};
}

Failure currentFailure()
{
    try {
        throw;
    }
    catch (const HostError& error) {
        return {{{"error", {{"text", error.what()}, {"todo", ""}}}}, error.what(), error.exitCode()};
    }
    catch (...) {
        const com::Error error = com::currentError();
        return {{{"error", errorJson(error)}}, describe(error), kFailed};
    }
}
