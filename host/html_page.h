#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Text as HTML, for elements and quoted attributes alike.
std::string escapeHtml(std::string_view text);

/// A card with paragraphs of HTML. `kind` is a class of the style sheet, `more` are further attributes. Its lines
/// count: no white space stands between them.
std::string card(const std::string& kind, const std::vector<std::string>& paragraphs, const std::string& more = "");

/// The content policy of a page: it loads its own style sheet, known by the nonce, and nothing else. Forms go to the
/// page's own origin only.
std::string contentPolicy(const std::string& nonce);

/// A whole page with the one style sheet of all pages. `title` is text, `body` is HTML.
std::string htmlPage(std::string_view title, const std::string& nonce, std::string_view body);
