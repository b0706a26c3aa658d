#include "Program.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

using testing::HasSubstr;

namespace {

std::wstring builtHost()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).replace_filename(L"example_replicate.exe").wstring();
}

/// An example host: how it is started, and at which site it runs.
struct Host
{
    const char* name;
    std::wstring command;
    enumReplicationUniqueId site;
    /// Whether its language can tell an error's source.
    bool tellsSource;
};

std::ostream& operator<<(std::ostream& stream, const Host& host)
{
    return stream << host.name;
}

class ExampleHost : public PracticePair, public testing::WithParamInterface<Host>
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        source().execute(L"insert into ada_code (unid, ada_code, ada_code_desc, mod_date) values "
                         L"('{11111111-2222-3333-4444-555555555555}', 'D0120', 'Examination', '" +
                         std::wstring(kNew) + L"')");
        source().execute(L"insert into patient (unid, full_name, mod_date) values (5, 'Birkfelder, Ada', '" +
                         std::wstring(kNew) + L"')");
    }

    /// The dentist is not new and does not travel, so the patient's reference cannot be kept.
    void addPatientOfAnOldDentist()
    {
        source().execute(
            L"insert into dentist (dc_id, dentist_id, last_name, mod_date) values (1, 1, 'Quillfeather', '" +
            std::wstring(kOld) + L"')");
        source().execute(L"insert into patient (unid, full_name, dc_id, dentist_id, mod_date) values "
                         L"(6, 'Norrvik, Pelle', 1, 1, '" +
                         std::wstring(kNew) + L"')");
    }

    ProgramEnd run()
    {
        const HostSettings& with = host();
        return runProgram(GetParam().command + L" \"" + with.logFile + L"\" " + with.sourceDsn + L" " +
                              with.sourcePrefix + L" " + with.destinationDsn + L" " + with.destinationPrefix,
                          EXAMPLES_FOLDER);
    }

    /// The control record of the host's site, in its local database.
    std::wstring controlRecord(const std::wstring& columns)
    {
        const PracticeSide& side = GetParam().site == OFFICES ? source() : destination();
        return side.row(L"select " + columns + L" from replication_control where unique_key = " +
                        std::to_wstring(GetParam().site));
    }
};

TEST_P(ExampleHost, BringsTheRowsOverAndMovesTheInterval)
{
    const ProgramEnd end = run();
    EXPECT_EQ(end.status, 0U) << end.output;
    EXPECT_EQ(destination().rows(L"select unid, full_name from patient"),
              (std::vector<std::wstring>{L"5|Birkfelder, Ada"}));
    EXPECT_EQ(destination().count(L"ada_code"), 1);
    EXPECT_TRUE(
        std::regex_search(end.output, std::regex("patient(: added 1, updated 0, deleted 0, conflicts 0| +1 +0 +0 +0)")))
        << end.output;
    EXPECT_EQ(controlRecord(L"error_f"), L"False");
    EXPECT_GT(controlRecord(L"last_timestamp"), L"2025-03-11");
    EXPECT_THAT(log(), HasSubstr(L"Replicated table: patient"));
}

TEST_P(ExampleHost, TellsAFailedConnectionWithNumberSourceAndText)
{
    SetEnvironmentVariableW(L"QUINMARK_PASSWORD", L"none");
    const ProgramEnd end = run();
    SetEnvironmentVariableW(L"QUINMARK_PASSWORD", host().sourcePassword.c_str());
    EXPECT_EQ(end.status, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("-2147217843 (0x80040E4D)"));
    EXPECT_THAT(end.output, HasSubstr("quinmarkapp_user"));
    EXPECT_EQ(end.output.find("Factory.init") != std::string::npos, GetParam().tellsSource) << end.output;
    EXPECT_EQ(destination().count(L"patient"), 0);
}

TEST_P(ExampleHost, RecordsAFailedRunAndRefusesTheNext)
{
    addPatientOfAnOldDentist();
    const ProgramEnd failed = run();
    EXPECT_EQ(failed.status, 1U) << failed.output;
    EXPECT_THAT(failed.output, HasSubstr("_patient_dentist"));
    EXPECT_EQ(failed.output.find("clsReplicate.go") != std::string::npos, GetParam().tellsSource) << failed.output;
    EXPECT_EQ(controlRecord(L"error_f"), L"True");
    EXPECT_EQ(controlRecord(L"last_timestamp"), L"2025-03-10 12:00:00.000");

    const ProgramEnd refused = run();
    EXPECT_EQ(refused.status, 2U) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("The last run failed: "));
}

TEST_P(ExampleHost, TellsThatTheDatabasesDoNotBelongTogether)
{
    destination().execute(L"update control set id = '3.45' where type = 'Version'");
    const ProgramEnd end = run();
    EXPECT_EQ(end.status, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("The databases do not belong together: "));
    EXPECT_EQ(destination().count(L"patient"), 0);
}

TEST_P(ExampleHost, RefusesWrongArguments)
{
    const ProgramEnd end = runProgram(GetParam().command + L" a b c", EXAMPLES_FOLDER);
    EXPECT_EQ(end.status, 2U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("usage: "));
}

INSTANTIATE_TEST_SUITE_P(, ExampleHost,
                         testing::Values(Host{"VBScript", L"cscript.exe //nologo replicate.vbs daily", LAPTOP, true},
                                         Host{"JScript", L"cscript.exe //nologo replicate.js", OFFICES, false},
                                         Host{"Cpp", L"\"" + builtHost() + L"\"", OFFICES, true}),
                         [](const testing::TestParamInfo<Host>& info) { return info.param.name; });

} // namespace
