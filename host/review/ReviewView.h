#pragma once

#include "conflicts/ConflictedRow.h"
#include "review/HttpRequest.h"

#include <string>

/// The filter and the row that are shown, kept in the page's address.
struct ReviewView
{
    /// By table, kind, text and day.
    ConflictFilter filter;
    /// A record of the row that is shown; the list's first row when empty or gone.
    std::string id;

    static ReviewView of(const FormFields& fields);
    /// The view as a query string, with its question mark.
    std::string query() const;
    /// The view as hidden fields of a form.
    std::string hiddenFields() const;
    bool isFiltered() const;
};
