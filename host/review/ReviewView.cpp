#include "review/ReviewView.h"

#include "review/html.h"

#include <array>
#include <utility>

namespace {

std::array<std::pair<const char*, const std::string*>, 7> namedParts(const ReviewView& view)
{
    return {{{"table", &view.filter.table},
             {"kind", &view.filter.kind},
             {"text", &view.filter.contains},
             {"before", &view.filter.before},
             {"show", &view.id},
             {"at", &view.place},
             {"equal", &view.equalToo}}};
}

} // namespace

ReviewView ReviewView::of(const FormFields& fields)
{
    return {{.table = fields.first("table"),
             .kind = fields.first("kind"),
             .contains = fields.first("text"),
             .before = fields.first("before")},
            fields.first("show"),
            fields.first("at"),
            fields.first("equal")};
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
