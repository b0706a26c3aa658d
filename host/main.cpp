#include "Failure.h"
#include "commands.h"
#include "commands/report.h"
#include "control/log.h"
#include "control/settings.h"
#include "passwords.h"
#include "text.h"
#include "usage_mistake.h"
#include "version.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <shellapi.h>
#include <utility>

using namespace quinmark;

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
    InitOptions init;
    std::string password = "credential:QuinmarkReplication";
    std::string site;
    std::string local;
    bool noBrowser = false;
    RunOptions run;
    VerifyOptions verify;
    ScheduleOptions schedule;
    bool check = false;
    int maxAge = 26;
    size_t lastRuns = 20;
    ConflictFilter filter;
    std::string use;
    std::string reason;
    std::string conflictId;
    std::string explainedTable;
    std::string explainedKey;
    bool all = false;
    bool dryRun = false;
    bool changedToo = false;
    /// The command that help is about, word by word; none for all of them.
    std::vector<std::string> topic;
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
    return configuration;
}

/// Tells an outcome on standard output. In JSON it is one object: indented, or on a line of its own where more than one
/// may come.
ExitCode tell(const Options& options, const std::string& name, const Outcome& outcome, const SideNames& names = {})
{
    std::cout << (options.json ? outcome.result.dump(options.watch ? -1 : 2) + "\n"
                               : humanText(name, outcome.result, names))
              << std::flush;
    return outcome.exitCode;
}

/// Writes the report of a failure that no run has written, and that else would still show an earlier run.
void reportFailure(const Options& options, const ordered_json& result)
{
    if (!options.run.reportFile.empty() && !result.contains("about"))
        writeReport(options.run.reportFile, result, nullptr);
}

/// Tells what is in flight: for a person, with --json as an object, and in the report's file where one is wanted.
ExitCode tellFailure(const Options& options)
{
    const Failure failure = currentFailure();
    std::cerr << "quinrep: " << failure.text << std::endl;
    if (options.json)
        std::cout << failure.result.dump(options.watch ? -1 : 2) << std::endl;
    reportFailure(options, failure.result);
    return failure.exitCode;
}

InitOptions initOptions(const Options& options)
{
    InitOptions init = options.init;
    init.path = options.configurationFile;
    Configuration& configuration = init.configuration;
    configuration.site = options.site == "offices" ? OFFICES : LAPTOP;
    configuration.localIsSource = options.local.empty() ? configuration.site == OFFICES : options.local == "source";
    configuration.logFile = options.logFile;
    configuration.source.password = options.password;
    if (configuration.destination.password.empty())
        configuration.destination.password = options.password;
    for (const SideConfiguration* side : {&configuration.source, &configuration.destination})
        if (!isPasswordSource(side->password)) // which it may be itself, so it is not repeated
            throw HostError(kUsage, std::string("a password comes from ") + kPasswordSources);
    return init;
}

/// The conflicts that a decision is for: named ones, or all that fit the filters.
ConflictFilter chosenConflicts(const Options& options)
{
    const ConflictFilter& filter = options.filter;
    if (options.all != filter.ids.empty())
        throw HostError(kUsage, "name conflicts, or --all",
                        "Give the ids that `quinrep conflicts list` shows, or --all with filters, not both.");
    if (!options.all && !(filter.table + filter.kind + filter.contains + filter.before).empty())
        throw HostError(kUsage, "--table, --kind, --contains and --before go with --all",
                        "Leave the ids out, and give --all with the filters.");
    return filter;
}

Outcome resolveChosenConflicts(const Configuration& configuration, const Options& options)
{
    return resolveConflictsCommand(
        configuration, {chosenConflicts(options), kUses.at(options.use), options.changedToo, options.dryRun});
}

Outcome dismissChosenConflicts(const Configuration& configuration, const Options& options)
{
    if (options.reason.find_first_not_of(" \t") == std::string::npos)
        throw HostError(kUsage, "--reason is empty", "Say why the conflicts need no decision any more.");
    return dismissConflictsCommand(configuration, {chosenConflicts(options), options.reason, options.dryRun});
}

