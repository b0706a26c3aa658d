#include "Program.h"
#include "support/PracticePair.h"
#include "support/Sabotage.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

using testing::HasSubstr;
using testing::Not;

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

    /// A row that somebody typed in at the laptop, which a run of this site may not settle.
    void addRowOfTheLaptop()
    {
        destination().execute(L"insert into patient (unid, full_name, mod_date) values (7, 'Jorvesson, Odile', '" +
                              std::wstring(GetParam().site == OFFICES ? kNew : kOld) + L"')");
    }

    /// As the documents say: both sides get the row that is right, with one date, and the conflict goes.
    void settleForTheLaptop()
    {
        source().execute(L"insert into patient (unid, full_name, mod_date) values (7, 'Jorvesson, Odile', '" +
                         std::wstring(GetParam().site == OFFICES ? kNew : kOld) + L"')");
        ownSide().execute(L"delete from replication_conflict_data");
        ownSide().execute(L"delete from replication_conflict");
    }

    ProgramEnd run(const std::wstring& options = L"")
    {
        const HostSettings& with = host();
        return runProgram(GetParam().command + L" \"" + with.logFile + L"\" " + with.sourceDsn + L" " +
                              with.sourcePrefix + L" " + with.destinationDsn + L" " + with.destinationPrefix + options,
                          EXAMPLES_FOLDER);
    }

    /// The host's local database.
    const PracticeSide& ownSide() const { return GetParam().site == OFFICES ? source() : destination(); }

    /// The control record of the host's site.
    std::wstring controlRecord(const std::wstring& columns)
    {
        return ownSide().row(L"select " + columns + L" from replication_control where unique_key = " +
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
    EXPECT_EQ(refused.status, 4U) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("Nothing was run. Recorded: "));
}

TEST_P(ExampleHost, KeepsTheErrorThatTheRunRecordedAndRunsNothingUntilAPersonResetsIt)
{
    addRowOfTheLaptop();
    const ProgramEnd first = run();
    EXPECT_EQ(first.status, 2U) << first.output;
    EXPECT_THAT(first.output, HasSubstr("Conflicts in patient: 1"));
    EXPECT_THAT(first.output, HasSubstr("Only then run with --reset-error."));
    const std::wstring message = controlRecord(L"error_message");
    const std::string recorded = std::filesystem::path(message).string();
    EXPECT_THAT(recorded, HasSubstr(GetParam().site == OFFICES ? "New in destination" : "Deleted from source"));
    EXPECT_THAT(first.output, HasSubstr("Recorded: " + recorded));
    EXPECT_EQ(controlRecord(L"error_f"), L"True");
    const std::wstring end = controlRecord(L"last_timestamp");
    EXPECT_GT(end, L"2025-03-11");

    const ProgramEnd second = run(L" --ready");
    EXPECT_EQ(second.status, 4U) << second.output;
    EXPECT_THAT(second.output, HasSubstr("Nothing was run. Recorded: " + recorded));
    EXPECT_THAT(destination().rows(L"select unid from patient order by unid"), testing::ElementsAre(L"5", L"7"));
    EXPECT_EQ(ownSide().count(L"replication_conflict"), 1);
    EXPECT_EQ(controlRecord(L"error_f, error_message, last_timestamp"), L"True|" + message + L"|" + end);

    settleForTheLaptop();
    const ProgramEnd third = run(L" --ready --reset-error");
    EXPECT_EQ(third.status, 0U) << third.output;
    EXPECT_THAT(third.output, HasSubstr("Clearing the recorded error: " + recorded));
    EXPECT_EQ(controlRecord(L"error_f"), L"False");
    EXPECT_THAT(source().rows(L"select unid from patient order by unid"), testing::ElementsAre(L"5", L"7"));
    EXPECT_THAT(destination().rows(L"select unid from patient order by unid"), testing::ElementsAre(L"5", L"7"));
    EXPECT_EQ(ownSide().count(L"replication_conflict"), 0);
}

