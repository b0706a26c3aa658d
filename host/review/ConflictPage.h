#pragma once

#include "Configuration.h"

#include <nlohmann/json.hpp>
#include <string>

/// What the person looks at: kept in the page's address.
struct ReviewView
{
    /// Only conflicts of this table; empty for all.
    std::string table;
    /// Only conflicts whose table, kind or key description contains this text, in any case.
    std::string text;
    /// The conflict that is shown with its columns; the first of the list when empty or gone.
    std::string id;

    /// The view as a query string, with its question mark.
    std::string query() const;
};

/// The conflicts that the view shows.
nlohmann::ordered_json filterConflicts(const nlohmann::ordered_json& conflicts, const ReviewView& view);

/// The body of the review page.
class ConflictPage
{
public:
    /// `conflicts` are all that wait. `root` is the path of the page, with a slash at its end.
    ConflictPage(const Configuration& configuration, const std::string& root, const nlohmann::ordered_json& conflicts,
                 const ReviewView& view);

    /// The id of the conflict to show; empty when there is none.
    std::string selectedId() const;
    /// `notice` and `trouble` are texts to show, or empty; `conflict` is the selected one with its columns, or null.
    std::string html(const std::string& notice, const std::string& trouble,
                     const nlohmann::ordered_json& conflict) const;

private:
    std::string heading() const;
    std::string filterForm() const;
    std::string list() const;
    std::string detail(const nlohmann::ordered_json& conflict) const;
    std::string choices(const nlohmann::ordered_json& conflict) const;
    std::string nextId() const;
    std::string address(const std::string& id) const;
    size_t selectedIndex() const;

    const Configuration& configuration_;
    const std::string& root_;
    const nlohmann::ordered_json& conflicts_;
    const ReviewView& view_;
    nlohmann::ordered_json shown_;
};
