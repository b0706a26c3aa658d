#include "Failure.h"

#include "result_text.h"
#include "text.h"

using nlohmann::ordered_json;

namespace {

Failure failed(ordered_json error, ExitCode exitCode)
{
    std::string text = errorText(error);
    return {{{"error", std::move(error)}}, std::move(text), exitCode};
}

} // namespace

ordered_json errorJson(const com::Error& error)
{
    return {{"number", error.number},
            {"hex", hexNumber(error)},
            {"source", toUtf8(error.source)},
            {"text", trimmed(toUtf8(error.description))},
            {"todo", advice(error)}};
}

Failure currentFailure()
{
    try {
        throw;
    }
    catch (const FailedRun& run) {
        return run.failure;
    }
    catch (const HostError& error) {
        return failed({{"text", error.what()}, {"todo", error.todo()}}, error.exitCode());
    }
    catch (...) {
        ordered_json error = errorJson(com::currentError());
        if (resultText(error["todo"]).empty())
            error["todo"] = kCheckAll;
        return failed(std::move(error), kFailed);
    }
}