TEST_P(ExampleHost, RecordsConflictsThatTheScriptLists)
{
    if (host().sourceDsn != L"QuinmarkOffice" || host().destinationDsn != L"QuinmarkLaptop")
        GTEST_SKIP() << "the script knows the data sources of the test bed";
    addRowOfTheLaptop();
    destination().execute(L"insert into patient (unid, full_name, mod_date) values (5, 'Birkfelder, Mira', '" +
                          std::wstring(kNewer) + L"')");
    EXPECT_EQ(run().status, 2U);
    ownSide().execute(L"update replication_conflict set source_mod_date = null where patient_id = 7");
    const bool atOffice = GetParam().site == OFFICES;
    const ProgramEnd end = runProgram(
        std::wstring(L"cscript.exe //nologo conflicts.vbs list") + (atOffice ? L" --office" : L""), EXAMPLES_FOLDER);
    EXPECT_EQ(end.status, 0U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("patient, changed on both sides: Birkfelder, Ada (5)\r\n"));
    EXPECT_THAT(end.output, HasSubstr("full_name: source 'Birkfelder, Ada', destination 'Birkfelder, Mira'"));
    EXPECT_THAT(end.output,
                HasSubstr(std::string(atOffice ? "patient, new on the destination" : "patient, deleted on the source") +
                          ": Jorvesson, Odile (7) (incomplete, resolve it by hand)"));
    EXPECT_THAT(end.output, HasSubstr("full_name: source '', destination 'Jorvesson, Odile'"));
}

TEST_P(ExampleHost, LeavesConflictsOfNumericKeysThatAreToBeTakenFromTheSource)
{
    if (host().destinationDsn != L"QuinmarkLaptop")
        GTEST_SKIP() << "the script knows the data sources of the test bed";
    const std::wstring id = L"{00000000-0000-0000-0000-000000000005}";
    destination().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                          L"patient_id, conflict_type, key_info, source_mod_date, destination_mod_date) values ('" +
                          id + L"', 1, '" + kNew + L"', 'patient', 5, 5, 'Birkfelder', '" + kOld + L"', '" + kOld +
                          L"')");
    const ProgramEnd end =
        runProgram(L"cscript.exe //nologo conflicts.vbs resolve " + id + L" source", EXAMPLES_FOLDER);
    EXPECT_EQ(end.status, 1U);
    EXPECT_THAT(end.output, HasSubstr("Not possible: the table has numeric keys. Save the record again at the office"));
    EXPECT_EQ(destination().count(L"replication_conflict"), 1);
}

TEST_P(ExampleHost, EndsWithTwoWhenARowChangedOnBothSides)
{
    destination().execute(L"insert into patient (unid, full_name, mod_date) values (5, 'Birkfelder, Mira', '" +
                          std::wstring(kNewer) + L"')");
    const ProgramEnd end = run();
    EXPECT_EQ(end.status, 2U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("Conflicts in patient: 1"));
    EXPECT_EQ(controlRecord(L"error_f"), GetParam().site == OFFICES ? L"True" : L"False");
    EXPECT_EQ(destination().row(L"select full_name from patient"), L"Birkfelder, Mira");
}

TEST_P(ExampleHost, RunsNothingWhileTheSiteIsNotReady)
{
    ownSide().execute(L"update replication_control set ready_f = 0");
    const ProgramEnd refused = run();
    EXPECT_EQ(refused.status, 4U) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("this site is not ready; --ready marks it"));
    EXPECT_EQ(destination().count(L"patient"), 0);
    EXPECT_EQ(controlRecord(L"ready_f"), L"False");

    const ProgramEnd end = run(L" --ready");
    EXPECT_EQ(end.status, 0U) << end.output;
    EXPECT_EQ(destination().count(L"patient"), 1);
}

TEST_P(ExampleHost, ResetsNothingWhereNoErrorIsRecorded)
{
    const ProgramEnd end = run(L" --reset-error");
    EXPECT_EQ(end.status, 0U) << end.output;
    EXPECT_THAT(end.output, Not(HasSubstr("Clearing")));
}

