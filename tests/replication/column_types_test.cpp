// Types of columns and collations: the values that arrive, and the ones that end a run.
#include "BadInput.h"
#include "support/CreatedTable.h"
#include "support/MessageBoxes.h"
#include "support/Sabotage.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::wstring kTable = CreatedTable::kName;
const TablePlan kRows{.method = ONE_WAY, .table = kTable};

class ColumnTypes : public NeedsDisplay<BadInput>
{
protected:
    [[nodiscard]] bool create(const std::wstring& column) { return create(column, column); }

    [[nodiscard]] bool create(const std::wstring& atSource, const std::wstring& atDestination)
    {
        table_.reset();
        const auto columns = [](const std::wstring& share) {
            return L"unid int not null primary key, share " + share + L", mod_date " + dateType();
        };
        return tryOrSkip(atSource.c_str(), [&] {
            table_.emplace(source(), destination(), host(), columns(atSource), columns(atDestination), kTable);
        });
    }

    void add(const PracticeSide& side, const std::wstring& value)
    {
        side.execute(L"insert into replication_test values (7, " + value + L", '" + kNew + L"')");
    }

    static std::vector<std::wstring> shares(const PracticeSide& side)
    {
        return side.rows(L"select share from replication_test");
    }

    void TearDown() override
    {
        table_.reset();
        NeedsDisplay<BadInput>::TearDown();
    }

private:
    std::optional<CreatedTable> table_;
};

/// A value of a type that cannot be copied, the type that the column is given instead, and the value in it.
struct Uncopied
{
    const char* name;
    const wchar_t* type;
    const wchar_t* value;
    std::wstring copiedType;
    std::wstring copiedValue;
};

const Uncopied kUncopied[] = {
    {"Decimal", L"decimal(9, 2)", L"12.5", L"money", L"12.5"},
    {"Bigint", L"bigint", L"70000", L"int", L"70000"},
    {"Real", L"real", L"0.5", L"float", L"0.5"},
    {"Nvarchar", L"nvarchar(20)", L"N'Zoë'", L"varchar(20)", L"Zoë"},
    {"NvarcharMax", L"nvarchar(max)", L"N'Zoë'", L"varchar(500)", L"Zoë"},
    {"VarcharMax", L"varchar(max)", L"'Zoë'", L"varchar(500)", L"Zoë"},
    {"Tinyint", L"tinyint", L"200", L"smallint", L"200"},
    {"Date", L"date", L"'2025-01-02'", dateType(), L"2025-01-02 00:00:00.000"},
    {"Time", L"time", L"'15:45'", L"varchar(20)", L"15:45"},
    {"Binary", L"varbinary(4)", L"0x0102", L"varchar(20)", L"0x0102"},
    {"Xml", L"xml", L"'<a/>'", L"varchar(500)", L"<a/>"},
};

class UncopiedType : public ColumnTypes, public testing::WithParamInterface<Uncopied>
{
};

