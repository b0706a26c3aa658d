#include "html_page.h"

#include "page_style.h"

#include <fmt/format.h>

std::string escapeHtml(std::string_view text)
{
    std::string html;
    html.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\'':
            html += "&#39;";
            break;
        case '\0':
            html += "\xEF\xBF\xBD"; // HTML has no NUL
            break;
        default:
            html += c;
        }
    }
    return html;
}

std::string card(const std::string& kind, const std::vector<std::string>& paragraphs, const std::string& more)
{
    std::string html = fmt::format("<div class=\"card {}\"{}>", kind, more);
    for (const std::string& paragraph : paragraphs)
        html += "<p>" + paragraph + "</p>";
    return html + "</div>\n";
}

std::string contentPolicy(const std::string& nonce)
{
    return "default-src 'none'; style-src 'nonce-" + nonce + "'; form-action 'self'; base-uri 'none'";
}

std::string htmlPage(std::string_view title, const std::string& nonce, std::string_view body)
{
    return fmt::format("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width\">\n"
                       "<title>{}</title>\n<style nonce=\"{}\">{}</style>\n</head>\n<body>\n{}</body>\n</html>\n",
                       escapeHtml(contentPolicy(nonce)), escapeHtml(title), nonce, kPageStyle, body);
}
