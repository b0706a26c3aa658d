// Columns, names and triggers that a run stumbles over: told by check, stopped by the look ahead, and put in order by
// doing what check says.
#include "Quinrep.h"

#include "support/CreatedTable.h"
#include "support/MessageBoxes.h"
#include "support/Raised.h"
#include "text.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr wchar_t kEnds[] = L", mod_date ";

/// The looks of check that found something about a table, each as its text and what to do.
std::vector<std::string> findings(const Ended& ended)
{
    std::vector<std::string> found;
    const json checks = ended.result()["checks"];
    for (const json& check : checks)
        if (check["finding"] != "" && !check["finding"].get<std::string>().starts_with("replication has no desc"))
            found.push_back(check["finding"].get<std::string>() + " -> " + check["todo"].get<std::string>());
    return found;
}

class TableOfItsOwn : public NeedsDisplay<Quinrep>
{
protected:
    /// Columns with `column` between the usual ones.
    static std::wstring with(const std::wstring& column)
    {
        return L"unid int not null primary key, name varchar(20)" + (column.empty() ? L"" : L", " + column) + kEnds +
               dateType();
    }

    /// Makes the table anew, with a new row at the source; skips the test where the server lacks `what`.
    [[nodiscard]] bool create(const wchar_t* what, const std::wstring& atSource, const std::wstring& atDestination,
                              const std::wstring& name = CreatedTable::kName)
    {
        table_.reset();
        return tryOrSkip(what, [&] {
            table_.emplace(source(), destination(), host(), with(atSource), with(atDestination), name);
            source().execute(L"insert into " + name + L" (unid, name, mod_date) values (7, 'a', '" + kNew + L"')");
        });
    }

    void TearDown() override
    {
        table_.reset();
        NeedsDisplay<Quinrep>::TearDown();
    }

    /// The reason for which the look ahead stops a run that would end in an error.
    std::string stopText()
    {
        const Ended ended = quinrepJson(L"run", "preview");
        EXPECT_EQ(ended.exitCode, kGuarded);
        EXPECT_EQ(recordedError(), L"none");
        const json stops = ended.result()["stops"];
        for (const json& stop : stops)
            if (stop["reason"] == "will_fail")
                return stop["text"];
        return "none in " + stops.dump();
    }

    static std::vector<std::wstring> rowsOf(const PracticeSide& side)
    {
        return side.rows(L"select * from replication_test");
    }

    void resetError() { source().execute(L"update replication_control set error_f = 0, error_message = null"); }

private:
    std::optional<CreatedTable> table_;
};

/// A column that the server fills by itself on both sides, what check says of it, and the columns that are in order.
struct FilledCase
{
    const char* name;
    enumReplicationMethod method;
    const wchar_t* what;
    std::wstring column;
    std::string finding;
    std::wstring orderlyAtSource;
    std::wstring orderlyAtDestination;
    size_t boxes = 0;
};

constexpr char kIdentity[] = "column extra of the destination is an identity column, whose values the server alone "
                             "gives: ";
constexpr char kComputed[] = "column extra of the destination is a computed column, whose values the server alone "
                             "gives: ";
constexpr char kRowversion[] = "column extra of the destination is a rowversion, whose values the server alone gives: ";
constexpr char kRow[] = "a run ends in an error at the first row that it writes -> ";
constexpr char kCopy[] = "a run deletes the table's rows and then fails to copy the source's -> ";
constexpr char kNoIdentity[] = "make it an ordinary column on the destination: create the table there again without "
                               "identity, and take its rows over";
constexpr char kNotComputed[] = "make it an ordinary column of the same type on the destination: the other side's "
                                "values are copied into it";
constexpr char kNoRowversion[] = "make it binary(8) on the destination for a full copy; for any other method drop it "
                                 "on both sides, after a look whether a program reads it";

std::string told(const char* what, const char* consequence, const char* todo)
{
    return std::string(what) + consequence + todo;
}

