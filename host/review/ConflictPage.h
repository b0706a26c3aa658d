#pragma once

#include "Configuration.h"
#include "review/ReviewView.h"

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// The rows that wait, as a view shows them.
struct ConflictList
{
    size_t waiting = 0;
    /// How many of them there are of each table.
    std::map<std::string, size_t> tables = {};
    /// Those that the view shows.
    std::vector<ConflictedRow> rows = {};
};

/// The body of the review page.
class ConflictPage
{
public:
    /// `root` is the path of the page, with a slash at its end.
    ConflictPage(const Configuration& configuration, const std::string& root, const ConflictList& list,
                 const ReviewView& view);

    /// The row to show; null when there is none.
    const ConflictedRow* selected() const { return list_.rows.empty() ? nullptr : &list_.rows[selected_]; }
    /// `messages` is HTML; `columns` are those recorded of the selected row.
    std::string html(const std::string& messages, const nlohmann::ordered_json& columns) const;

private:
    std::string heading() const;
    std::string filterForm() const;
    std::string listForm() const;
    std::string listItem(const ConflictedRow& row) const;
    std::string forSeveral() const;
    std::string detail(const nlohmann::ordered_json& columns) const;
    std::string decisionForm(const std::string& controls) const;
    std::string choices() const;
    std::string dismissal() const;
    ReviewView showing(const std::string& id) const { return {view_.filter, id}; }

    const Configuration& configuration_;
    const std::string& root_;
    const ConflictList& list_;
    const ReviewView& view_;
    size_t selected_ = 0;
};
