#include "Failure.h"
#include "commands.h"
#include "commands/report.h"
#include "control/log.h"
#include "control/settings.h"
#include "passwords.h"
#include "text.h"
#include "version.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <functional>
#include <iostream>
#include <shellapi.h>

namespace {

using nlohmann::ordered_json;
using Command = std::function<Outcome(const Configuration&)>;

struct Options
{
    std::string configurationFile = "quinrep.toml";
    std::string logFile;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool watch = false;
    RunOptions run;
    std::string reportFile;
    ResolveOptions resolve;
    std::string conflictId;
    bool all = false;
};

const std::map<std::string, enumResolution> kUses = {
    {"source", USE_SOURCE}, {"destination", USE_DESTINATION}, {"later", WORK_LATER}};

std::vector<std::string> arguments()
{
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> utf8;
    for (int index = 1; index < count; ++index)
        utf8.push_back(toUtf8(wide[index]));
    LocalFree(wide);
    std::reverse(utf8.begin(), utf8.end()); // as CLI11 takes them
    return utf8;
}

int initCommand(const std::string& path)
{
    if (std::ifstream(toWide(path).c_str()))
        throw HostError(kUsage, path + " exists already; it is left as it is");
    std::ofstream file(toWide(path).c_str());
    if (!(file << configurationTemplate()).flush())
        throw HostError(kFailed, path + " cannot be written");
    std::cout << path << " written; fill in the databases and tables, then try `quinrep check`\n";
    return kDone;
}

Configuration readConfiguration(const Options& options)
{
    Configuration configuration = loadConfiguration(options.configurationFile);
    if (!options.logFile.empty())
        configuration.logFile = options.logFile;
    if (options.verbose) {
        configuration.logLevel = LOG_DEBUG;
        std::cerr << "quinrep: " << options.configurationFile << ": " << configuration.tables.size() << " tables from "
                  << configuration.source.dsn << " to " << configuration.destination.dsn
                  << ", every statement logged to " << configuration.logFile << std::endl;
    }
    resolvePasswords(configuration);
    return configuration;
}

/// Tells an outcome on standard output, and in the report's file where one is wanted. In JSON it is one object:
/// indented, or on a line of its own where more than one may come.
ExitCode tell(const Options& options, const std::string& name, const Outcome& outcome)
{
    std::cout << (options.json ? outcome.result.dump(options.watch ? -1 : 2) + "\n" : humanText(name, outcome.result))
              << std::flush;
    if (options.reportFile.empty() || writeReport(options.reportFile, outcome.result))
        return outcome.exitCode;
    std::cerr << "quinrep: " << options.reportFile << " cannot be written" << std::endl;
    return kFailed;
}

int execute(const Options& options, const std::string& name, const Command& command)
{
    try {
        const Configuration configuration = readConfiguration(options);
        if (!options.watch)
            return tell(options, name, command(configuration));
        return watchCommand(configuration, options.run, [&](const Outcome& outcome) { tell(options, name, outcome); });
    }
    catch (...) {
        const Failure failure = currentFailure();
        if (options.json)
            std::cout << failure.result.dump(2) << std::endl;
        std::cerr << "quinrep: " << failure.text << std::endl;
        return failure.exitCode;
    }
}

/// The command line. Each subcommand leaves what is to be done in `chosen`.
void describeCommands(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    app.require_subcommand(1);
    app.set_version_flag("--version", "quinrep " + toUtf8(kVersion));
    app.add_option("-c,--config", options.configurationFile, "The configuration file")->capture_default_str();
    app.add_option("--log-file", options.logFile, "The component's log, instead of the configuration's");
    app.add_flag("-q,--quiet", options.quiet, "No progress");
    app.add_flag("-v,--verbose", options.verbose, "Log every statement");
    app.fallthrough();

    const auto add = [&](CLI::App& parent, const char* name, const char* help, Command command) {
        CLI::App* subcommand = parent.add_subcommand(name, help);
        subcommand->add_flag("--json", options.json, "Print one JSON object");
        subcommand->callback([&options, &chosen, name, command = std::move(command)] {
            chosen = [&options, name, command] { return execute(options, name, command); };
        });
        return subcommand;
    };

    app.add_subcommand("init", "Write a configuration file to start from")->callback([&] {
        chosen = [&] { return initCommand(options.configurationFile); };
    });
    add(app, "check", "Look whether everything is in place, and say what to do where not", checkCommand);
    add(app, "preview", "Show what a run would do; changes nothing", previewCommand);
    add(app, "verify", "Compare both sides in full; changes nothing", verifyCommand);
    add(app, "review", "Show the conflicts in a browser and resolve them there", reviewCommand);
    add(app, "status", "Show the control record, the last counters, waiting conflicts and log errors", statusCommand);

    CLI::App* run = add(app, "run", "Run once, or with --watch whenever a run is due",
                        [&](const Configuration& configuration) { return runCommand(configuration, options.run); });
    run->add_flag("--watch", options.watch, "Run whenever the control record's next_timestamp is due, until Ctrl-C");
    run->add_flag("--force", options.run.force, "Go on where the guard against mass deletion would stop");
    run->add_flag("--ready", options.run.markReady, "Mark the control records ready first");
    run->add_option("--report", options.reportFile, "Write the result as an HTML page too");
    run->add_flag("--reset-error", options.run.resetError, "Clear the recorded error first");

    CLI::App* conflicts = app.add_subcommand("conflicts", "List, show or resolve conflicts")->require_subcommand(1);
    add(*conflicts, "list", "List the conflicts that wait", listConflictsCommand);
    add(*conflicts, "show", "Show one conflict with its columns",
        [&](const Configuration& configuration) { return showConflictCommand(configuration, options.conflictId); })
        ->add_option("id", options.conflictId, "The conflict's id")
        ->required();
    CLI::App* resolve =
        add(*conflicts, "resolve", "Resolve one conflict or all", [&](const Configuration& configuration) {
            if (options.all != options.resolve.id.empty())
                throw HostError(kUsage, "name one conflict, or --all");
            if (!options.all && !options.resolve.table.empty())
                throw HostError(kUsage, "--table goes with --all");
            return resolveConflictsCommand(configuration, options.resolve);
        });
    resolve->add_option("id", options.resolve.id, "The conflict's id");
    resolve->add_flag("--all", options.all, "All conflicts");
    resolve->add_option("--table", options.resolve.table, "With --all: of this table only");
    resolve->add_option("--use", options.resolve.use, "source, destination or later")
        ->required()
        ->transform(CLI::CheckedTransformer(kUses));
}

int runProgram()
{
    Options options;
    std::function<int()> chosen;
    CLI::App app("Replicates a practice's databases through QuinmarkRepDLL.\n"
                 "Exit codes: 0 done, 1 failed, 2 done but conflicts or differences were recorded, 3 usage or "
                 "configuration, 4 not ready or in error, 7 stopped by the guard.",
                 "quinrep");
    describeCommands(app, options, chosen);
    try {
        app.parse(arguments());
        options.run.quiet = options.quiet;
        return chosen();
    }
    catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    }
    catch (...) {
        const Failure failure = currentFailure();
        std::cerr << "quinrep: " << failure.text << std::endl;
        return failure.exitCode;
    }
}

} // namespace

int main()
{
    SetConsoleOutputCP(CP_UTF8);
    if (!attachSettings() || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return kFailed;
    const int exitCode = runProgram();
    CoUninitialize();
    return exitCode;
}