const FilledCase kFilled[] = {
    {"IdentityByRows", ONE_WAY, L"identity columns", L"extra " + identityType(), told(kIdentity, kRow, kNoIdentity),
     L"extra " + identityType(), L"extra int"},
    {"IdentityByFullCopy", ONE_WAY_DELETE_ALL, L"identity columns", L"extra " + identityType(),
     told(kIdentity, kCopy, kNoIdentity), L"extra " + identityType(), L"extra int"},
    {"ComputedByRows", ONE_WAY, L"computed columns", computedColumn(L"extra", L"unid + 1"),
     told(kComputed, kRow, kNotComputed), computedColumn(L"extra", L"unid + 1"), L"extra int"},
    {"ComputedByFullCopy", ONE_WAY_DELETE_ALL, L"computed columns", computedColumn(L"extra", L"unid + 1"),
     told(kComputed, kCopy, kNotComputed), computedColumn(L"extra", L"unid + 1"), L"extra int"},
    {"RowversionByRows", ONE_WAY, L"rowversion", L"extra rowversion", told(kRowversion, kRow, kNoRowversion), L"", L"",
     1},
    {"RowversionByFullCopy", ONE_WAY_DELETE_ALL, L"rowversion", L"extra rowversion",
     told(kRowversion, kCopy, kNoRowversion), L"extra rowversion", L"extra binary(8)"},
};

class ServerFilledColumn : public TableOfItsOwn, public testing::WithParamInterface<FilledCase>
{
};

TEST_P(ServerFilledColumn, IsToldStopsTheRunAndIsInOrderOnceThatIsDone)
{
    const FilledCase& with = GetParam();
    const bool isCopy = with.method == ONE_WAY_DELETE_ALL;
    const TablePlan plan{.method = with.method, .table = CreatedTable::kName};
    tables = tableSection("replication_test", isCopy ? "full_copy" : "one_way");
    if (!create(with.what, with.column, with.column))
        return;
    destination().execute(L"insert into replication_test (unid, name, mod_date) values (7, 'before', '2025-01-01')");
    const Ended checked = quinrepJson(L"check", "check");
    EXPECT_EQ(checked.exitCode, isCopy ? kNotReady : kDone);
    EXPECT_THAT(findings(checked), ElementsAre(with.finding));
    EXPECT_EQ(stopText(), isCopy ? "The rows of replication_test would be deleted, and the source's not copied: " +
                                       with.finding.substr(0, with.finding.find(": ")) +
                                       ". `quinrep check` says what to do."
                                 : "These rows cannot be written: " + with.finding.substr(0, with.finding.find(": ")) +
                                       ". `quinrep check` says what to do.");
    EXPECT_EQ(destination().row(L"select name from replication_test"), L"before");
    {
        const MessageBoxes boxes;
        EXPECT_NE(raised([&] { replicate(plan); }).description, L"");
        EXPECT_EQ(boxes.texts().size(), with.boxes);
    }
    EXPECT_EQ(destination().row(L"select name from replication_test"), isCopy ? L"<none>" : L"before");
    EXPECT_THAT(recordedError(), StartsWith(isCopy ? L"none" : L"error: clsReplicateTable.replicateOneWay: "));
    resetError();
    ASSERT_TRUE(create(with.what, with.orderlyAtSource, with.orderlyAtDestination));
    EXPECT_EQ(replicate(plan), (TableCounters{.destAdd = 1}));
    EXPECT_EQ(rowsOf(destination()), rowsOf(source()));
}

INSTANTIATE_TEST_SUITE_P(, ServerFilledColumn, testing::ValuesIn(kFilled),
                         [](const auto& info) { return std::string(info.param.name); });

// `select user` is a function on both servers: only a list of columns shows that the name is a word of SQL.
TEST_F(TableOfItsOwn, WithAWordOfSqlAsAColumnIsToldAndStopsTheRun)
{
    tables = tableSection("replication_test", "two_way");
    ASSERT_TRUE(create(L"names in brackets", L"[user] int, [two words] int", L"[user] int, [two words] int"));
    const std::string last = " cannot stand in a statement without brackets, and replication writes none: a run ends "
                             "in an error at the first row that it writes -> rename the column on both sides, or use "
                             "method \"full_copy\"";
    EXPECT_THAT(findings(quinrepJson(L"check", "check")),
                testing::IsSupersetOf({"the name of column user" + last, "the name of column two words" + last}));
    EXPECT_THAT(stopText(), StartsWith("These rows cannot be written: the name of column user cannot stand in a "));
    EXPECT_NE(raised([&] { replicate({.method = TWO_WAY, .table = CreatedTable::kName}); }).description, L"");
    ASSERT_TRUE(create(L"other names", L"user_id int, two_words int", L"user_id int, two_words int"));
    replicate({.method = TWO_WAY, .table = CreatedTable::kName});
    EXPECT_EQ(rowsOf(destination()), rowsOf(source()));
}

