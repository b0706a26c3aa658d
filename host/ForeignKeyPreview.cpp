#include "ForeignKeyPreview.h"

#include "com/convert.h"
#include "commands/rows.h"
#include "db/sql_literals.h"
#include "foreign_key_sql.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;

namespace {

constexpr char kReferring[] = "At the destination {0} refers in {2} of its rows to rows of {1} that would be deleted "
                              "(foreign key {3}). ";
constexpr char kCannotDelete[] = "So these cannot be deleted, and the run fails. ";
constexpr char kRowByRow[] =
    "Have a run bring {4} row by row, by another method than full_copy; or drop the key at the "
    "destination for the copy, and add it again afterwards.";
constexpr char kReferElsewhere[] =
    "Look at these rows of {0} there: let them refer to another row of {1}, or delete those that nobody needs.";
constexpr char kDeletesToo[] =
    "These rows of {0} would be deleted with them (on delete cascade). If that is meant, run with --force; if not, let "
    "the key refuse it (no action).";
constexpr char kWouldGo[] = "These would go with them, or lose the reference. ";
constexpr char kClears[] =
    "These rows of {0} would lose the reference (on delete set null or default). If that is meant, run with --force; "
    "if not, let the key refuse it (no action).";
constexpr char kOrphans[] = "In {2} of its rows {0} refers to a row of {1} that the destination will not have (foreign "
                            "key {3}): {0} would be emptied there, and then not copied. ";
constexpr char kLateParent[] = "{} comes later: list it before {}, or drop the key for the copy if each refers to the "
                               "other, and add it again afterwards.";
constexpr char kNoParent[] = "{} is not among the tables: add it before {}, or drop the key at the destination.";
constexpr char kNoRows[] = "The source lacks these rows of {0} too: put {1} in order there, or drop the key at the "
                           "destination.";
constexpr char kPatientKey[] = "In {2} of its rows {0} refers to a row of {1} that the destination will not have: the "
                               "run fails at its end, when it adds the foreign key {3} again, and leaves it dropped. "
                               "Replicate both tables, and put the rows in order that have no {1} at the source.";

/// The name of a row by its place in a chain of rows of which each refers to the one before it.
std::wstring aliasOf(size_t place)
{
    return L"t" + std::to_wstring(place);
}

/// `table` is the one that the run writes.
std::string told(const std::string& text, const ForeignKey& key, long long rows, const std::string& table = {})
{
    return fmt::format(fmt::runtime(text), key.child, key.parent, rows, key.name, table);
}

long long count(clsConn& conn, const std::wstring& sql)
{
    ado::Recordset rs = openForwardOnly(conn, sql);
    const long long rows = com::toInt32(rs.field(0).value());
    rs.close();
    return rows;
}

} // namespace

ForeignKeyPreview::ForeignKeyPreview(const Configuration& configuration, Databases& databases)
    : configuration_(configuration),
      databases_(databases),
      keys_(foreignKeysOf(databases.destination()))
{
}

void ForeignKeyPreview::preview(const TableConfiguration& table, TableStops& stops) const
{
    const size_t index = writerOf(table.name);
    Found found;
    for (const ForeignKey& key : keys_) {
        const bool isChild = writerOf(key.child) == index;
        const bool isParent = writerOf(key.parent) == index;
        // Rows that refer to rows of the same full copy are deleted, and copied, with them.
        if (isChild == isParent)
            continue;
        if (isDropped(key))
            previewPatientKey(key, stops);
        else if (isParent)
            findReferring(key, index, {}, {}, {}, found);
        else
            previewInsertion(key, index, stops);
    }
    tellFound(index, found, stops);
}

void ForeignKeyPreview::previewDeletedRows(size_t index, const DeletedKeys& deleted, TableStops& stops) const
{
    /// Rows in one statement.
    constexpr size_t kRows = 500;
    const TableConfiguration& table = configuration_.tables[index];
    Found found;
    std::wstring list;
    size_t rows = 0;
    for (const std::wstring& row : deleted[index]) {
        list += (list.empty() ? L"" : L", ") + Common::SqlQuoteOnly(com::textVariant(row));
        if (++rows % kRows != 0 && rows != deleted[index].size())
            continue;
        findReferringTo(table, index, list, deleted, found);
        list.clear();
    }
    tellFound(index, found, stops);
}

