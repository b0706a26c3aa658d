#pragma once

#include "support/PracticePair.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <windows.h>

/// How quinrep.exe ended and what it said.
struct Ended
{
    DWORD exitCode = 0;
    std::string output;
    std::string messages;

    nlohmann::json json() const { return nlohmann::json::parse(output); }
};

/// quinrep.exe, started as a process; ended with this when it still runs.
class QuinrepProcess
{
public:
    explicit QuinrepProcess(const std::wstring& arguments);
    ~QuinrepProcess();
    QuinrepProcess(const QuinrepProcess&) = delete;
    QuinrepProcess& operator=(const QuinrepProcess&) = delete;

    Ended wait();

private:
    std::wstring outputPath_;
    std::wstring messagesPath_;
    PROCESS_INFORMATION process_{};
};

/// The practice pair with quinrep beside it. The configuration is written from the settings of the pair.
class Quinrep : public PracticePair
{
protected:
    void TearDown() override;

    /// The tables of the configuration, as TOML: for one-way replication of users unless told.
    std::string tables = "[[table]]\nname = \"users\"\nmethod = \"one_way_deletes\"\n";
    /// Further sections in front of the tables.
    std::string sections;
    std::string passwordSource = "env:QUINMARK_PASSWORD";
    std::string programVersion = "3.46";

    /// Writes the configuration; the arguments that name it, and `arguments` behind them.
    std::wstring commandLine(const std::wstring& arguments);
    Ended quinrep(const std::wstring& arguments);
    /// With --json; the result has been held against the schema.
    Ended quinrepJson(const std::wstring& arguments, const std::string& schema);
};
