#pragma once

#include "review/ReviewView.h"

#include <map>
#include <span>
#include <string>
#include <vector>

/// The rows that wait and fit a view's filter, in groups of which the page shows one: that with the selected row.
class ConflictList
{
public:
    static constexpr size_t kRowsOfAGroup = 50;

    /// `recorded` are all rows that wait. When the filter cannot be used, no row fits it and `wrongFilter` says why.
    ConflictList(const Configuration& configuration, std::vector<ConflictedRow> recorded, const ReviewView& view);

    /// All rows that wait, and how many of them there are of each table.
    size_t waiting() const { return waiting_; }
    const std::map<std::string, size_t>& tables() const { return tables_; }
    const std::string& wrongFilter() const { return wrongFilter_; }

    /// The rows that fit the filter.
    const std::vector<ConflictedRow>& rows() const { return rows_; }
    /// The selected row's place among them; there must be one.
    size_t selected() const { return selected_; }
    const ConflictedRow& selectedRow() const { return rows_[selected_]; }

    size_t groupBegin() const { return selected_ / kRowsOfAGroup * kRowsOfAGroup; }
    std::span<ConflictedRow> group();
    std::span<const ConflictedRow> group() const;

private:
    size_t waiting_;
    std::map<std::string, size_t> tables_;
    std::string wrongFilter_;
    std::vector<ConflictedRow> rows_;
    size_t selected_ = 0;
};
