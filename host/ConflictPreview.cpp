#include "ConflictPreview.h"

#include "Failure.h"
#include "com/convert.h"
#include "conflicts/report_conflict.h"
#include "result_text.h"
#include "text.h"

#include <fmt/format.h>
#include <objbase.h>

using namespace quinmark;

namespace {

bool isLonger(const std::wstring& text, long size)
{
    return text.size() > static_cast<size_t>(size);
}

std::string tooLong(const std::string& what, long size)
{
    return fmt::format(
        "A conflict cannot be recorded: {} is longer than {} characters (3421). Make both sides of these "
        "rows equal.",
        what, size);
}

/// The error of a conflict with a text that is too long for the procedures; empty when all texts fit.
std::string tooLongText(const FoundConflict& found)
{
    if (isLonger(found.conflict.sTable, clsConflict::kTableSize))
        return tooLong("the table's name", clsConflict::kTableSize);
    if (isLonger(found.conflict.sKeyInfo, clsConflict::kKeyInfoSize))
        return tooLong("the description of these rows", clsConflict::kKeyInfoSize);
    for (const clsConflictData& data : found.columns) {
        if (isLonger(data.sField, clsConflict::kFieldSize))
            return tooLong("the name of column " + toUtf8(data.sField), clsConflict::kFieldSize);
        if (isLonger(data.sSourceData, clsConflict::kDataSize) ||
            isLonger(data.sDestinationData, clsConflict::kDataSize))
            return tooLong("the value in column " + toUtf8(data.sField), clsConflict::kDataSize);
    }
    return {};
}

bool isGuidText(const std::wstring& text)
{
    GUID guid;
    return SUCCEEDED(IIDFromString((text.starts_with(L'{') ? text : L"{" + text + L"}").c_str(), &guid));
}

/// The reason for which saving would fail.
std::string saveFailure(FoundConflict& found)
{
    clsConflict& conflict = found.conflict;
    if (!conflict.edit())
        return "A conflict cannot be recorded: " + trimmed(toUtf8(conflict.sErrorMessage())) +
               ". A numeric key has to be 1 or more. Make both sides of these rows equal.";
    if (conflict.vGuid.vt != VT_EMPTY && !isGuidText(com::concatText(conflict.vGuid)))
        return "A conflict cannot be recorded: the key of these rows is no GUID. Make both sides of these rows equal.";
    return tooLongText(found);
}

/// The dump of a row that changed on both sides wants its columns in one order.
std::string columnsOutOfSync(const FoundConflict& found)
{
    for (long index = 0, count = found.rsDestination.fieldCount(); index < count; ++index)
        if (found.rsDestination.field(index).name() != found.rsSource.field(index).name())
            return "The columns of the two sides are out of sync: give both the same columns in the same order.";
    return {};
}

} // namespace

ConflictPreview previewConflict(Databases& databases, const std::string& table, const _variant_t& key,
                                enumConflictType kind, DATE dNextReplicate)
{
    if (keyInfoSql(toWide(table), key).empty())
        return {.failure = "Conflicts of this table cannot be recorded, since replication has no description for its "
                           "rows. Make both sides of these rows equal, or replicate the table by \"full_copy\"."};
    try {
        FoundConflict found = findConflict({toWide(table), dNextReplicate}, key, kind, databases.sides());
        ConflictPreview preview{.recorded = !found.columns.empty()};
        if (preview.recorded)
            preview.failure = saveFailure(found);
        if (preview.recorded && preview.failure.empty() && kind == CHANGED_ON_BOTH)
            preview.failure = columnsOutOfSync(found);
        found.rsSource.close();
        found.rsDestination.close();
        return preview;
    }
    catch (const com::Error& error) {
        const std::string text = error.number == com::kInvalidUseOfNull
                                     ? "these rows have no description (94, Invalid use of Null); fill in the columns "
                                       "that describe them"
                                     : errorText(errorJson(error));
        return {.failure = "A conflict cannot be recorded: " + text};
    }
}