std::string ForeignKeyPreview::takenAlong(const std::string& table, const std::wstring& unid) const
{
    // A decision is carried out between two runs: every table has the destination's rows.
    constexpr size_t kNoneDone = 0;
    const size_t index = writerOf(table);
    TableConfiguration deleted =
        index < configuration_.tables.size() ? configuration_.tables[index] : TableConfiguration();
    deleted.name = table;
    deleted.key.clear();
    Found found;
    findReferringTo(deleted, kNoneDone, Common::SqlQuoteOnly(com::textVariant(unid)), {}, found);
    std::string text;
    for (const auto& [key, rows] : found)
        if (rows > 0 && key->onDelete != OnDelete::Refuse)
            text += (text.empty() ? "" : " ") + told(std::string(kReferring) + kWouldGo + kReferElsewhere, *key, rows);
    return text;
}

void ForeignKeyPreview::findReferringTo(const TableConfiguration& table, size_t index, const std::wstring& keys,
                                        const DeletedKeys& deleted, Found& found) const
{
    const std::wstring lost = aliasOf(0) + L"." + toWide(table.keyColumn()) + L" in (" + keys + L")";
    for (const ForeignKey& key : keys_)
        if (isSameName(key.parent, table.name) && !isDropped(key) && !isSettled(key, table))
            findReferring(key, index, lost, deleted, {}, found);
}

void ForeignKeyPreview::findReferring(const ForeignKey& key, size_t index, const std::wstring& parents,
                                      const DeletedKeys& deleted, std::vector<const ForeignKey*> path,
                                      Found& found) const
{
    if (key.onDelete != OnDelete::Refuse && isCopiedAfter(index, key.child))
        return;
    path.push_back(&key);
    const std::wstring child = aliasOf(path.size());
    const std::wstring lost =
        parents.empty() ? binds(key, child)
                        : refersTo(key, child, tableInStatement(key.parent), aliasOf(path.size() - 1), parents);
    const long long rows = countReferring(key, index, child, lost, deleted);
    found[&key] += rows;
    if (rows == 0 || key.onDelete != OnDelete::DeleteToo)
        return;
    for (const ForeignKey& next : keys_)
        if (isSameName(next.parent, key.child) && std::ranges::find(path, &next) == path.end())
            findReferring(next, index, lost, deleted, path, found);
}

void ForeignKeyPreview::tellFound(size_t index, const Found& found, TableStops& stops) const
{
    for (const Found::value_type& referring : found) {
        const ForeignKey& key = *referring.first;
        const long long rows = referring.second;
        if (rows == 0)
            continue;
        const auto add = [&](StopReason reason, const std::string& text) {
            stops.add(reason, told(kReferring + text, key, rows, configuration_.tables[index].name));
        };
        if (key.onDelete == OnDelete::DeleteToo)
            add(StopReason::Deletes, kDeletesToo);
        else if (key.onDelete == OnDelete::Clear)
            add(StopReason::Updates, kClears);
        else
            add(StopReason::WillFail,
                std::string(kCannotDelete) + (isCopiedWhole(index) ? kRowByRow : kReferElsewhere));
    }
}

void ForeignKeyPreview::previewInsertion(const ForeignKey& key, size_t index, TableStops& stops) const
{
    const Rows parent = rowsBefore(index, key.parent);
    const long long rows = countOrphans(key, Rows::Sources, parent);
    if (rows == 0)
        return;
    const char* todo = parent != Rows::Destinations                          ? kNoRows
                       : writerOf(key.parent) < configuration_.tables.size() ? kLateParent
                                                                             : kNoParent;
    stops.add(StopReason::WillFail, told(kOrphans, key, rows) + fmt::format(fmt::runtime(todo), key.parent, key.child));
}