/// The command line: it leaves what is to be done in `chosen`, and what was given in `options`.
class CommandLine
{
public:
    CommandLine()
    {
        app_.require_subcommand(1);
        app_.set_version_flag("--version", "quinrep " + toUtf8(kVersion));
        app_.add_option("-c,--config", options_.configurationFile, "The configuration file")
            ->capture_default_str()
            ->type_name("FILE");
        app_.add_option("--log-file", options_.logFile, "The component's log, instead of the configuration's")
            ->type_name("FILE");
        app_.add_flag("--json", options_.json, "Print the result as one JSON object");
        app_.add_flag("-q,--quiet", options_.run.quiet, "No progress");
        app_.add_flag("-v,--verbose", options_.verbose, "Say what is used, and log every statement");
        app_.fallthrough();
        app_.footer(kOfEveryCommand);
        app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
        app_.get_formatter()->label("OPTIONS", "options");
        addInit();
        addCommands();
        addRun();
        addCopy();
        addSchedule();
        addConflicts();
        for (CLI::App* command : app_.get_subcommands([](CLI::App*) { return true; }))
            command->group("Commands");
        app_.footer("The options stand before or after the command.\n"
                    "Exit codes: 0 done, 1 failed, 2 done but conflicts or differences were recorded, 3 usage or "
                    "configuration, 4 not ready or in error, 7 stopped by the look ahead.\n"
                    "Messages name documents by their titles. The Start menu has them under Documents, and the folder "
                    "of this program in documents.html.");
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
        std::ranges::replace(given, "/?", "--help");
        try {
            std::reverse(given.begin(), given.end()); // as CLI11 takes them
            app_.parse(std::move(given));
        }
        catch (const CLI::ParseError& error) {
            const bool asked = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
            if (asked && app_.remaining(true).empty())
                throw;
            options_.json = options_.json || json;
            if (lacksCommand(app_, error))
                std::cerr << app_.help() << std::endl;
            throw usageMistake(app_, error);
        }
    }

    int help()
    {
        std::vector<std::string> line = options_.topic;
        line.emplace_back("--help");
        parse(std::move(line));
        return kDone;
    }

    CLI::App& add(CLI::App& parent, const char* name, const char* help, Command command)
    {
        CLI::App* subcommand = parent.add_subcommand(name, help);
        subcommand->callback([this, name, command = std::move(command)] {
            chosen_ = [this, name, command] { return execute(name, command); };
        });
        return *subcommand;
    }

    int execute(const std::string& name, const Command& command)
    {
        Configuration configuration = readConfiguration(options_);
        // Should it fail, that is told, and no report of it is tried.
        const std::string report = std::exchange(options_.run.reportFile, "");
        if (!report.empty())
            requireReport(report);
        options_.run.reportFile = report;
        const SideNames names(configuration);
        options_.filter.names = names;
        options_.run.watched = options_.watch;
        if (options_.watch)
            return watchCommand(configuration, options_.run, [&](const Outcome& outcome) {
                tell(options_, name, outcome, names);
                reportFailure(options_, outcome.result);
            });
        // A run asks for them itself; these read files alone.
        if (name != "run" && name != "history" && name != "log")
            resolvePasswords(configuration);
        return tell(options_, name, command(configuration), names);
    }

    /// It has no configuration to read yet.
    void addInit()
    {
        CLI::App& init = *app_.add_subcommand(
            "init", "Write a configuration: from both databases, or without data sources a template to fill in");
        Configuration& configuration = options_.init.configuration;
        init.add_option("--source-dsn", configuration.source.dsn, "The source's data source, mostly the office's")
            ->type_name("NAME");
        init.add_option("--destination-dsn", configuration.destination.dsn, "The destination's data source")
            ->type_name("NAME");
        init.add_option("--source-prefix", configuration.source.prefix,
                        "Stands before the source's tables, such as Office.dbo.; found out unless given")
            ->type_name("PREFIX");
        init.add_option("--destination-prefix", configuration.destination.prefix, "The same for the destination")
            ->type_name("PREFIX");
        init.add_option("--password", options_.password, kPasswordSources)->capture_default_str()->type_name("SOURCE");
        init.add_option("--destination-password", configuration.destination.password,
                        "The destination's, where it is another")
            ->type_name("SOURCE");
        init.add_option("--site", options_.site, "The site that runs quinrep: laptop unless given")
            ->check(oneOf({"offices", "laptop"}));
        init.add_option("--local", options_.local,
                        "The side that is this machine's database: the destination at a laptop, unless given")
            ->check(oneOf({"source", "destination"}));
        init.callback(
            [this] { chosen_ = [this] { return tell(options_, "init", initCommand(initOptions(options_))); }; });
    }

