#include "Session.h"
#include "commands.h"
#include "commands/Findings.h"
#include "commands/report.h"
#include "files.h"
#include "passwords.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <regex>
#include <windows.h>

using nlohmann::ordered_json;

namespace {

/// schtasks takes no longer command of a task.
constexpr size_t kLongestCommand = 261;

std::string environment(const wchar_t* name)
{
    wchar_t value[256];
    const DWORD length = GetEnvironmentVariableW(name, value, static_cast<DWORD>(std::size(value)));
    return length < std::size(value) ? toUtf8({value, length}) : "";
}

std::string thisAccount()
{
    const std::string domain = environment(L"USERDOMAIN");
    const std::string user = environment(L"USERNAME");
    return domain.empty() ? user : domain + "\\" + user;
}

/// Accounts of the system, which have no password.
bool isServiceAccount(const std::string& account)
{
    const std::wstring upper = com::upperCase(toWide(account));
    return upper == L"SYSTEM" || upper.starts_with(L"NT AUTHORITY\\");
}

std::string thisProgram()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return toUtf8(path);
}

std::string fullPath(const std::string& path)
{
    return toUtf8(std::filesystem::absolute(toWide(path)).lexically_normal().wstring());
}

bool isFullPath(const std::string& path)
{
    return std::filesystem::path(toWide(path)).is_absolute();
}

/// Two digits each, as schtasks wants them. Raises HostError(kUsage) for what is no time of day.
std::string timeOfDay(const std::string& text)
{
    std::smatch parts;
    if (!std::regex_match(text, parts, std::regex("([01]?[0-9]|2[0-3]):([0-5][0-9])")))
        throw HostError(kUsage, "--at " + text + " is no time of day",
                        "Give hours and minutes of 24 hours, such as --at 20:30.");
    return fmt::format("{:0>2}:{}", parts[1].str(), parts[2].str());
}

/// A name within the command. Raises HostError(kUsage) when the command prompt would change it.
std::string requireTakenAsItIs(const std::string& what, const std::string& name)
{
    const size_t found = name.find_first_of("%\"!");
    if (found != std::string::npos)
        throw HostError(
            kUsage, fmt::format("{} {} has a character that the command prompt changes: {}", what, name, name[found]),
            "Use a name without it.");
    return name;
}

/// A path between quotes, as the task will have it.
std::string quoted(const std::string& path)
{
    return "\"" + path + "\"";
}

/// A text as one argument of schtasks, typed at the command prompt. Inner quotes get a backslash, for schtasks. The
/// prompt does not know that: for it the text between two inner quotes is outside of quotes, where a caret keeps some
/// characters from having a meaning.
std::string typedArgument(const std::string& text)
{
    std::string typed = "\"";
    bool outside = false;
    for (const char c : text) {
        if (c == '"') {
            typed += '\\';
            outside = !outside;
        }
        else if (outside && std::string("&|<>^").find(c) != std::string::npos)
            typed += '^';
        typed += c;
    }
    return typed + "\"";
}

