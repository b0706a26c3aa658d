#include "ado/Recordset.h"
#include "replication/row_sql.h"
#include "support/Apartment.h"
#include "support/Folders.h"
#include "support/PracticeSide.h"
#include "support/Requirements.h"
#include "support/Sabotage.h"
#include "support/TextLine.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <set>

// The table of column types in docs/administration.md, row by row.

namespace {

struct DocumentedType
{
    std::wstring columnType;
    std::wstring adoType; ///< number and name
    std::wstring variant;
    std::wstring value;   ///< an expression; empty where the server gives the value
    std::wstring literal; ///< empty for a type that cannot be copied
};

void PrintTo(const DocumentedType& type, std::ostream* out)
{
    *out << toUtf8(type.columnType);
}

/// The text between the first two backticks of a cell.
std::wstring codeOf(const std::wstring& cell)
{
    const size_t first = cell.find(L'`');
    return first == std::wstring::npos ? L"" : cell.substr(first + 1, cell.find(L'`', first + 1) - first - 1);
}

/// The cells of a row, without the blanks around them.
std::vector<std::wstring> cellsOf(const std::string& line)
{
    std::vector<std::wstring> cells;
    for (size_t at = 1, end = 0; (end = line.find('|', at)) != std::string::npos; at = end + 1)
        cells.emplace_back(line.begin() + static_cast<ptrdiff_t>(at + 1),
                           line.begin() + static_cast<ptrdiff_t>(end - 1));
    return cells;
}

std::vector<DocumentedType> readTable()
{
    std::vector<DocumentedType> types;
    std::ifstream document(sourceFile(L"docs/administration.md"));
    std::string line;
    while (std::getline(document, line) && !line.starts_with("| Column type | ADO type | Variant | Value | Literal |"))
    {
    }
    std::getline(document, line); // the ruler
    while (std::getline(document, line) && line.starts_with("| ")) {
        const std::vector<std::wstring> cells = cellsOf(line);
        types.push_back({codeOf(cells.at(0)), cells.at(1), cells.at(2), codeOf(cells.at(3)), codeOf(cells.at(4))});
    }
    return types;
}

std::wstring adoTypeText(long type)
{
    static const std::map<long, std::wstring> kNames{
        {2, L"adSmallInt"},        {3, L"adInteger"},    {4, L"adSingle"},           {5, L"adDouble"},
        {6, L"adCurrency"},        {11, L"adBoolean"},   {17, L"adUnsignedTinyInt"}, {20, L"adBigInt"},
        {72, L"adGUID"},           {128, L"adBinary"},   {129, L"adChar"},           {130, L"adWChar"},
        {131, L"adNumeric"},       {133, L"adDBDate"},   {135, L"adDBTimeStamp"},    {200, L"adVarChar"},
        {201, L"adLongVarChar"},   {202, L"adVarWChar"}, {203, L"adLongVarWChar"},   {204, L"adVarBinary"},
        {205, L"adLongVarBinary"},
    };
    const auto name = kNames.find(type);
    return std::to_wstring(type) + L" `" + (name == kNames.end() ? L"?" : name->second) + L"`";
}

std::wstring variantText(VARTYPE type)
{
    static const std::map<VARTYPE, std::wstring> kNames{
        {VT_I2, L"`VT_I2`"},           {VT_I4, L"`VT_I4`"},     {VT_R4, L"`VT_R4`"},
        {VT_R8, L"`VT_R8`"},           {VT_CY, L"`VT_CY`"},     {VT_DATE, L"`VT_DATE`"},
        {VT_BSTR, L"`VT_BSTR`"},       {VT_BOOL, L"`VT_BOOL`"}, {VT_UI1, L"`VT_UI1`"},
        {VT_DECIMAL, L"`VT_DECIMAL`"}, {VT_I8, L"`VT_I8`"},     {VT_ARRAY | VT_UI1, L"`VT_ARRAY` + `VT_UI1`"},
    };
    const auto name = kNames.find(type);
    return name == kNames.end() ? std::to_wstring(type) : name->second;
}

class DocumentedColumnType : public testing::TestWithParam<DocumentedType>
{
protected:
    void SetUp() override
    {
        if (const std::wstring missing = missingDatabaseSetting(); !missing.empty())
            return skipWithout(missing.c_str(), L"QUINMARK_REQUIRE_DATABASE");
        apartment_.emplace();
        side_.emplace(setting(L"QUINMARK_OFFICE_DSN"), setting(L"QUINMARK_PASSWORD"));
    }

    const PracticeSide& side() const { return *side_; }

private:
    std::optional<Apartment> apartment_;
    std::optional<PracticeSide> side_;
};

TEST_P(DocumentedColumnType, IsReadAndWrittenAsTheTableSays)
{
    const DocumentedType& documented = GetParam();
    std::optional<Sabotage> table;
    if (!tryOrSkip(documented.columnType.c_str(), [&] {
            table.emplace(side(), L"create table column_type (id int, v " + columnType(documented.columnType) + L")",
                          L"drop table column_type");
        }))
        return;
    side().execute(documented.value.empty() ? L"insert into column_type (id) values (1)"
                                            : L"insert into column_type values (1, " + documented.value + L")");
    const ado::Recordset rows(
        com::Dispatch::from(side().connection().call(L"Execute", {L"select v from column_type"})));
    const ado::Field field = rows.field(0);
    EXPECT_EQ(adoTypeText(field.type()), documented.adoType);
    const _variant_t value = field.value();
    EXPECT_EQ(variantText(value.vt), documented.variant);
    const bool isCopied = quinmark::literalForm(field.type()) != quinmark::LiteralForm::Unsupported;
    EXPECT_EQ(isCopied ? Utils::getValue(field) : L"", documented.literal);
}

INSTANTIATE_TEST_SUITE_P(All, DocumentedColumnType, testing::ValuesIn(readTable()), [](const auto& info) {
    std::string name = std::to_string(info.index) + "_";
    std::ranges::transform(info.param.columnType, std::back_inserter(name),
                           [](wchar_t c) { return iswalnum(c) ? static_cast<char>(c) : '_'; });
    return name;
});

TEST(DocumentedColumnTypes, AreAllThatCanBeCopied)
{
    std::set<long> copied;
    for (long type = 0; type < 300; ++type)
        if (quinmark::literalForm(type) != quinmark::LiteralForm::Unsupported)
            copied.insert(type);
    std::set<long> documented;
    for (const DocumentedType& type : readTable())
        if (!type.literal.empty())
            documented.insert(std::stol(type.adoType));
    EXPECT_EQ(documented, copied);
}

} // namespace