    void addCommands()
    {
        CLI::App& help = *app_.add_subcommand("help", "Tell about a command and its options, or about all of them");
        help.add_option("command", options_.topic, "The command, such as conflicts resolve")->type_name("");
        help.callback([this] { chosen_ = [this] { return this->help(); }; });
        add(app_, "check", "Look whether everything is in place, and say what to do where not", checkCommand);
        add(app_, "preview", "Show what a run would do; changes nothing", previewCommand);
        addVerify();
        add(app_, "review", "Show the conflicts in a browser and resolve them there",
            [this](const Configuration& configuration) { return reviewCommand(configuration, !options_.noBrowser); })
            .add_flag("--no-browser", options_.noBrowser, "Print the address, and open no browser");
        CLI::App& explain =
            add(app_, "explain", "Tell of one row why it is as it is, and what the next run does with it",
                [this](const Configuration& configuration) {
                    return explainCommand(configuration, options_.explainedTable, options_.explainedKey);
                });
        explain.add_option("TABLE", options_.explainedTable, "The row's table")->type_name("")->required();
        explain.add_option("KEY", options_.explainedKey, "The row's value of the table's key, mostly of unid")
            ->type_name("")
            ->required();
        CLI::App& status = add(app_, "status",
                               "Say whether all is in order: waiting conflicts, recorded error, last run, its counters",
                               [this](const Configuration& configuration) {
                                   return statusCommand(configuration, options_.check, options_.maxAge);
                               });
        status.add_flag("--check", options_.check,
                        "For a monitor: end with 0 when all is in order, with 2 when conflicts wait, with 4 when the "
                        "site is in error, the last run did not go through, or a run is overdue");
        status.add_option("--max-age", options_.maxAge, "Hours after which a run is overdue")
            ->check(CLI::Range(1, 100000))
            ->type_name("HOURS")
            ->capture_default_str();
        add(app_, "history", "Show the last runs, the newest below",
            [this](const Configuration& configuration) { return historyCommand(configuration, options_.lastRuns); })
            .add_option("--last", options_.lastRuns, "How many")
            ->check(CLI::Range(1, 1000000))
            ->capture_default_str();
    }

    void addVerify()
    {
        VerifyOptions& options = options_.verify;
        CLI::App& verify =
            add(app_, "verify", "Compare both sides in full; changes nothing",
                [&options](const Configuration& configuration) { return verifyCommand(configuration, options); });
        verify.add_option("--table", options.tables, "Only this table; may be given several times")
            ->type_name("NAME")
            ->allow_extra_args(false)
            ->check(notEmpty());
        verify.add_flag("--all", options.allRows, "List every row that differs, not only the first 100 of a table");
    }

    void addRun()
    {
        CLI::App& run =
            add(app_, "run", "Run once, or with --watch whenever a run is due",
                [this](const Configuration& configuration) { return runCommand(configuration, options_.run); });
        run.add_flag("--watch", options_.watch,
                     "Run whenever the control record's next_timestamp is due, until Ctrl-C");
        run.add_flag("--attended", options_.run.attended,
                     "Go on where message boxes will open: somebody sits at the screen and closes them");
        addRunOptions(run);
    }

    void addCopy()
    {
        addRunOptions(
            add(app_, "copy", "Make the first copy: fill the destination's tables from the source, parents first",
                [this](const Configuration& configuration) { return copyCommand(configuration, options_.run); }));
    }