/// Whether a data source is there for all users of 32-bit programs: this one sees the registry as they do.
bool isSystemDataSource(const std::string& dsn)
{
    return RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ODBC\\ODBC.INI\\ODBC Data Sources", toWide(dsn).c_str(),
                        RRF_RT_REG_SZ, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

/// Looks whether the task will get on without the person who makes it.
class Task
{
public:
    Task(const Configuration& configuration, const ScheduleOptions& options)
        : configuration_(configuration),
          time_(timeOfDay(options.at)),
          account_(requireTakenAsItIs("the account", options.account.empty() ? thisAccount() : options.account)),
          name_(requireTakenAsItIs("the task's name", options.name)),
          command_(quoted(requireTakenAsItIs("the program", thisProgram())) + " -q -c " +
                   quoted(requireTakenAsItIs("the configuration", fullPath(options.configurationFile))) +
                   (options.logFile.empty()
                        ? ""
                        : " --log-file " + quoted(requireTakenAsItIs("the log", fullPath(options.logFile)))) +
                   " run --ready" +
                   (options.reportFile.empty()
                        ? ""
                        : " --report " + quoted(requireTakenAsItIs("the report", fullPath(options.reportFile))))),
          reportFile_(options.reportFile.empty() ? "" : fullPath(options.reportFile))
    {
        if (!options.logFile.empty())
            configuration_.logFile = fullPath(options.logFile);
    }

    Outcome outcome()
    {
        look();
        Outcome outcome = findings_.outcome();
        outcome.result = {{"schtasks", schtasks()}, {"task", name_},       {"time", time_},
                          {"account", account_},    {"command", command_}, {"checks", outcome.result["checks"]}};
        return outcome;
    }

private:
    std::string schtasks() const
    {
        return fmt::format("schtasks /Create /TN \"{}\" /SC DAILY /ST {} /RU \"{}\"{} /TR {}", name_, time_, account_,
                           isServiceAccount(account_) ? "" : " /RP *", typedArgument(command_));
    }

    void look()
    {
        findings_.look("length of the command", "put the program and the configuration into shorter paths", [this] {
            if (toWide(command_).size() > kLongestCommand)
                throw Finding{fmt::format("it has {} characters, and schtasks takes {}", toWide(command_).size(),
                                          kLongestCommand),
                              ""};
        });
        lookAtLog();
        if (!reportFile_.empty())
            findings_.look("report " + reportFile_, "", [this] { requireReport(reportFile_); });
        std::vector<std::string> seen;
        for (const SideConfiguration* side : {&configuration_.source, &configuration_.destination})
            if (std::ranges::find(seen, side->password) == seen.end()) {
                lookAtPassword(side->password);
                seen.push_back(side->password);
            }
        for (const SideConfiguration* side : {&configuration_.source, &configuration_.destination})
            lookAtDataSource(side->dsn);
        lookAtConflicts();
        lookAtMachine();
    }

    void lookAtLog()
    {
        findings_.look("log " + configuration_.logFile, "", [this] {
            if (!isFullPath(configuration_.logFile))
                throw Finding{"it has no full path, and the task starts in a folder of the system",
                              "write its full path: file = '" + fullPath(configuration_.logFile) + "' under [log]"};
            requireWritableLog(configuration_.logFile);
        });
    }

    void lookAtPassword(const std::string& source)
    {
        const std::string what = "password " + source;
        const std::string name = source.substr(source.find(':') + 1);
        const bool isOwn = com::upperCase(toWide(account_)) == com::upperCase(toWide(thisAccount()));
        if (source == "prompt")
            findings_.look(what, "", [] {
                throw Finding{"nobody is there to answer when the task runs",
                              "use \"credential:NAME\" or \"file:PATH\" (see the document \"From nothing to the first "
                              "night\", \"3. The password\")"};
            });
        else if (source.starts_with("env:"))
            findings_.warn(what, {fmt::format("the task sees only the variables of {} and of the system", account_),
                                  "use \"credential:NAME\" or \"file:PATH\": a variable of the system is there for "
                                  "every program"});
        else if (source.starts_with("file:"))
            lookAtPasswordFile(what, source, name);
        else if (isServiceAccount(account_))
            findings_.look(what, "", [this] {
                throw Finding{account_ + " has no Credential Manager that anybody could fill",
                              "use \"file:PATH\", or give the task another account with --account"};
            });
        else if (isOwn)
            findings_.look(what, "", [&] { resolvePassword(source, what); });
        else
            findings_.warn(
                what, {fmt::format("it is taken from the Credential Manager of {}, which is not looked into", account_),
                       fmt::format("store it there: runas /user:{} \"cmdkey /generic:{} "
                                   "/user:quinmarkapp_user /pass\"",
                                   account_, name)});
    }

    void lookAtPasswordFile(const std::string& what, const std::string& source, const std::string& path)
    {
        const bool ok = findings_.look(what, "", [&] {
            if (!isFullPath(path))
                throw Finding{"it has no full path, and the task starts in a folder of the system",
                              "write its full path: password = 'file:" + fullPath(path) + "'"};
            resolvePassword(source, what);
        });
        if (ok)
            findings_.warn(
                what, {fmt::format("{} must be able to read the file, and nobody else but administrators", account_),
                       fmt::format("let them: icacls \"{}\" /inheritance:r /grant:r \"{}:R\" *S-1-5-32-544:F", path,
                                   account_)});
    }

    void lookAtDataSource(const std::string& dsn)
    {
        if (isSystemDataSource(dsn))
            findings_.look("data source " + dsn, "", [] {});
        else
            findings_.warn("data source " + dsn,
                           {"it is not among the system data sources for 32-bit programs, and a task need not see "
                            "those of a user",
                            "make it on the page \"System DSN\" of %SystemRoot%\\SysWOW64\\odbcad32.exe"});
    }

    void lookAtConflicts()
    {
        if (configuration_.onConflicts == OnConflicts::Stop)
            findings_.warn("on_conflicts", {"after an evening with conflicts that count as an error, no evening runs "
                                            "until somebody clears it",
                                            "look every morning (`quinrep status`, `quinrep review`, then `quinrep run "
                                            "--ready --reset-error`), or set on_conflicts = \"continue\" under [run]"});
        for (const TableConfiguration& table : configuration_.tables)
            if (table.method == TWO_WAY || table.method == TWO_WAY_NO_DELETES)
                findings_.warn("table " + table.name,
                               {"two-way replication opens message boxes: an evening on which one would open ends with "
                                "7, and nothing is written",
                                "run then with --attended, while somebody sits at the screen"});
    }

    void lookAtMachine()
    {
        findings_.warn("the machine",
                       {"a missed evening is not made up for, and unless told the Task Scheduler starts nothing on "
                        "battery",
                        "leave the machine on and plugged in at " + time_ +
                            ", or change this on the pages Conditions and Settings of the task"});
    }

    Configuration configuration_;
    std::string time_;
    std::string account_;
    std::string name_;
    std::string command_;
    std::string reportFile_;
    Findings findings_;
};

} // namespace

Outcome scheduleCommand(const Configuration& configuration, const ScheduleOptions& options)
{
    return Task(configuration, options).outcome();
}
