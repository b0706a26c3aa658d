#include "PracticePair.h"

#include "com/error.h"

namespace {

constexpr const wchar_t* kSettings[] = {L"QUINMARK_OFFICE_DSN", L"QUINMARK_LAPTOP_DSN", L"QUINMARK_PASSWORD",
                                        L"QUINMARK_OFFICE_PREFIX", L"QUINMARK_LAPTOP_PREFIX"};

/// Children before their parents.
constexpr const wchar_t* kTables[] = {L"chart_comment_info",
                                      L"chart_item",
                                      L"chart_hdr",
                                      L"patient_spec_xref",
                                      L"patient_dates",
                                      L"patient",
                                      L"dentist",
                                      L"specialist",
                                      L"dentist_company",
                                      L"users",
                                      L"procs_letter",
                                      L"procs",
                                      L"ada_code",
                                      L"chair_type",
                                      L"shortcut",
                                      L"combo_values",
                                      L"config",
                                      L"chart_option",
                                      L"chart_option_setting",
                                      L"computer_type_setting",
                                      L"computer_type",
                                      L"replication_counts"};

std::wstring logPath()
{
    wchar_t folder[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + L"quinmark_replication_" + std::to_wstring(GetCurrentProcessId()) + L".log";
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Counters& counters)
{
    return stream << "source +" << counters.sourceAdd << " ~" << counters.sourceUpdate << " -" << counters.sourceDelete
                  << ", destination +" << counters.destAdd << " ~" << counters.destUpdate << " -" << counters.destDelete
                  << ", conflicts " << counters.conflict << ", errors " << counters.error;
}

std::wstring PracticePair::setting(const wchar_t* name)
{
    wchar_t text[256] = L"";
    GetEnvironmentVariableW(name, text, static_cast<DWORD>(std::size(text)));
    return text;
}

bool PracticePair::isPostgreSql()
{
    return setting(L"QUINMARK_SERVER") != L"sqlserver";
}

std::wstring PracticePair::taggedDsn(const std::wstring& dsn, const std::wstring& tag)
{
    return dsn + L";pqopt={application_name=" + tag + L"}";
}

std::wstring PracticePair::cutStatement(const std::wstring& tag)
{
    return L"select pg_terminate_backend(pid) from pg_stat_activity where application_name = '" + tag + L"'";
}

void PracticePair::SetUp()
{
    for (const wchar_t* name : kSettings) {
        if (!setting(name).empty())
            continue;
        if (setting(L"QUINMARK_REQUIRE_DATABASE") == L"1")
            FAIL() << name << " is not set";
        GTEST_SKIP() << name << " is not set";
    }
    apartment_.emplace();
    readSettings();
    source_ = std::make_unique<PracticeSide>(host_.sourceDsn, host_.sourcePassword);
    destination_ = std::make_unique<PracticeSide>(host_.destinationDsn, host_.destinationPassword);
    emptyTables();
    restoreControl();
    com::check(com::Dispatch::create(L"QuinmarkRepDLL.Factory").get()->QueryInterface(IID_PPV_ARGS(&factory_)));
}

void PracticePair::TearDown()
{
    if (factory_)
        disconnect();
    if (source_ && destination_)
        restoreControl();
    factory_.Reset();
    source_.reset();
    destination_.reset();
    DeleteFileW(host_.logFile.c_str());
    apartment_.reset();
}

void PracticePair::readSettings()
{
    const std::wstring password = setting(L"QUINMARK_PASSWORD");
    host_.sourcePrefix = setting(L"QUINMARK_OFFICE_PREFIX");
    host_.sourceDsn = setting(L"QUINMARK_OFFICE_DSN");
    host_.sourcePassword = password;
    host_.destinationPrefix = setting(L"QUINMARK_LAPTOP_PREFIX");
    host_.destinationDsn = setting(L"QUINMARK_LAPTOP_DSN");
    host_.destinationPassword = password;
    host_.logFile = logPath();
    DeleteFileW(host_.logFile.c_str());
}

void PracticePair::emptyTables() const
{
    for (const PracticeSide* side : {source_.get(), destination_.get()}) {
        for (const wchar_t* table : kTables)
            side->execute(L"delete from " + std::wstring(table));
        side->execute(L"delete from replication_conflict_data");
        side->execute(L"delete from replication_conflict");
        restorePatientKey(*side);
    }
}

void PracticePair::restorePatientKey(const PracticeSide& side)
{
    if (!side.hasPatientKey())
        side.execute(L"alter table patient add constraint FK_patient_dentist foreign key (dc_id, dentist_id)"
                     L" references dentist (dc_id, dentist_id)");
}

void PracticePair::restoreControl() const
{
    for (const PracticeSide* side : {source_.get(), destination_.get()}) {
        side->execute(L"delete from replication_control");
        side->execute(L"delete from control");
        for (const wchar_t* site : {L"0", L"1"})
            side->execute(L"insert into replication_control (unique_key, ready_f, error_f, last_timestamp,"
                          L" next_timestamp) values (" +
                          std::wstring(site) + L", 1, 0, '" + kLastRun + L"', '" + kLastRun + L"')");
        for (const wchar_t* mark :
             {L"'ReplicationVersion', '3.46'", L"'PatInfoVer', '12'", L"'Version', '3.46'", L"'DBOffice', 'Norvale'"})
            side->execute(L"insert into control (type, id) values (" + std::wstring(mark) + L")");
    }
}