INSTANTIATE_TEST_SUITE_P(, UncopiedType, testing::ValuesIn(kUncopied),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(UncopiedType, EndsTheTableUntilTheColumnHasAnotherType)
{
    const Uncopied& with = GetParam();
    if (!create(with.type))
        return;
    add(source(), with.value);
    {
        const MessageBoxes boxes;
        EXPECT_THAT(runFailure({kRows}).source, L"clsReplicate.go");
        EXPECT_THAT(boxes.texts(), ElementsAre(L"ado type not coded, see debug"));
    }
    EXPECT_THAT(shares(destination()), IsEmpty());
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    resetError(local());
    if (!create(with.copiedType))
        return;
    add(source(), L"'" + with.copiedValue + L"'");
    EXPECT_EQ(replicate(kRows), (TableCounters{.destAdd = 1}));
    EXPECT_THAT(shares(destination()), ElementsAre(with.copiedValue));
}

/// A value of a type of SQL Server's own, and what arrives.
struct Copied
{
    const char* name;
    const wchar_t* type;
    const wchar_t* value;
    const wchar_t* arrives;
};

const Copied kCopiedTypes[] = {
    {"Datetime2", L"datetime2", L"'2025-03-11 09:15:30.1234567'", L"2025-03-11 09:15:30.000"},
    {"Smalldatetime", L"smalldatetime", L"'2025-03-11 09:15'", L"2025-03-11 09:15:00.000"},
    {"Datetime", L"datetime", L"'2025-03-11 09:15:30.997'", L"2025-03-11 09:15:31.000"},
};

class CopiedType : public ColumnTypes, public testing::WithParamInterface<Copied>
{
};

INSTANTIATE_TEST_SUITE_P(, CopiedType, testing::ValuesIn(kCopiedTypes),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(CopiedType, ArrivesToTheSecond)
{
    const Copied& with = GetParam();
    if (!create(with.type))
        return;
    add(source(), with.value);
    EXPECT_EQ(replicate(kRows), (TableCounters{.destAdd = 1}));
    EXPECT_THAT(shares(destination()), ElementsAre(with.arrives));
}

// datetime keeps steps of 1/300 s: every step of mod_date is copied, and left alone by the next run.
TEST_F(ColumnTypes, StepsOfDatetimeAreCopiedToTheNearestSecond)
{
    int key = 0;
    for (const wchar_t* fraction : {L"000", L"003", L"007", L"497", L"503", L"993", L"997"})
        addUser(source(), ++key, fraction, L"2025-03-11T09:15:30." + std::wstring(fraction));
    const TablePlan users{.method = ONE_WAY, .table = L"users"};
    EXPECT_EQ(replicate(users), (TableCounters{.destAdd = 7}));
    const std::wstring seconds = L"select user_name, mod_date from users order by unid";
    EXPECT_THAT(source().rows(seconds)[6], L"997|2025-03-11 09:15:30.997");
    EXPECT_THAT(destination().rows(seconds), ElementsAre(L"000|2025-03-11 09:15:30.000", L"003|2025-03-11 09:15:30.000",
                                                         L"007|2025-03-11 09:15:30.000", L"497|2025-03-11 09:15:30.000",
                                                         L"503|2025-03-11 09:15:31.000", L"993|2025-03-11 09:15:31.000",
                                                         L"997|2025-03-11 09:15:31.000"));
    restoreControl();
    EXPECT_EQ(replicate(users), TableCounters{});
}

class Collations : public ColumnTypes
{
protected:
    static constexpr wchar_t kExact[] = L"varchar(20) collate Latin1_General_CS_AS";
    static constexpr wchar_t kLoose[] = L"varchar(20) collate Latin1_General_CI_AS";
    const TablePlan byShare{ONE_WAY_WITH_PK_FIELD, kTable, L"", L"share", DELETE_WITH_UPDATES};

    void addKeys()
    {
        source().execute(L"insert into replication_test values (7, 'ab', '" + std::wstring(kNew) + L"')");
        destination().execute(L"insert into replication_test values (8, 'AB', '" + std::wstring(kOld) + L"')");
    }
};

TEST_F(Collations, ThatTellCasesApartMakeTwoRowsOfKeysThatDifferInCase)
{
    if (!create(kExact))
        return;
    addKeys();
    EXPECT_EQ(replicate(byShare), (TableCounters{.destAdd = 1, .destDelete = 1}));
    EXPECT_EQ(destination().rows(L"select * from replication_test"), source().rows(L"select * from replication_test"));
}

// SQL Server compares no texts of two collations.
TEST_F(Collations, ThatDifferBetweenTheSidesEndTheTableUntilTheyAreAlike)
{
    if (!create(kExact, kLoose))
        return;
    addKeys();
    const auto needsConflict = [&] {
        const com::Error none{0, L"", L"it compares texts of two collations"};
        if (errorOf([&] {
                source().rows(L"select 1 from " + host().sourcePrefix + kTable + L" a join " +
                              host().destinationPrefix + kTable + L" b on a.share = b.share");
            }).number == 0)
            throw none;
    };
    if (!tryOrSkip(L"conflicts of collations", needsConflict))
        return;
    EXPECT_THAT(runFailure({byShare}).description, HasSubstr(L"collation conflict"));
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWayWithPKField: "));
    EXPECT_THAT(shares(destination()), ElementsAre(L"AB"));
    resetError(local());
    ASSERT_TRUE(create(kLoose));
    addKeys();
    EXPECT_EQ(replicate(byShare), (TableCounters{.destUpdate = 1}));
}

TEST_F(Collations, ThatTakeCasesAsOneMakeOneRowOfKeysThatDifferInCase)
{
    if (!create(kLoose))
        return;
    addKeys();
    EXPECT_EQ(replicate(byShare), (TableCounters{.destUpdate = 1}));
    EXPECT_EQ(destination().rows(L"select * from replication_test"), source().rows(L"select * from replication_test"));
}

} // namespace
