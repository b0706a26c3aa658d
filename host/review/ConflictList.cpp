#include "review/ConflictList.h"

#include "HostError.h"

#include <algorithm>
#include <charconv>

ConflictList::ConflictList(const Configuration& configuration, std::vector<ConflictedRow> recorded,
                           const ReviewView& view)
    : waiting_(recorded.size()),
      rows_(std::move(recorded))
{
    for (const ConflictedRow& row : rows_)
        ++tables_[row.table];
    try {
        if (!view.filter.kind.empty() && kindOfWord(view.filter.kind) == 0)
            throw HostError(kUsage, "there is no kind of conflict \"" + view.filter.kind + "\"");
        filterRows(configuration, rows_, view.filter);
    }
    catch (const HostError& error) {
        wrongFilter_ = std::string("The filter cannot be used: ") + error.what() + ". Choose another.";
        rows_.clear();
    }
    const auto hasShown = [&](const ConflictedRow& row) {
        return std::ranges::find(row.records, view.id, &ConflictRecord::id) != row.records.end();
    };
    if (const auto shown = std::ranges::find_if(rows_, hasShown); shown != rows_.end())
        selected_ = static_cast<size_t>(shown - rows_.begin());
    else if (!rows_.empty()) {
        std::from_chars(view.place.data(), view.place.data() + view.place.size(), selected_);
        selected_ = std::min(selected_, rows_.size() - 1);
    }
}

std::span<ConflictedRow> ConflictList::group()
{
    return std::span(rows_).subspan(groupBegin(), std::min(kRowsOfAGroup, rows_.size() - groupBegin()));
}

std::span<const ConflictedRow> ConflictList::group() const
{
    return std::span(rows_).subspan(groupBegin(), std::min(kRowsOfAGroup, rows_.size() - groupBegin()));
}
