// A table that will end in an error stops the run before it begins; when the run is forced, the table ends in that
// error.
#include "Quinrep.h"

#include "support/Sabotage.h"

namespace {

const std::wstring kNewDate = L"'2025-03-11T09:15:00'";
constexpr char kByName[] = "key = 'user_name'\ndeletes = 'with_updates'";

/// Has a column of the users accept Null for the length of a test.
Change nullable(const std::wstring& column, const std::wstring& type)
{
    const Change change = nullableColumn(L"users", column, type);
    return {change.make, L"delete from users; " + change.undo};
}

Change addedColumn(const std::wstring& name, const std::wstring& type)
{
    return {L"alter table users add " + name + L" " + type, L"alter table users drop column " + name};
}

const Change kUnchanged{};
const std::wstring kLongName(51, L'c');

struct FailureCase
{
    const char* name;
    std::string table;
    bool atSource;
    Change change;
    std::wstring row;
    std::string text;
};

const FailureCase kFailures[] = {
    {"ConflictWithoutDescription", tableSection("dentist_company", "by_key", "key = 'dc_id'\ndeletes = 'with_updates'"),
     false, kUnchanged, L"dentist_company (dc_id, company_name, mod_date) values (3, 'new', " + kNewDate + L")",
     "replication has no description for its rows"},
    // The conflict's row is read by unid, which the table does not have.
    {"ConflictByAnotherKey", tableSection("users", "by_key", kByName), false, kUnchanged,
     L"users (unid, user_name, mod_date) values (1, 'new', " + kNewDate + L")", "A conflict cannot be recorded: "},
    {"RowWithoutDescription", "", false, nullable(L"user_name", L"varchar(40)"),
     L"users (unid, mod_date) values (1, " + kNewDate + L")", "these rows have no description (94"},
    {"NumericKeyBelowOne", "", false, kUnchanged,
     L"users (unid, user_name, mod_date) values (0, 'x', " + kNewDate + L")", "Patiend id or table guid not supplied"},
    {"DescriptionTooLong", tableSection("ada_code", "one_way"), false, kUnchanged,
     L"ada_code (ada_code, ada_code_desc, mod_date) values ('D0120', '" + std::wstring(119, L'n') + L"', " + kNewDate +
         L")",
     "the description of these rows is longer than 125 characters"},
    {"ColumnNameTooLong", "", false, addedColumn(kLongName, L"int"),
     L"users (unid, user_name, mod_date, " + kLongName + L") values (1, 'x', " + kNewDate + L", 1)",
     "the name of column " + std::string(51, 'c') + " is longer than 50"},
    {"ValueTooLong", "", false, addedColumn(L"notes", L"varchar(4000)"),
     L"users (unid, user_name, mod_date, notes) values (1, 'x', " + kNewDate + L", '" + std::wstring(3501, L'i') +
         L"')",
     "the value in column notes is longer than 3500"},
    {"RowWithoutADate", "", true, nullable(L"mod_date", dateType()),
     L"users (unid, user_name, mod_date) values (1, 'x', null)", "These rows have no mod_date"},
    {"RowWithoutAKey", tableSection("users", "by_key", "key = 'access_level'\ndeletes = 'with_updates'"), true,
     kUnchanged, L"users (unid, user_name, access_level, mod_date) values (1, 'x', null, " + kNewDate + L")",
     "A row without a key"},
    {"KeyWithAnApostrophe", tableSection("users", "by_key", kByName), true, kUnchanged,
     L"users (unid, user_name, mod_date) values (1, 'O''Brien', " + kNewDate + L")", "holds an apostrophe"},
    {"MissingTable", tableSection("no_such_table", "one_way"), true, kUnchanged,
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
    std::optional<Sabotage> change;
    if (!tryOrSkip(L"a change of a column", [&] { change.emplace(side, with.change); }))
        return;
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
