#include "review/EndPage.h"

#include "html_page.h"
#include "text.h"

#include <fmt/format.h>

std::string endPage(const ReviewContext& context, const ReviewView& view, size_t decided)
{
    return fmt::format(
        "<main><section class=\"card\"><h1>End the review?</h1>\n<p>{} decided in this review. All other "
        "conflicts go on waiting. This address stops working; <code>quinrep review</code> gives out "
        "another.</p>\n<form class=\"filter\" method=\"post\" action=\"{}quit\"><button class=\"first\">"
        "End the review</button><a href=\"{}\">Back to the list</a></form></section></main>\n",
        decided == 0 ? "No row was" : counted(static_cast<long long>(decided), "row was", "rows were"), context.root,
        escapeHtml(context.address(view)));
}
