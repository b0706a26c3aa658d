#pragma once

#include "HostError.h"
#include "support/ChildProcess.h"
#include "support/Folders.h"
#include "support/PracticePair.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>

using nlohmann::json;
using testing::HasSubstr;

/// How quinrep.exe ended and what it said.
struct Ended : ProgramEnd
{
    json result() const { return json::parse(output); }
};

/// A [[table]] of the configuration.
std::string tableSection(const std::string& name, const std::string& method, const std::string& more = "");

/// The practice pair with quinrep beside it. The configuration is written from the settings of the pair.
class Quinrep : public PracticePair
{
protected:
    void TearDown() override;

    /// The tables of the configuration.
    std::string tables = tableSection("users", "one_way_deletes");
    /// Further sections in front of the tables.
    std::string sections;
    std::string programVersion = "3.46";
    /// The source of both passwords, or of the source's where the destination has another.
    std::string password = "env:QUINMARK_PASSWORD";
    std::string destinationPassword;

    /// The command line with these arguments after those that name the configuration, which is written.
    std::wstring commandLine(const std::wstring& arguments);
    Ended quinrep(const std::wstring& arguments);
    /// With --json; the output is kept, to be held against this definition of the schema.
    Ended quinrepJson(const std::wstring& arguments, const std::string& definition);
    static Ended keep(const Ended& ended, const std::string& definition);

    static std::filesystem::path configuration();

    std::filesystem::path decisionLog();
    std::filesystem::path historyFile();
    /// The runs that `quinrep history` tells, and their outcomes.
    json runs(const std::wstring& options = L"");
    std::vector<std::string> outcomes();

    /// Old users 1 to `last`.
    static void addUsers(const PracticeSide& side, int first, int last);
    /// The shortcut of this number, described as "Recall NUMBER".
    static void addShortcut(const PracticeSide& side, int number, const std::wstring& text,
                            const std::wstring& modified);
    static std::wstring shortcutKey(int number);
    /// The texts of all shortcuts of a side.
    static std::vector<std::wstring> shortcuts(const PracticeSide& side);
};
