#include "review/ReviewView.h"

#include "review/html.h"

#include <array>
#include <utility>

namespace {

/// The parts of a view, which may be constant, with their names in an address.
auto namedParts(auto& view)
{
    return std::array{std::pair("table", &view.filter.table),
                      std::pair("kind", &view.filter.kind),
                      std::pair("text", &view.filter.contains),
                      std::pair("before", &view.filter.before),
                      std::pair("show", &view.id),
                      std::pair("at", &view.place),
                      std::pair("equal", &view.equalToo)};
}

} // namespace

ReviewView ReviewView::of(const FormFields& fields)
{
    ReviewView view;
    for (const auto& [name, value] : namedParts(view))
        *value = fields.first(name);
    return view;
}

std::string ReviewView::query() const
{
    std::string query;
    for (const auto& [name, value] : namedParts(*this))
        if (!value->empty())
            query += (query.empty() ? "?" : "&") + std::string(name) + "=" + encodeUrl(*value);
    return query;
}

std::string ReviewView::hiddenFields() const
{
    std::string fields;
    for (const auto& [name, value] : namedParts(*this))
        if (!value->empty())
            fields += hiddenField(name, *value);
    return fields;
}

bool ReviewView::isFiltered() const
{
    return !filter.table.empty() || !filter.kind.empty() || !filter.contains.empty() || !filter.before.empty();
}
