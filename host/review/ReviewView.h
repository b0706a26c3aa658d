#pragma once

#include "conflicts/ConflictedRow.h"
#include "review/HttpRequest.h"

#include <string>

/// What the page shows, kept in its address.
struct ReviewView
{
    /// By table, kind, text and day.
    ConflictFilter filter;
    /// A record of the row that is shown.
    std::string id;
    /// The row's place in the list, counted from 0: when it is gone, the row that has come there is shown.
    std::string place;
    /// Anything for the columns that are equal too.
    std::string equalToo;

    static ReviewView of(const FormFields& fields);
    /// The view as a query string, with its question mark.
    std::string query() const;
    /// The view as hidden fields of a form.
    std::string hiddenFields() const;
    bool isFiltered() const;
    /// The same view of another row.
    ReviewView showing(const std::string& other) const { return {filter, other, {}, equalToo}; }
    ReviewView showing(const std::string& other, size_t itsPlace) const
    {
        return {filter, other, std::to_string(itsPlace), equalToo};
    }
};
