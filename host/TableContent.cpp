#include "TableContent.h"

#include "com/convert.h"
#include "db/forward_only.h"
#include "text.h"

using namespace quinmark;

namespace {

/// The kept form of a row: enough to see whether two rows are the same, at 8 bytes each.
std::uint64_t fingerprint(const ado::Recordset& rs, long count)
{
    constexpr std::uint64_t kOffset = 14695981039346656037U;
    constexpr std::uint64_t kPrime = 1099511628211U;
    std::uint64_t hash = kOffset;
    const auto add = [&](std::uint64_t unit) { hash = (hash ^ unit) * kPrime; };
    for (long index = 0; index < count; ++index) {
        const _variant_t value = rs.field(index).value();
        add(value.vt == VT_NULL ? 0x20000U : 0x10000U);
        for (const wchar_t unit : com::concatText(value))
            add(unit);
    }
    return hash;
}

std::wstring wholeRow(const ado::Recordset& rs, long count)
{
    std::wstring values;
    for (long index = 0; index < count; ++index)
        values += (index == 0 ? L"" : L", ") + com::concatText(rs.field(index).value());
    return values;
}

} // namespace

std::vector<KeyedTable> tablesCopiedBy(const TableConfiguration& table)
{
    if (table.method == COMPUTER_TYPE)
        return {{L"computer_type", L"unid"}, {L"computer_type_setting", L"unid"}};
    return {{toWide(table.name), toWide(table.keyColumn())}};
}

TableContent readContent(clsConn& conn, const KeyedTable& table, bool hasKey)
{
    TableContent rows;
    ado::Recordset rs = openForwardOnly(conn, L"select * from " + table.sTable);
    const long count = rs.fieldCount();
    for (; !rs.eof(); rs.moveNext()) {
        const std::wstring key = hasKey ? com::concatText(rs.value(table.sKey)) : wholeRow(rs, count);
        const std::uint64_t print = fingerprint(rs, count);
        bool added = rows.emplace(key, ContentRow{print, hasKey}).second;
        for (int copy = 2; !added; ++copy)
            added = rows.emplace(key + L" (" + std::to_wstring(copy) + L")", ContentRow{print, false}).second;
    }
    rs.close();
    return rows;
}

void forEachDifference(const TableContent& left, const TableContent& right, const VisitDifference& visit)
{
    for (const auto& [key, row] : left) {
        const auto other = right.find(key);
        if (other == right.end())
            visit(key, Difference::LeftOnly, row.found);
        else if (other->second.fingerprint != row.fingerprint)
            visit(key, Difference::Different, row.found && other->second.found);
    }
    for (const auto& [key, row] : right)
        if (!left.contains(key))
            visit(key, Difference::RightOnly, row.found);
}
