#include "Failure.h"
#include "commands.h"
#include "commands/report.h"
#include "control/log.h"
#include "control/settings.h"
#include "passwords.h"
#include "text.h"
#include "version.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
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
    bool verbose = false;
    bool watch = false;
    RunOptions run;
    std::string reportFile;
    ResolveOptions resolve;
    std::string use;
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
    return utf8;
}

int initCommand(const std::string& path)
{
    if (std::error_code ignored; std::filesystem::exists(toWide(path), ignored))
        throw HostError(kUsage, path + " exists already; it is left as it is", "Name another file with -c.");
    std::ofstream file(toWide(path).c_str());
    if (!(file << configurationTemplate()).flush())
        throw HostError(kUsage, path + " cannot be written",
                        "Name a file with -c, in a folder that exists and may be written to.");
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

/// Tells what is in flight: for a person, with --json as an object, and in the report's file where one is wanted, which
/// else would still show an earlier run.
ExitCode tellFailure(const Options& options)
{
    const Failure failure = currentFailure();
    std::cerr << "quinrep: " << failure.text << std::endl;
    if (options.json)
        std::cout << failure.result.dump(options.watch ? -1 : 2) << std::endl;
    if (!options.reportFile.empty() && !writeReport(options.reportFile, failure.result))
        std::cerr << "quinrep: " << options.reportFile << " cannot be written" << std::endl;
    return failure.exitCode;
}

Outcome resolveChosenConflicts(const Configuration& configuration, const Options& options)
{
    if (options.all != options.resolve.id.empty())
        throw HostError(kUsage, "name one conflict, or --all");
    if (!options.all && !options.resolve.table.empty())
        throw HostError(kUsage, "--table goes with --all");
    ResolveOptions chosen = options.resolve;
    chosen.use = kUses.at(options.use);
    return resolveConflictsCommand(configuration, chosen);
}

/// The command line: it leaves what is to be done in `chosen`, and what was given in `options`.
class CommandLine
{
public:
    CommandLine()
    {
        app_.require_subcommand(1);
        app_.set_version_flag("--version", "quinrep " + toUtf8(kVersion));
        app_.add_option("-c,--config", options_.configurationFile, "The configuration file")->capture_default_str();
        app_.add_option("--log-file", options_.logFile, "The component's log, instead of the configuration's");
        app_.add_flag("-q,--quiet", options_.run.quiet, "No progress");
        app_.add_flag("-v,--verbose", options_.verbose, "Log every statement");
        app_.fallthrough();
        addCommands();
        addRun();
        addConflicts();
    }

    int go()
    {
        try {
            parse(arguments());
            return chosen_();
        }
        catch (const CLI::Success& asked) { // --help or --version
            return app_.exit(asked);
        }
        catch (...) {
            return tellFailure(options_);
        }
    }

private:
    void parse(std::vector<std::string> given)
    {
        // A script that asked for JSON gets it, also when the rest of the line is wrong.
        const bool json = std::find(given.begin(), given.end(), "--json") != given.end();
        try {
            std::reverse(given.begin(), given.end()); // as CLI11 takes them
            app_.parse(std::move(given));
        }
        catch (const CLI::Success&) {
            throw;
        }
        catch (const CLI::ParseError& error) {
            options_.json = json;
            throw HostError(kUsage, error.what(), "`quinrep --help` and `quinrep COMMAND --help` tell what there is.");
        }
    }

    CLI::App& add(CLI::App& parent, const char* name, const char* help, Command command)
    {
        CLI::App* subcommand = parent.add_subcommand(name, help);
        subcommand->add_flag("--json", options_.json, "Print one JSON object");
        subcommand->callback([this, name, command = std::move(command)] {
            chosen_ = [this, name, command] { return execute(name, command); };
        });
        return *subcommand;
    }

    int execute(const std::string& name, const Command& command)
    {
        const Configuration configuration = readConfiguration(options_);
        if (!options_.watch)
            return tell(options_, name, command(configuration));
        return watchCommand(configuration, options_.run,
                            [&](const Outcome& outcome) { tell(options_, name, outcome); });
    }

    void addCommands()
    {
        app_.add_subcommand("init", "Write a configuration file to start from")->callback([this] {
            chosen_ = [this] { return initCommand(options_.configurationFile); };
        });
        add(app_, "check", "Look whether everything is in place, and say what to do where not", checkCommand);
        add(app_, "preview", "Show what a run would do; changes nothing", previewCommand);
        add(app_, "verify", "Compare both sides in full; changes nothing", verifyCommand);
        add(app_, "review", "Show the conflicts in a browser and resolve them there", reviewCommand);
        add(app_, "status", "Show the control record, the last counters, waiting conflicts and log errors",
            statusCommand);
    }

    void addRun()
    {
        CLI::App& run =
            add(app_, "run", "Run once, or with --watch whenever a run is due",
                [this](const Configuration& configuration) { return runCommand(configuration, options_.run); });
        run.add_flag("--watch", options_.watch,
                     "Run whenever the control record's next_timestamp is due, until Ctrl-C");
        run.add_flag("--force", options_.run.force, "Go on where the guard against mass deletion would stop");
        run.add_flag("--ready", options_.run.markReady, "Mark the control records ready first");
        run.add_option("--report", options_.reportFile, "Write the result as an HTML page too");
        run.add_flag("--reset-error", options_.run.resetError, "Clear the recorded error first");
    }

    void addConflicts()
    {
        CLI::App& conflicts =
            *app_.add_subcommand("conflicts", "List, show or resolve conflicts")->require_subcommand(1);
        add(conflicts, "list", "List the conflicts that wait", listConflictsCommand);
        add(conflicts, "show", "Show one conflict with its columns",
            [this](const Configuration& configuration) {
                return showConflictCommand(configuration, options_.conflictId);
            })
            .add_option("id", options_.conflictId, "The conflict's id")
            ->required();
        CLI::App& resolve =
            add(conflicts, "resolve", "Resolve one conflict or all",
                [this](const Configuration& configuration) { return resolveChosenConflicts(configuration, options_); });
        resolve.add_option("id", options_.resolve.id, "The conflict's id");
        resolve.add_flag("--all", options_.all, "All conflicts");
        resolve.add_option("--table", options_.resolve.table, "With --all: of this table only");
        resolve.add_option("--use", options_.use, "Which copy wins, or later")
            ->required()
            ->check(CLI::IsMember({"source", "destination", "later"}));
    }

    CLI::App app_{"Replicates a practice's databases through QuinmarkRepDLL.\n"
                  "Exit codes: 0 done, 1 failed, 2 done but conflicts or differences were recorded, 3 usage or "
                  "configuration, 4 not ready or in error, 7 stopped by the guard.",
                  "quinrep"};
    Options options_;
    std::function<int()> chosen_;
};

/// The console shows UTF-8 for as long as this lives; it outlives the program.
class Utf8Console
{
public:
    Utf8Console() { SetConsoleOutputCP(CP_UTF8); }
    ~Utf8Console() { SetConsoleOutputCP(before_); }
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    UINT before_ = GetConsoleOutputCP();
};

} // namespace

int main()
{
    const Utf8Console console;
    if (!attachSettings() || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        std::cerr << "quinrep: the platform's component services do not start" << std::endl;
        return kFailed;
    }
    const int exitCode = CommandLine().go();
    CoUninitialize();
    return exitCode;
}