    /// It changes nothing and connects to nothing, so it asks for no password.
    void addSchedule()
    {
        ScheduleOptions& options = options_.schedule;
        CLI::App& schedule = *app_.add_subcommand(
            "schedule", "Print the command that has the Task Scheduler run every evening; changes nothing");
        schedule.add_option("--at", options.at, "The time of day, such as 20:30")->required()->type_name("HH:MM");
        schedule.add_option("--account", options.account, "The account that the task runs under: yours unless given")
            ->type_name("NAME");
        schedule.add_option("--name", options.name, "The task's name")->capture_default_str()->type_name("NAME");
        schedule
            .add_option("--report", options.reportFile, "Have every run write its result as an HTML page to this file")
            ->type_name("FILE");
        schedule.callback([this, &options] {
            chosen_ = [this, &options] {
                options.configurationFile = options_.configurationFile;
                options.logFile = options_.logFile;
                return tell(options_, "schedule",
                            scheduleCommand(loadConfiguration(options_.configurationFile), options));
            };
        });
    }

    void addRunOptions(CLI::App& command)
    {
        command.add_flag("--force", options_.run.force,
                         "Go on in spite of what the look ahead found, but for message boxes");
        command.add_flag("--ready", options_.run.markReady, "Mark the control records ready first");
        command.add_option("--report", options_.run.reportFile, "Write the result as an HTML page too")
            ->type_name("FILE");
        command.add_flag("--reset-error", options_.run.resetError, "Clear the recorded error first");
    }

    void addConflicts()
    {
        CLI::App& conflicts =
            *app_.add_subcommand("conflicts", "List, show, resolve and dismiss conflicts")->require_subcommand(1);
        addFilters(add(conflicts, "list", "List the rows that wait, with all their conflicts in one",
                       [this](const Configuration& configuration) {
                           return listConflictsCommand(configuration, options_.filter);
                       }));
        add(conflicts, "show", "Show one conflict with its columns and choices",
            [this](const Configuration& configuration) {
                return showConflictCommand(configuration, options_.conflictId);
            })
            .add_option("ID", options_.conflictId, "The conflict's id")
            ->type_name("")
            ->required();
        CLI::App& resolve = addDecision(conflicts, "resolve", "Resolve the conflicts of rows, through the component",
                                        resolveChosenConflicts);
        resolve.add_flag("--changed-too", options_.changedToo,
                         "Also rows that are no longer as they were found; `show` tells how they are");
        resolve.add_option("--use", options_.use, "Which copy wins, or later")
            ->type_name("WORD")
            ->required()
            ->check(oneOf({"source", "destination", "later"}));
        addDecision(conflicts, "dismiss", "Take conflicts off the list; the rows stay as they are",
                    dismissChosenConflicts)
            .add_option("--reason", options_.reason, "Why, for the decision log")
            ->required();
        addFilters(add(
            conflicts, "log", "Show what was decided, and what each decision overwrote or deleted",
            [this](const Configuration& configuration) { return decisionLogCommand(configuration, options_.filter); }));
    }

    CLI::App& addFilters(CLI::App& command)
    {
        ConflictFilter& filter = options_.filter;
        command.add_option("--table", filter.table, "Only of this table")->type_name("NAME")->check(notEmpty());
        command.add_option("--kind", filter.kind, "Only of this kind")->type_name("WORD")->check(oneOf(kindWords()));
        command.add_option("--contains", filter.contains, "Only with this text in table, kind or description")
            ->check(notEmpty());
        command.add_option("--before", filter.before, "Only last found, or decided, before this day: 2026-11-21")
            ->type_name("DAY")
            ->check(notEmpty());
        return command;
    }

    CLI::App& addDecision(CLI::App& parent, const char* name, const char* help,
                          Outcome (*decide)(const Configuration&, const Options&))
    {
        CLI::App& command = add(parent, name, help, [this, decide](const Configuration& configuration) {
            return decide(configuration, options_);
        });
        command.add_option("ID", options_.filter.ids, "Conflicts by their ids")->type_name("");
        command.add_flag("--all", options_.all, "All conflicts that fit the filters");
        command.add_flag("--dry-run", options_.dryRun, "Say what would be done, and do nothing");
        return addFilters(command);
    }

    CLI::App app_{"Replicates a practice's databases through QuinmarkRepDLL.", "quinrep"};
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
    if (!attachComponent(nullptr) || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        std::cerr << "quinrep: the platform's component services do not start" << std::endl;
        return kFailed;
    }
    const int exitCode = CommandLine().go();
    CoUninitialize();
    return exitCode;
}
