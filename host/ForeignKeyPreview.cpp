#include "ForeignKeyPreview.h"

#include "com/convert.h"
#include "commands/rows.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;

namespace {

constexpr char kCannotDelete[] =
    "At the destination {0} refers to {1} in {2} of its rows (foreign key {3}): the rows of {1} cannot be deleted, so "
    "the full copy of {1} fails. ";
constexpr char kEmptyFirst[] = "{0} is copied again: look with `quinrep verify --table {0}` that no row of it is the "
                               "destination's own, then empty "
                               "it there (delete from {0}), and before it the tables that refer to it.";
constexpr char kNotCopiedAgain[] =
    "{} is not copied whole: empty it there if its rows are not needed, drop the foreign "
    "key, or give {} a method that goes row by row.";
constexpr char kDeletesToo[] =
    "At the destination {0} refers to {1} in {2} of its rows (foreign key {3}, on delete cascade): these would be "
    "deleted with the rows of {1}, and not be copied again. If that is meant, run with --force; if not, let the key "
    "refuse it (no action).";
constexpr char kClears[] =
    "At the destination {0} refers to {1} in {2} of its rows (foreign key {3}, on delete set null or default): these "
    "would lose the reference when the rows of {1} are deleted. If that is meant, run with --force; if not, let the "
    "key "
    "refuse it (no action).";
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

/// The condition under which a foreign key binds a row: none of its columns is Null.
std::wstring binds(const ForeignKey& key)
{
    std::wstring condition;
    for (const auto& [child, parent] : key.columns)
        condition += (condition.empty() ? L"c." : L" and c.") + toWide(child) + L" is not null";
    return condition;
}

std::wstring notIn(const ForeignKey& key, const std::string& parentTable)
{
    std::wstring condition;
    for (const auto& [child, parent] : key.columns)
        condition += (condition.empty() ? L"p." : L" and p.") + toWide(parent) + L" = c." + toWide(child);
    return L" and not exists (select 1 from " + toWide(parentTable) + L" p where " + condition + L")";
}

std::string told(const char* text, const ForeignKey& key, long long rows)
{
    return fmt::format(fmt::runtime(text), key.child, key.parent, rows, key.name);
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
    // A table may refer to itself: it is deleted, and copied, by one statement.
    std::erase_if(keys_, [this](const ForeignKey& key) {
        const size_t child = writerOf(key.child);
        return isSameName(key.child, key.parent) ||
               (child < configuration_.tables.size() && child == writerOf(key.parent));
    });
}

void ForeignKeyPreview::preview(const TableConfiguration& table, TableStops& stops) const
{
    const size_t index = writerOf(table.name);
    for (const ForeignKey& key : keys_) {
        const bool isChild = writerOf(key.child) == index;
        const bool isParent = writerOf(key.parent) == index;
        if (!isChild && !isParent)
            continue;
        if (isDropped(key))
            previewPatientKey(key, stops);
        else if (isParent)
            previewDeletion(key, index, stops);
        else
            previewInsertion(key, index, stops);
    }
}

void ForeignKeyPreview::previewDeletion(const ForeignKey& key, size_t index, TableStops& stops) const
{
    const long long rows = countReferring(key, rowsBefore(index, key.child));
    if (rows == 0)
        return;
    const size_t writer = writerOf(key.child);
    const bool copiedAgain = isCopiedWhole(writer) && writer > index;
    if (key.onDelete == OnDelete::Refuse)
        stops.add(StopReason::WillFail,
                  told(kCannotDelete, key, rows) + (isCopiedWhole(writer)
                                                        ? fmt::format(kEmptyFirst, key.child)
                                                        : fmt::format(kNotCopiedAgain, key.child, key.parent)));
    else if (!copiedAgain && key.onDelete == OnDelete::DeleteToo)
        stops.add(StopReason::Deletes, told(kDeletesToo, key, rows));
    else if (!copiedAgain)
        stops.add(StopReason::Updates, told(kClears, key, rows));
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

ForeignKeyPreview::Rows ForeignKeyPreview::rowsBefore(size_t index, const std::string& table) const
{
    const size_t writer = writerOf(table);
    if (writer >= index)
        return Rows::Destinations;
    return isCopiedWhole(writer) ? Rows::Sources : Rows::Mixed;
}

bool ForeignKeyPreview::isDropped(const ForeignKey& key) const
{
    return !configuration_.localIsSource && isSameName(key.name, "FK_patient_dentist") &&
           isSameName(key.child, "patient");
}

long long ForeignKeyPreview::countReferring(const ForeignKey& key, Rows child) const
{
    return count(child == Rows::Sources ? databases_.source() : databases_.destination(),
                 L"select count(*) from " + toWide(key.child) + L" c where " + binds(key));
}

long long ForeignKeyPreview::countOrphans(const ForeignKey& key, Rows child, Rows parent) const
{
    // A name with a schema takes no prefix.
    if (key.child.find('.') != std::string::npos || key.parent.find('.') != std::string::npos)
        return 0;
    const std::string& source = configuration_.source.prefix;
    const std::string& destination = configuration_.destination.prefix;
    std::wstring sql = L"select count(*) from " +
                       toWide((child == Rows::Destinations ? destination : source) + key.child) + L" c where " +
                       binds(key);
    if (parent != Rows::Destinations)
        sql += notIn(key, source + key.parent);
    if (parent != Rows::Sources)
        sql += notIn(key, destination + key.parent);
    return count(databases_.local(), sql);
}
