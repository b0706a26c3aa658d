#include "Examples.h"
#include "support/Relay.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// An example host: how it is started, and at which site it runs.
struct Host
{
    const char* name;
    std::wstring command;
    enumReplicationUniqueId site;
    /// Whether its language can tell an error's source.
    bool tellsSource;
    /// Whether it finds the component by its registration alone.
    bool isScript;
};

std::ostream& operator<<(std::ostream& stream, const Host& host)
{
    return stream << host.name;
}

class ExampleHost : public Examples, public testing::WithParamInterface<Host>
{
protected:
    void SetUp() override
    {
        if (GetParam().isScript)
            skipWithoutRegistration();
        if (!IsSkipped() && !HasFatalFailure())
            Examples::SetUp();
    }

    void prepare() override
    {
        source().execute(L"insert into ada_code (unid, ada_code, ada_code_desc, mod_date) values "
                         L"('{11111111-2222-3333-4444-555555555555}', 'D0120', 'Examination', '" +
                         std::wstring(kNew) + L"')");
        addPatient(source(), 5, L"Birkfelder, Ada", kNew);
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

    /// A row that somebody typed in at the laptop, which a run of this site may not settle, or its copy at the office.
    void addTypedIn(const PracticeSide& side)
    {
        addPatient(side, 7, L"Jorvesson, Odile", GetParam().site == OFFICES ? kNew : kOld);
    }

    ProgramEnd run(const std::wstring& options = L"")
    {
        const HostSettings& with = host();
        return runExample(GetParam().command + L" \"" + with.logFile + L"\" " + with.sourceDsn + L" " +
                          with.sourcePrefix + L" " + with.destinationDsn + L" " + with.destinationPrefix + options);
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

TEST_P(ExampleHost, BringsTheRowsOverAndMovesTheIntervalOnceTheSiteIsReady)
{
    ownSide().execute(L"update replication_control set ready_f = 0");
    const ProgramEnd refused = run();
    EXPECT_EQ(refused.exitCode, 4U) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("this site is not ready; --ready marks it"));
    EXPECT_EQ(destination().count(L"patient"), 0);
    EXPECT_EQ(controlRecord(L"ready_f"), L"False");

    const ProgramEnd end = run(L" --ready --reset-error");
    EXPECT_EQ(end.exitCode, 0U) << end.output;
    EXPECT_THAT(end.output, Not(HasSubstr("Clearing"))) << "no error was recorded";
    EXPECT_THAT(patients(destination()), ElementsAre(L"5|Birkfelder, Ada"));
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
    EXPECT_EQ(end.exitCode, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("-2147217843 (0x80040E4D)"));
    EXPECT_THAT(end.output, HasSubstr("quinmarkapp_user"));
    EXPECT_EQ(end.output.find("Factory.init") != std::string::npos, GetParam().tellsSource) << end.output;
    EXPECT_EQ(destination().count(L"patient"), 0);
}

TEST_P(ExampleHost, RecordsAFailedRunAndRefusesTheNext)
{
    addPatientOfAnOldDentist();
    const ProgramEnd failed = run();
    EXPECT_EQ(failed.exitCode, 1U) << failed.output;
    EXPECT_THAT(failed.output, HasSubstr("The run failed: "));
    EXPECT_THAT(failed.output, HasSubstr("_patient_dentist"));
    EXPECT_EQ(failed.output.find("clsReplicate.go") != std::string::npos, GetParam().tellsSource) << failed.output;
    EXPECT_EQ(controlRecord(L"error_f"), L"True");
    EXPECT_EQ(controlRecord(L"last_timestamp"), L"2025-03-10 12:00:00.000");

    const ProgramEnd refused = run();
    EXPECT_EQ(refused.exitCode, 4U) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("Nothing was run. Recorded: "));
}

TEST_P(ExampleHost, KeepsTheErrorThatTheRunRecordedAndRunsNothingUntilAPersonResetsIt)
{
    addTypedIn(destination());
    const ProgramEnd first = run();
    EXPECT_EQ(first.exitCode, 2U) << first.output;
    EXPECT_THAT(first.output, HasSubstr("Conflicts in patient: 1"));
    EXPECT_THAT(first.output, HasSubstr("Only then run with --reset-error."));
    const std::wstring record = controlRecord(L"error_f, last_timestamp, error_message");
    EXPECT_THAT(record, StartsWith(L"True|20"));
    const std::string recorded = std::filesystem::path(controlRecord(L"error_message")).string();
    EXPECT_THAT(recorded, HasSubstr(GetParam().site == OFFICES ? "New in destination" : "Deleted from source"));
    EXPECT_THAT(first.output, HasSubstr("Recorded: " + recorded));
    EXPECT_GT(controlRecord(L"last_timestamp"), L"2025-03-11");

    const ProgramEnd second = run(L" --ready");
    EXPECT_EQ(second.exitCode, 4U) << second.output;
    EXPECT_THAT(second.output, HasSubstr("Nothing was run. Recorded: " + recorded));
    EXPECT_THAT(second.output, HasSubstr("Only then run with --reset-error."));
    EXPECT_EQ(destination().count(L"patient"), 2);
    EXPECT_EQ(ownSide().count(L"replication_conflict"), 1);
    EXPECT_EQ(controlRecord(L"error_f, last_timestamp, error_message"), record);

    // As the documents say: both sides get the row that is right, with one date, and the conflict goes.
    addTypedIn(source());
    ownSide().execute(L"delete from replication_conflict_data");
    ownSide().execute(L"delete from replication_conflict");
    const ProgramEnd third = run(L" --ready --reset-error");
    EXPECT_EQ(third.exitCode, 0U) << third.output;
    EXPECT_THAT(third.output, HasSubstr("Clearing the recorded error: " + recorded));
    EXPECT_EQ(controlRecord(L"error_f"), L"False");
    for (const PracticeSide* side : {&source(), &destination()})
        EXPECT_THAT(patients(*side), ElementsAre(L"5|Birkfelder, Ada", L"7|Jorvesson, Odile"));
    EXPECT_EQ(ownSide().count(L"replication_conflict"), 0);
}

TEST_P(ExampleHost, EndsWithTwoWhenARowChangedOnBothSides)
{
    addPatient(destination(), 5, L"Birkfelder, Mira", kNewer);
    const ProgramEnd end = run();
    EXPECT_EQ(end.exitCode, 2U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("Conflicts in patient: 1"));
    EXPECT_EQ(controlRecord(L"error_f"), GetParam().site == OFFICES ? L"True" : L"False");
    EXPECT_THAT(patients(destination()), ElementsAre(L"5|Birkfelder, Mira"));
}

TEST_P(ExampleHost, TellsBothErrorsAndLeavesTheIntervalWhenAFailedRunCannotBeRecorded)
{
    const std::unique_ptr<Relay> relay = relayToServer();
    if (!relay)
        return;
    relay->cutAt(L"Insert into patient ");
    host().sourceDsn = relay->dataSource(host().sourceDsn);
    host().destinationDsn = relay->dataSource(host().destinationDsn);
    const ProgramEnd end = run();
    EXPECT_EQ(end.exitCode, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("The run failed: -2147467259 (0x80004005)"));
    EXPECT_THAT(end.output, HasSubstr("\nand it could not be recorded: "));
    EXPECT_EQ(controlRecord(L"error_f, last_timestamp"), L"False|2025-03-10 12:00:00.000");
}

TEST_P(ExampleHost, TellsThatTheDatabasesDoNotBelongTogether)
{
    destination().execute(L"update control set id = '3.45' where type = 'Version'");
    const ProgramEnd end = run();
    EXPECT_EQ(end.exitCode, 1U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("The databases do not belong together: "));
    EXPECT_EQ(destination().count(L"patient"), 0);
}

TEST_P(ExampleHost, RefusesWrongArguments)
{
    const ProgramEnd end = runExample(GetParam().command + L" a b c");
    EXPECT_EQ(end.exitCode, 3U) << end.output << end.messages;
    EXPECT_THAT(end.output + end.messages, HasSubstr("usage: "));
}

INSTANTIATE_TEST_SUITE_P(
    , ExampleHost,
    testing::Values(Host{"VBScript", L"cscript.exe //nologo replicate.vbs daily", LAPTOP, true, true},
                    Host{"JScript", L"cscript.exe //nologo replicate.js", OFFICES, false, true},
                    Host{"Cpp", L"\"" + builtFile(L"example_replicate.exe").wstring() + L"\"", OFFICES, true, false}),
    [](const testing::TestParamInfo<Host>& info) { return std::string(info.param.name); });

} // namespace
