#include "PracticePair.h"

namespace {

std::wstring whereSite(enumReplicationUniqueId site)
{
    return L" where unique_key = " + std::to_wstring(static_cast<int>(site));
}

} // namespace

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

void PracticePair::addUser(const PracticeSide& side, int key, const std::wstring& name,
                           const std::wstring& modified) const
{
    side.execute(L"insert into users (unid, user_name, initials, access_level, active_f, mod_date) values (" +
                 std::to_wstring(key) + L", '" + name + L"', null, 1, 1, '" + modified + L"')");
}

void PracticePair::changeUser(const PracticeSide& side, int key, const std::wstring& name,
                              const std::wstring& modified) const
{
    side.execute(L"update users set user_name = '" + name + L"', mod_date = '" + modified + L"' where unid = " +
                 std::to_wstring(key));
}

std::vector<std::wstring> PracticePair::users(const PracticeSide& side)
{
    return side.rows(L"select unid, user_name from users order by unid");
}
