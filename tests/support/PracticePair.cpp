#include "PracticePair.h"

#include "Folders.h"
#include "com/convert.h"
#include "com/error.h"

namespace {

std::wstring whereSite(enumReplicationUniqueId site)
{
    return L" where unique_key = " + std::to_wstring(static_cast<int>(site));
}

} // namespace

void PracticePair::SetUp()
{
    if (const std::wstring missing = missingDatabaseSetting(); !missing.empty())
        return skipWithout(missing.c_str(), L"QUINMARK_REQUIRE_DATABASE");
    host_.sourcePrefix = setting(L"QUINMARK_OFFICE_PREFIX");
    host_.sourceDsn = setting(L"QUINMARK_OFFICE_DSN");
    host_.destinationPrefix = setting(L"QUINMARK_LAPTOP_PREFIX");
    host_.destinationDsn = setting(L"QUINMARK_LAPTOP_DSN");
    host_.sourcePassword = host_.destinationPassword = setting(L"QUINMARK_PASSWORD");
    host_.logFile = folder_.file(L"replication.log");
    apartment_.emplace();
    source_ = std::make_unique<PracticeSide>(host_.sourceDsn, host_.sourcePassword);
    destination_ = std::make_unique<PracticeSide>(host_.destinationDsn, host_.destinationPassword);
    emptyTables();
    restoreControl();
    com::check(com::Dispatch::create(L"QuinmarkRepDLL.Factory").get()->QueryInterface(IID_PPV_ARGS(&factory_)));
    ASSERT_TRUE(GetModuleHandleW(builtFile(L"QuinmarkRepDLL.dll").c_str()))
        << "the component is not the one beside this";
    prepare();
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
    apartment_.reset();
}

void PracticePair::emptyTables() const
{
    source_->emptyTables();
    destination_->emptyTables();
}

void PracticePair::restoreControl() const
{
    source_->restoreControl();
    destination_->restoreControl();
}

const PracticeSide& PracticePair::local() const
{
    return com::upperCase(host_.role) == L"SOURCE" ? source() : destination();
}

const PracticeSide& PracticePair::remote() const
{
    return &local() == &source() ? destination() : source();
}

std::wstring PracticePair::controlRecord() const
{
    return controlRecord(host_.site);
}

std::wstring PracticePair::controlRecord(enumReplicationUniqueId site) const
{
    return local().row(L"select ready_f, error_f, error_message, last_timestamp from replication_control" +
                       whereSite(site));
}

std::wstring PracticePair::recordedError() const
{
    const std::wstring record =
        local().row(L"select error_f, error_message from replication_control" + whereSite(host_.site));
    constexpr wchar_t kSet[] = L"True|";
    return record.starts_with(kSet) ? L"error: " + record.substr(std::size(kSet) - 1) : L"none";
}

std::vector<std::wstring> PracticePair::counts() const
{
    std::vector<std::wstring> counts = local().rows(L"select count_name, count_value from replication_counts" +
                                                    whereSite(host_.site) + L" order by count_name");
    for (std::wstring& count : counts)
        count[count.find(L'|')] = L'=';
    return counts;
}

std::vector<std::wstring> PracticePair::conflicts() const
{
    return local().rows(L"select table_name, patient_id, guid, conflict_type, key_info from replication_conflict"
                        L" order by table_name, conflict_type, key_info");
}

std::vector<std::wstring> PracticePair::conflictData() const
{
    return local().rows(L"select field_name, source_data, destination_data from replication_conflict_data"
                        L" order by field_name");
}

void PracticePair::addUser(const PracticeSide& side, int key, const std::wstring& name, const std::wstring& modified)
{
    side.execute(L"insert into users (unid, user_name, initials, access_level, active_f, mod_date) values (" +
                 std::to_wstring(key) + L", '" + name + L"', null, 1, 1, '" + modified + L"')");
}

std::vector<std::wstring> PracticePair::users(const PracticeSide& side)
{
    return side.rows(L"select unid, user_name from users order by unid");
}

void PracticePair::changeUser(const PracticeSide& side, int key, const std::wstring& name, const std::wstring& modified)
{
    side.execute(L"update users set user_name = '" + name + L"', mod_date = '" + modified + L"' where unid = " +
                 std::to_wstring(key));
}