/// A run drops this key, and adds it again once all tables are done.
void ForeignKeyPreview::previewPatientKey(const ForeignKey& key, TableStops& stops) const
{
    const size_t end = configuration_.tables.size();
    const long long rows = countOrphans(key, rowsBefore(end, key.child), rowsBefore(end, key.parent));
    if (rows > 0)
        stops.add(StopReason::WillFail, told(kPatientKey, key, rows));
}

size_t ForeignKeyPreview::writerOf(const std::string& table) const
{
    const auto writes = [&](const TableConfiguration& configured) {
        return isSameName(configured.name, table) ||
               (configured.method == COMPUTER_TYPE && isSameName("computer_type_setting", table));
    };
    return static_cast<size_t>(std::ranges::find_if(configuration_.tables, writes) - configuration_.tables.begin());
}

bool ForeignKeyPreview::isCopiedWhole(size_t index) const
{
    return index < configuration_.tables.size() && configuration_.tables[index].isCopiedWhole();
}

bool ForeignKeyPreview::isCopiedAfter(size_t index, const std::string& table) const
{
    const size_t writer = writerOf(table);
    return writer > index && isCopiedWhole(writer);
}

ForeignKeyPreview::Rows ForeignKeyPreview::rowsBefore(size_t index, const std::string& table) const
{
    const size_t writer = writerOf(table);
    if (writer >= index)
        return Rows::Destinations;
    return isCopiedWhole(writer) ? Rows::Sources : Rows::Mixed;
}

bool ForeignKeyPreview::isSettled(const ForeignKey& key, const TableConfiguration& table)
{
    const bool detached = table.method == ONE_WAY_WITH_PK_FIELD && isSameName(table.name, "dentist_company") &&
                          isSameName(key.child, "chart_comment_info") && key.columns.size() == 1 &&
                          isSameName(key.columns.front().first, "dc_id");
    return detached || (key.onDelete == OnDelete::DeleteToo && isSameName(key.child, table.dependent));
}

bool ForeignKeyPreview::isDropped(const ForeignKey& key) const
{
    return !configuration_.localIsSource && isSameName(key.name, "FK_patient_dentist") &&
           isSameName(key.child, "patient");
}

long long ForeignKeyPreview::countReferring(const ForeignKey& key, size_t index, const std::wstring& child,
                                            const std::wstring& condition, const DeletedKeys& deleted) const
{
    const size_t writer = writerOf(key.child);
    clsConn& conn = rowsBefore(index, key.child) == Rows::Sources ? databases_.source() : databases_.destination();
    const std::wstring rest = L" from " + tableInStatement(key.child) + L" " + child + L" where " + condition;
    // A key that refuses does so as long as the row is there.
    const bool deletesItself = writer < deleted.size() && (key.onDelete != OnDelete::Refuse || writer <= index);
    if (!deletesItself || deleted[writer].empty())
        return count(conn, L"select count(*)" + rest);
    long long rows = 0;
    ado::Recordset rs =
        openForwardOnly(conn, L"select " + child + L"." + toWide(configuration_.tables[writer].keyColumn()) + rest);
    for (; !rs.eof(); rs.moveNext())
        rows += deleted[writer].contains(com::concatText(rs.field(0).value())) ? 0 : 1;
    rs.close();
    return rows;
}

long long ForeignKeyPreview::countOrphans(const ForeignKey& key, Rows child, Rows parent) const
{
    // A name with a schema takes no prefix.
    if (key.child.find('.') != std::string::npos || key.parent.find('.') != std::string::npos)
        return 0;
    const auto nameOf = [](const SideConfiguration& side, const std::string& table) {
        return toWide(side.prefix) + tableInStatement(table);
    };
    const SideConfiguration& source = configuration_.source;
    const SideConfiguration& destination = configuration_.destination;
    std::wstring sql = L"select count(*) from " +
                       nameOf(child == Rows::Destinations ? destination : source, key.child) + L" c where " +
                       binds(key, L"c");
    for (const auto& [side, rows] : {std::pair{&source, Rows::Sources}, {&destination, Rows::Destinations}})
        if (parent == rows || parent == Rows::Mixed)
            sql += L" and not " + refersTo(key, L"c", nameOf(*side, key.parent), L"p");
    return count(databases_.local(), sql);
}
