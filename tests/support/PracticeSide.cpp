#include "PracticeSide.h"

#include "Requirements.h"
#include "TextLine.h"

#include "com/convert.h"
#include "com/error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace {

/// Children before their parents.
constexpr const wchar_t* kPracticeTables[] = {L"chart_comment_info",
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
                                              L"replication_counts",
                                              L"replication_conflict_data",
                                              L"replication_conflict"};

/// Says whether the rows of its database are those of tests.
constexpr wchar_t kMark[] = L"quinmark_test_database";

/// Dates to the millisecond: the platform's own text ends with the second.
std::wstring isoText(DATE date)
{
    constexpr long long kMillisecondsPerDay = 86'400'000;
    const long long total = std::llround(date * kMillisecondsPerDay);
    const long long ofDay = total % kMillisecondsPerDay;
    SYSTEMTIME day{};
    VariantTimeToSystemTime(static_cast<DATE>(total / kMillisecondsPerDay), &day);
    wchar_t text[64];
    swprintf(text, std::size(text), L"%04d-%02d-%02d %02d:%02d:%02d.%03d", day.wYear, day.wMonth, day.wDay,
             static_cast<int>(ofDay / 3'600'000), static_cast<int>(ofDay / 60'000 % 60),
             static_cast<int>(ofDay / 1000 % 60), static_cast<int>(ofDay % 1000));
    return text;
}

std::wstring valueText(const com::Dispatch& field)
{
    constexpr long kAdChar = 129;
    const _variant_t value = field.property(L"Value");
    if (value.vt == VT_NULL)
        return L"<Null>";
    if (value.vt == VT_DATE)
        return isoText(value.date);
    std::wstring text = com::toText(value);
    if (com::toInt32(field.property(L"Type")) == kAdChar)
        text.erase(text.find_last_not_of(L' ') + 1);
    return text;
}

std::wstring rowText(const com::Dispatch& fields)
{
    std::wstring text;
    const long count = com::toInt32(fields.property(L"Count"));
    for (long index = 0; index < count; ++index)
        text += (index > 0 ? L"|" : L"") + valueText(com::Dispatch::from(fields.property(L"Item", {index})));
    return text;
}

} // namespace

PracticeSide::PracticeSide(const std::wstring& dsn, const std::wstring& password, Unclaimed)
    : connection_(com::Dispatch::create(L"ADODB.Connection"))
{
    connection_.call(L"Open", {com::textVariant(L"DSN=" + dsn + L";UID=quinmarkapp_user;PWD=" + password)});
}

PracticeSide::PracticeSide(const std::wstring& dsn, const std::wstring& password)
    : PracticeSide(dsn, password, Unclaimed{})
{
    if (isWine() && setting(L"QUINMARK_KIT").empty())
        return;
    for (const std::wstring& prefix :
         {std::wstring(), setting(L"QUINMARK_OFFICE_PREFIX"), setting(L"QUINMARK_LAPTOP_PREFIX")})
        if (rowsOfTests(prefix) != L"1")
            throw std::runtime_error("refused to touch " + toUtf8(dsn) + ": " + toUtf8(prefix + kMark) +
                                     " does not say that rows_of_tests is 1, which run-tests.cmd makes it for its run");
}

PracticeSide::~PracticeSide()
{
    try {
        connection_.call(L"Close");
    }
    catch (const com::Error& error) {
        ADD_FAILURE() << "Close: " << error.description;
    }
}

std::wstring PracticeSide::name() const
{
    return com::toText(connection_.property(L"DefaultDatabase"));
}

void PracticeSide::execute(const std::wstring& sql) const
{
    connection_.call(L"Execute", {com::textVariant(sql)});
}

com::Dispatch PracticeSide::query(const std::wstring& sql) const
{
    return com::Dispatch::from(connection_.call(L"Execute", {com::textVariant(sql)}));
}

std::vector<std::wstring> PracticeSide::rows(const std::wstring& sql) const
{
    const com::Dispatch recordset = query(sql);
    std::vector<std::wstring> rows;
    for (; !com::toBool(recordset.property(L"EOF")); recordset.call(L"MoveNext"))
        rows.push_back(rowText(com::Dispatch::from(recordset.property(L"Fields"))));
    recordset.call(L"Close");
    return rows;
}

std::wstring PracticeSide::row(const std::wstring& sql) const
{
    const std::vector<std::wstring> found = rows(sql);
    EXPECT_LE(found.size(), 1U) << sql;
    return found.empty() ? L"<none>" : found.front();
}

_variant_t PracticeSide::value(const std::wstring& sql) const
{
    return com::Dispatch::from(com::Dispatch::from(query(sql).property(L"Fields")).property(L"Item", {0L}))
        .property(L"Value");
}

long PracticeSide::count(const std::wstring& table) const
{
    return std::stol(row(L"select count(*) from " + table));
}

bool PracticeSide::hasPatientKey() const
{
    return row(L"select count(*) from information_schema.table_constraints"
               L" where lower(constraint_name) = 'fk_patient_dentist'") == L"1";
}

void PracticeSide::restorePatientKey() const
{
    if (!hasPatientKey())
        execute(L"alter table patient add constraint FK_patient_dentist foreign key (dc_id, dentist_id)"
                L" references dentist (dc_id, dentist_id)");
}

std::wstring PracticeSide::rowsOfTests(const std::wstring& prefix) const
{
    try {
        return row(L"select rows_of_tests from " + prefix + kMark);
    }
    catch (const com::Error& error) {
        return error.description;
    }
}

std::wstring PracticeSide::filledTable() const
{
    for (const wchar_t* table : kPracticeTables)
        if (count(table) > 0)
            return table;
    return L"";
}

void PracticeSide::emptyTables() const
{
    std::wstring statements;
    for (const std::wstring table : kPracticeTables)
        statements += L"delete from " + table + L";";
    execute(statements);
    restorePatientKey();
}

void PracticeSide::restoreControl() const
{
    std::wstring statements = L"delete from replication_control; delete from control;";
    for (const wchar_t* site : {L"0", L"1"})
        statements += L"insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp)"
                      L" values (" +
                      std::wstring(site) + L", 1, 0, '" + kLastRun + L"', '" + kLastRun + L"');";
    for (const wchar_t* mark :
         {L"'ReplicationVersion', '3.46'", L"'PatInfoVer', '12'", L"'Version', '3.46'", L"'DBOffice', 'Norvale'"})
        statements += L"insert into control (type, id) values (" + std::wstring(mark) + L");";
    execute(statements);
}
