// The script for conflicts, and the sample of docs/hosting.md.
#include "Examples.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>

using testing::HasSubstr;

namespace {

class Script : public Examples
{
protected:
    void SetUp() override
    {
        skipWithoutRegistration();
        if (IsSkipped() || HasFatalFailure())
            return;
        Examples::SetUp();
    }

    /// The script for conflicts, on the databases of the pair.
    ProgramEnd conflicts(const std::wstring& arguments)
    {
        return runExample(L"cscript.exe //nologo conflicts.vbs " + arguments + L" " + host().sourceDsn + L" " +
                          host().sourcePrefix + L" " + host().destinationDsn + L" " + host().destinationPrefix);
    }
};

class ConflictScript : public Script, public testing::WithParamInterface<enumReplicationUniqueId>
{
};

TEST_P(ConflictScript, ListsWhatARunRecorded)
{
    const bool atOffice = GetParam() == OFFICES;
    runAt(GetParam());
    addPatient(source(), 5, L"Birkfelder, Ada", kNew);
    addPatient(destination(), 5, L"Birkfelder, Mira", kNewer);
    addPatient(destination(), 7, L"Jorvesson, Odile", atOffice ? kNew : kOld);
    replicate({ONE_WAY_ALLOW_DELETES, L"patient"});
    local().execute(L"update replication_conflict set source_mod_date = null where patient_id = 7");
    const ProgramEnd end = conflicts(atOffice ? L"list --office" : L"list");
    EXPECT_EQ(end.exitCode, 0U) << end.output;
    EXPECT_THAT(end.output, HasSubstr("patient, changed on both sides: Birkfelder, Ada (5)\n"));
    EXPECT_THAT(end.output, HasSubstr("full_name: source 'Birkfelder, Ada', destination 'Birkfelder, Mira'"));
    EXPECT_THAT(end.output,
                HasSubstr(std::string(atOffice ? "patient, new on the destination" : "patient, deleted on the source") +
                          ": Jorvesson, Odile (7) (incomplete, resolve it by hand)"));
    EXPECT_THAT(end.output, HasSubstr("full_name: source '', destination 'Jorvesson, Odile'"));
}

INSTANTIATE_TEST_SUITE_P(, ConflictScript, testing::Values(OFFICES, LAPTOP),
                         [](const auto& info) { return info.param == OFFICES ? "AtOffices" : "AtLaptop"; });

TEST_F(Script, LeavesConflictsOfNumericKeysThatAreToBeTakenFromTheSource)
{
    const std::wstring id = L"{00000000-0000-0000-0000-000000000005}";
    destination().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                          L"patient_id, conflict_type, key_info, source_mod_date, destination_mod_date) values ('" +
                          id + L"', 1, '" + kNew + L"', 'patient', 5, 5, 'Birkfelder', '" + kOld + L"', '" + kOld +
                          L"')");
    const ProgramEnd end = conflicts(L"resolve " + id + L" source");
    EXPECT_EQ(end.exitCode, 1U);
    EXPECT_THAT(end.output, HasSubstr("Not possible: the table has numeric keys. Save the record again at the office"));
    EXPECT_EQ(destination().count(L"replication_conflict"), 1);
}

TEST_F(Script, TellsItsUsageBeforeItConnects)
{
    host().destinationDsn = L"NoSuchDataSource";
    for (const wchar_t* wrong : {L"", L"lst", L"list --laptop", L"resolve {1}", L"resolve {1} sources"}) {
        const ProgramEnd end = conflicts(wrong);
        EXPECT_EQ(end.exitCode, 3U) << end.output;
        EXPECT_THAT(end.output, testing::StartsWith("usage: conflicts.vbs list [--office]"));
    }
}

/// The sample of docs/hosting.md, which runs at the laptop and knows the data sources of the test bed.
class DocumentedHost : public Script
{
protected:
    void prepare() override
    {
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
        Script::TearDown();
    }

    ProgramEnd run(const std::wstring& options = L"")
    {
        return runExample(L"cscript.exe //nologo \"" + script_ + L"\"" + options);
    }

private:
    /// With a log of the test's own, between the databases of the settings.
    std::string sample()
    {
        std::ifstream file(sourceFile(L"docs/hosting.md"), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::string fence = "```vbscript\n";
        const size_t begin = text.find(fence) + fence.size();
        std::string code = text.substr(begin, text.find("```", begin) - begin);
        for (const auto& [said, meant] : {std::pair("\"office\\.\"", host().sourcePrefix),
                                          {"\"laptop\\.\"", host().destinationPrefix},
                                          {"\"QuinmarkOffice\"", host().sourceDsn},
                                          {"\"QuinmarkLaptop\"", host().destinationDsn}})
            code = std::regex_replace(code, std::regex(said), "\"" + std::filesystem::path(meant).string() + "\"");
        const std::string log = std::filesystem::path(host().logFile).string();
        return std::regex_replace(code, std::regex(R"(build\\demo\\short\.log)"), log);
    }

    std::wstring script_;
};

TEST_F(DocumentedHost, KeepsARecordedErrorUntilAPersonResetsIt)
{
    addPatient(destination(), 7, L"Jorvesson, Odile", kOld);
    const ProgramEnd first = run();
    EXPECT_EQ(first.exitCode, 2U) << first.output;
    EXPECT_THAT(first.output, HasSubstr("Recorded: Deleted from source("));
    EXPECT_THAT(first.output, HasSubstr("Conflicts in patient: 1"));

    const ProgramEnd second = run(L" --ready");
    EXPECT_EQ(second.exitCode, 4U) << second.output;
    EXPECT_THAT(second.output, HasSubstr("Nothing was run: in error or not ready. Deleted from source("));
    EXPECT_THAT(recordedError(), testing::StartsWith(L"error: Deleted from source("));
    EXPECT_EQ(destination().count(L"patient"), 1);

    destination().execute(L"delete from patient");
    const ProgramEnd third = run(L" --ready --reset-error");
    EXPECT_EQ(third.exitCode, 0U) << third.output;
    EXPECT_THAT(third.output, HasSubstr("Clearing the recorded error: Deleted from source("));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_EQ(run().exitCode, 4U) << "not ready";
}

} // namespace