TEST_P(ExampleHost, LeavesTheIntervalWhenAFailedRunCannotBeRecorded)
{
    if (!isPostgreSql())
        GTEST_SKIP() << "ends connections of the private PostgreSQL";
    const Sabotage cut(destination(), trigger(L"patient", L"insert", L"true",
                                              L"perform * from (" + cutStatement(L"quinmark_host") + L") cut;"));
    host().sourceDsn = taggedDsn(host().sourceDsn, L"quinmark_host");
    host().destinationDsn = taggedDsn(host().destinationDsn, L"quinmark_host");
    const ProgramEnd end = run();
    EXPECT_EQ(end.status, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("0x80004005"));
    EXPECT_EQ(controlRecord(L"error_f, last_timestamp"), L"False|2025-03-10 12:00:00.000");
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
    EXPECT_EQ(end.status, 3U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("usage: "));
}

/// The sample of docs/hosting.md, which runs at the laptop.
class DocumentedHost : public PracticePair
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        if (host().sourceDsn != L"QuinmarkOffice" || host().destinationDsn != L"QuinmarkLaptop")
            GTEST_SKIP() << "the sample knows the data sources of the test bed";
        runAt(LAPTOP);
        script_ = host().logFile + L".vbs";
        std::ofstream(std::filesystem::path(script_), std::ios::binary) << sample();
    }

    void TearDown() override
    {
        if (!script_.empty())
            std::filesystem::remove(script_);
        PracticePair::TearDown();
    }

    ProgramEnd run(const std::wstring& options = L"")
    {
        return runProgram(L"cscript.exe //nologo \"" + script_ + L"\"" + options, EXAMPLES_FOLDER);
    }

private:
    /// With a log of the test's own.
    std::string sample()
    {
        std::ifstream file(std::filesystem::path(EXAMPLES_FOLDER) / "../docs/hosting.md", std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::string fence = "```vbscript\n";
        const size_t begin = text.find(fence) + fence.size();
        const std::string code = text.substr(begin, text.find("```", begin) - begin);
        const std::string log = std::filesystem::path(host().logFile).string();
        return std::regex_replace(code, std::regex(R"(build\\demo\\short\.log)"), log);
    }

    std::wstring script_;
};

TEST_F(DocumentedHost, KeepsARecordedErrorUntilAPersonResetsIt)
{
    destination().execute(L"insert into patient (unid, full_name, mod_date) values (7, 'Jorvesson, Odile', '" +
                          std::wstring(kOld) + L"')");
    const ProgramEnd first = run();
    EXPECT_EQ(first.status, 2U) << first.output;
    EXPECT_THAT(first.output, HasSubstr("Recorded: Deleted from source("));
    EXPECT_THAT(first.output, HasSubstr("Conflicts in patient: 1"));

    const ProgramEnd second = run(L" --ready");
    EXPECT_EQ(second.status, 4U) << second.output;
    EXPECT_THAT(second.output, HasSubstr("Nothing was run: in error or not ready. Deleted from source("));
    EXPECT_THAT(recordedError(), testing::StartsWith(L"error: Deleted from source("));
    EXPECT_EQ(destination().count(L"patient"), 1);

    destination().execute(L"delete from patient");
    const ProgramEnd third = run(L" --ready --reset-error");
    EXPECT_EQ(third.status, 0U) << third.output;
    EXPECT_THAT(third.output, HasSubstr("Clearing the recorded error: Deleted from source("));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_EQ(run().status, 4U) << "not ready";
}

INSTANTIATE_TEST_SUITE_P(, ExampleHost,
                         testing::Values(Host{"VBScript", L"cscript.exe //nologo replicate.vbs daily", LAPTOP, true},
                                         Host{"JScript", L"cscript.exe //nologo replicate.js", OFFICES, false},
                                         Host{"Cpp", L"\"" + builtHost() + L"\"", OFFICES, true}),
                         [](const testing::TestParamInfo<Host>& info) { return info.param.name; });

} // namespace