class UncopiedColumns : public TableOfItsOwn, public testing::WithParamInterface<std::vector<std::wstring>>
{
};

// Of a two-way table either side's columns are read.
TEST_P(UncopiedColumns, AreToldByTheirNames)
{
    std::wstring columns;
    std::wstring others;
    std::vector<testing::Matcher<std::string>> expected{StartsWith("two-way replication opens")};
    for (const std::wstring& type : GetParam()) {
        const std::wstring name = L"c" + std::to_wstring(expected.size());
        columns += (columns.empty() ? L"" : L", ") + name + L" " + type;
        others += (others.empty() ? L"" : L", ") + name + L" int";
        expected.push_back("column " + toUtf8(name) +
                           " is of a type that cannot be copied: a value in it opens a message box and ends the run -> "
                           "change its type (see the document \"How tables are replicated\", \"Values\"), or use "
                           "method \"full_copy\"");
    }
    tables = tableSection("replication_test", "two_way");
    for (const bool atSource : {true, false}) {
        if (!create(columns.c_str(), atSource ? columns : others, atSource ? others : columns))
            return;
        const Ended checked = quinrepJson(L"check", "check");
        EXPECT_EQ(checked.exitCode, kDone);
        EXPECT_THAT(findings(checked), testing::ElementsAreArray(expected));
    }
}

INSTANTIATE_TEST_SUITE_P(OnEveryServer, UncopiedColumns,
                         testing::Values(std::vector<std::wstring>{L"decimal(9, 2)", L"bigint", L"real", L"date",
                                                                   L"time", L"xml"}));
INSTANTIATE_TEST_SUITE_P(OnSqlServer, UncopiedColumns,
                         testing::Values(std::vector<std::wstring>{L"nvarchar(20)", L"nchar(3)", L"nvarchar(max)",
                                                                   L"tinyint", L"numeric(9)", L"varbinary(4)", L"image",
                                                                   L"text", L"ntext"}));

TEST_F(TableOfItsOwn, WithAWordOfSqlAsItsNameIsConfiguredInBrackets)
{
    ASSERT_TRUE(create(L"names in brackets", L"", L"", L"[order]"));
    tables = tableSection("order", "one_way");
    const Ended checked = quinrepJson(L"check", "check");
    EXPECT_EQ(checked.exitCode, kNotReady);
    EXPECT_THAT(findings(checked),
                ElementsAre(AllOf(StartsWith("the source cannot read it: "),
                                  HasSubstr(" -> write the name in brackets in the configuration: [order]"))));
    tables = tableSection("[order]", "one_way");
    EXPECT_THAT(findings(quinrepJson(L"check", "check")), IsEmpty());
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    EXPECT_EQ(destination().row(L"select unid, name from [order]"), L"7|a");
}

// A copied row looks changed by hand, so the source's next change of it is a conflict.
TEST_F(Quinrep, TriggerThatDatesRowsIsToldAndMakesTheNextChangeAConflict)
{
    const TablePlan plan{.method = ONE_WAY, .table = L"users"};
    addUser(source(), 7, L"a", kNew);
    {
        const Sabotage dating(destination(), datingTrigger(L"users", L"2098-01-01"));
        EXPECT_THAT(findings(quinrepJson(L"check", "check")),
                    ElementsAre("trigger test_trigger of the destination fires for the rows that a run writes and "
                                "deletes, with the rights of quinmarkapp_user; rows and dates that it writes count as "
                                "somebody's own -> let it do nothing for the user quinmarkapp_user, unless it is meant "
                                "for copied rows too"));
        EXPECT_EQ(replicate(plan), (TableCounters{.destAdd = 1}));
        changeUser(source(), 7, L"b", L"2099-01-01");
        source().execute(L"update replication_control set ready_f = 1");
        EXPECT_EQ(replicate(plan), (TableCounters{.conflict = 1, .error = 1}));
        EXPECT_THAT(users(destination()), ElementsAre(L"7|a"));
    }
    changeUser(destination(), 7, L"a", kNew);
    source().execute(L"update replication_control set error_f = 0, error_message = null, ready_f = 1");
    EXPECT_EQ(replicate(plan), (TableCounters{.destUpdate = 1}));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|b"));
}

} // namespace
