// A table that will end in an error stops the run before it begins; when the run is forced, the table ends in that
// error.
#include "Quinrep.h"

#include "support/Sabotage.h"

namespace {

const std::wstring kNewDate = L"'2025-03-11T09:15:00'";
constexpr char kByName[] = "key = 'user_name'\ndeletes = 'with_updates'";

/// Wider or looser columns, for the length of a test.
std::wstring looseUsers(const std::wstring& change)
{
    return L"alter table users alter column " + change;
}

std::wstring strictUsers(const std::wstring& change)
{
    return L"delete from users; alter table users alter column " + change;
}

const std::wstring kLongName(51, L'c');

struct FailureCase
{
    const char* name;
    std::string table;
    bool atSource;
    std::wstring change;
    std::wstring undo;
    std::wstring row;
    std::string text;
};

const FailureCase kFailures[] = {
    {"ConflictWithoutDescription", tableSection("dentist_company", "by_key", "key = 'dc_id'\ndeletes = 'with_updates'"),
     false, L"", L"", L"dentist_company (dc_id, company_name, mod_date) values (3, 'new', " + kNewDate + L")",
     "replication has no description for its rows"},
    // The conflict's row is read by unid, which the table does not have.
    {"ConflictByAnotherKey", tableSection("users", "by_key", kByName), false, L"", L"",
     L"users (unid, user_name, mod_date) values (1, 'new', " + kNewDate + L")", "A conflict cannot be recorded: "},
    {"RowWithoutDescription", "", false, looseUsers(L"user_name drop not null"), strictUsers(L"user_name set not null"),
     L"users (unid, mod_date) values (1, " + kNewDate + L")", "these rows have no description (94"},
    {"NumericKeyBelowOne", "", false, L"", L"", L"users (unid, user_name, mod_date) values (0, 'x', " + kNewDate + L")",
     "Patiend id or table guid not supplied"},
    {"DescriptionTooLong", "", false, looseUsers(L"user_name type varchar(200)"),
     strictUsers(L"user_name type varchar(40)"),
     L"users (unid, user_name, mod_date) values (1, '" + std::wstring(126, L'n') + L"', " + kNewDate + L")",
     "the description of these rows is longer than 125 characters"},
    {"ColumnNameTooLong", "", false, L"alter table users add " + kLongName + L" int",
     L"alter table users drop column " + kLongName,
     L"users (unid, user_name, mod_date, " + kLongName + L") values (1, 'x', " + kNewDate + L", 1)",
     "the name of column " + std::string(51, 'c') + " is longer than 50"},
    {"ValueTooLong", "", false, looseUsers(L"initials type varchar(4000)"), strictUsers(L"initials type char(3)"),
     L"users (unid, user_name, mod_date, initials) values (1, 'x', " + kNewDate + L", '" + std::wstring(3501, L'i') +
         L"')",
     "the value in column initials is longer than 3500"},
    {"RowWithoutADate", "", true, looseUsers(L"mod_date drop not null"), strictUsers(L"mod_date set not null"),
     L"users (unid, user_name, mod_date) values (1, 'x', null)", "These rows have no mod_date"},
    {"RowWithoutAKey", tableSection("users", "by_key", "key = 'access_level'\ndeletes = 'with_updates'"), true, L"",
     L"", L"users (unid, user_name, access_level, mod_date) values (1, 'x', null, " + kNewDate + L")",
     "A row without a key"},
    {"KeyWithAnApostrophe", tableSection("users", "by_key", kByName), true, L"", L"",
     L"users (unid, user_name, mod_date) values (1, 'O''Brien', " + kNewDate + L")", "holds an apostrophe"},
    {"MissingTable", tableSection("no_such_table", "one_way"), true, L"", L"",
     L"users (unid, user_name, mod_date) values (1, 'x', " + kNewDate + L")", "The table cannot be compared: "},
};

class ForetoldFailure : public Quinrep, public testing::WithParamInterface<FailureCase>
{
};

TEST_P(ForetoldFailure, ComesWhenTheRunIsForced)
{
    const FailureCase& with = GetParam();
    if (!with.table.empty())
        tables = with.table;
    const PracticeSide& side = with.atSource ? source() : destination();
    const Sabotage loose(side, with.change, with.undo);
    side.execute(L"insert into " + with.row);
    const Ended ended = quinrepJson(L"-q run --force", "run");
    EXPECT_EQ(ended.exitCode, kFailed) << ended.output;
    const json passed = ended.result()["passed"];
    ASSERT_EQ(passed.size(), 1U) << passed;
    EXPECT_EQ(passed[0]["reason"], "will_fail");
    EXPECT_THAT(passed[0]["text"].get<std::string>(), HasSubstr(with.text));
}

INSTANTIATE_TEST_SUITE_P(, ForetoldFailure, testing::ValuesIn(kFailures),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
