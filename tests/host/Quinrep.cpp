#include "Quinrep.h"

#include "text.h"

#include <fstream>

namespace {

std::string side(const char* name, const std::wstring& dsn, const std::wstring& prefix, const std::string& password)
{
    return std::string("[") + name + "]\ndsn = '" + toUtf8(dsn) + "'\nprefix = '" + toUtf8(prefix) + "'\npassword = '" +
           password + "'\n";
}

/// Keeps an output for schema_test.py, together with the others of this process only.
void keepOutput(const std::string& definition, const std::string& output)
{
    static int number = 0;
    const std::filesystem::path folder = builtFile(L"quinrep_outputs");
    if (number == 0)
        std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::ofstream(folder / (definition + "." + std::to_string(++number) + ".json"), std::ios::binary) << output;
}

} // namespace

std::string tableSection(const std::string& name, const std::string& method, const std::string& more)
{
    return "[[table]]\nname = '" + name + "'\nmethod = '" + method + "'\n" + more + "\n";
}

void Quinrep::TearDown()
{
    DeleteFileW(configuration().c_str());
    DeleteFileW(decisionLog().c_str());
    DeleteFileW(historyFile().c_str());
    PracticePair::TearDown();
}

std::filesystem::path Quinrep::historyFile()
{
    return std::filesystem::path(host().logFile).replace_extension(L".history.jsonl");
}

std::filesystem::path Quinrep::decisionLog()
{
    return std::filesystem::path(host().logFile).replace_extension(L".decisions.jsonl");
}

std::wstring Quinrep::commandLine(const std::wstring& arguments)
{
    const HostSettings& settings = host();
    std::ofstream file(configuration(), std::ios::binary);
    file << "site = '" << (settings.site == OFFICES ? "offices" : "laptop") << "'\nlocal = '"
         << (settings.role == L"SOURCE" ? "source" : "destination") << "'\nprogram_version = '" << programVersion
         << "'\nfrequency = 600\n"
         << side("source", settings.sourceDsn, settings.sourcePrefix, password)
         << side("destination", settings.destinationDsn, settings.destinationPrefix,
                 destinationPassword.empty() ? password : destinationPassword)
         << "[log]\nfile = '" << toUtf8(settings.logFile) << "'\nlevel = 1\n"
         << sections << tables;
    return L"\"" + builtFile(L"quinrep.exe").wstring() + L"\" -c \"" + configuration().wstring() + L"\" " + arguments;
}

Ended Quinrep::quinrep(const std::wstring& arguments)
{
    return {ChildProcess(commandLine(arguments)).wait()};
}

Ended Quinrep::quinrepJson(const std::wstring& arguments, const std::string& definition)
{
    return keep(quinrep(arguments + L" --json"), definition);
}

Ended Quinrep::keep(const Ended& ended, const std::string& definition)
{
    keepOutput(definition, ended.output);
    return ended;
}

std::filesystem::path Quinrep::configuration()
{
    return std::filesystem::temp_directory_path() / (L"quinrep_" + std::to_wstring(GetCurrentProcessId()) + L".toml");
}

void Quinrep::addUsers(const PracticeSide& side, int first, int last)
{
    std::wstring rows;
    for (int key = first; key <= last; ++key)
        rows += (rows.empty() ? L"(" : L", (") + std::to_wstring(key) + L", 'user', '" + kOld + L"')";
    side.execute(L"insert into users (unid, user_name, mod_date) values " + rows);
}

std::wstring Quinrep::shortcutKey(int number)
{
    return L"{0F8FAD5B-D9CB-469F-A165-70867728950" + std::to_wstring(number) + L"}";
}

void Quinrep::addShortcut(const PracticeSide& side, int number, const std::wstring& text, const std::wstring& modified)
{
    side.execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values ('" + shortcutKey(number) +
                 L"', 'Recall " + std::to_wstring(number) + L"', '" + text + L"', '" + modified + L"')");
}

std::vector<std::wstring> Quinrep::shortcuts(const PracticeSide& side)
{
    return side.rows(L"select item_text from shortcut order by unid");
}

json Quinrep::runs(const std::wstring& options)
{
    return quinrepJson(L"history" + options, "history").result()["runs"];
}

std::vector<std::string> Quinrep::outcomes()
{
    std::vector<std::string> words;
    const json all = runs();
    for (const json& run : all)
        words.push_back(run["outcome"]);
    return words;
}
