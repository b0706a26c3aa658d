// The code that needs no platform, built for the build machine under the sanitizers and fed by libFuzzer. The first
// byte says which part gets the rest.

#include "db/sql_text.h"
#include "html_page.h"
#include "review/HttpRequest.h"
#include "review/difference.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

bool cutsCharacter(std::string_view text)
{
    return !text.empty() && isContinuation(text.front());
}

/// Whether characters go on only where one has begun.
bool hasWholeCharacters(std::string_view text)
{
    for (size_t index = 0; index < text.size(); ++index)
        if (isContinuation(text[index]) && (index == 0 || (text[index - 1] & 0x80) == 0))
            return false;
    return true;
}

std::optional<HttpRequest> parsed(std::string_view received)
{
    try {
        return parseRequest(received);
    }
    catch (const HttpError& error) {
        require(error.status() >= 400 && error.status() < 500, "a bad request is the client's fault");
        return std::nullopt;
    }
}

void tryRequest(std::string_view received)
{
    const std::optional<HttpRequest> request = parsed(received);
    if (!request)
        return;
    require(request->body.size() <= kMaxBodyBytes, "a body has its limit");
    require(!parsed(received.substr(0, received.find("\r\n\r\n"))), "a request ends with its header");
    for (const auto& [name, value] : request->headers)
        require(name.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n") == std::string::npos, "names are in lower case");
}

void tryForm(std::string_view text)
{
    const std::string value(text);
    const FormFields fields = parseForm("a=" + encodeUrl(value) + "&b=1");
    require(fields.first("a") == value && fields.first("b") == "1", "what was encoded is decoded");
    try {
        parseForm(text);
    }
    catch (const HttpError& error) {
        require(error.status() == 400, "a broken form is a bad request");
    }
}

void tryDifference(std::string_view text)
{
    const size_t middle = text.size() / 2;
    const std::string left(text.substr(0, middle));
    const std::string right(text.substr(middle));
    std::string joinedLeft;
    std::string joinedRight;
    const TextPart* last = nullptr;
    const std::vector<TextPart> parts = findDifferences(left, right);
    for (const TextPart& part : parts) {
        require(!part.equal || part.left == part.right, "what is equal is equal");
        require(part.equal || left != right, "equal texts have no difference");
        require(last == nullptr || last->equal != part.equal, "parts are equal and differ in turns");
        if (hasWholeCharacters(left) && hasWholeCharacters(right))
            require(!cutsCharacter(part.left) && !cutsCharacter(part.right), "no character is cut at its beginning");
        joinedLeft += part.left;
        joinedRight += part.right;
        last = &part;
    }
    require(joinedLeft == left && joinedRight == right, "a difference leaves nothing out");
}

void tryPage(std::string_view text)
{
    const std::string value(text);
    const auto page = [](const std::string& shown) {
        return htmlPage(shown, "nonce", "<p title=\"" + escapeHtml(shown) + "\">" + escapeHtml(shown) + "</p>");
    };
    const std::string shown = page(value);
    std::string harmless;
    for (const char c : value)
        harmless += std::string_view("<>&\"'").find(c) == std::string_view::npos ? c : '.';
    const auto marks = [](const std::string& html) {
        return std::count_if(html.begin(), html.end(), [](char c) { return c == '<' || c == '>' || c == '"'; });
    };
    require(marks(shown) == marks(page(harmless)), "no text becomes a tag or ends an attribute");
    require(shown.find(escapeHtml(value)) != std::string::npos, "the text is shown");
}

void tryLiteral(std::string_view text)
{
    std::wstring value;
    for (const char c : text)
        value += static_cast<wchar_t>(static_cast<unsigned char>(c));
    const std::wstring literal = Common::SqlQuote(value, false, false);
    if (value.empty()) {
        require(literal == L"Null", "an empty text is Null");
        return;
    }
    require(literal.size() >= 2 && literal.front() == L'\'' && literal.back() == L'\'', "a literal stands in quotes");
    std::wstring read;
    for (size_t index = 1; index + 1 < literal.size(); ++index) {
        read += literal[index];
        if (literal[index] == L'\'')
            require(literal[++index] == L'\'' && index + 1 < literal.size(), "a quote within is doubled");
    }
    require(read == value, "a literal is read back as it was");
    require(Common::SqlLikePattern(value, true, true) == L"'%" + literal.substr(1, literal.size() - 2) + L"%'",
            "a pattern is the literal between wildcards");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 5) {
    case 0:
        tryRequest(text);
        break;
    case 1:
        tryForm(text);
        break;
    case 2:
        tryDifference(text);
        break;
    case 3:
        tryPage(text);
        break;
    default:
        tryLiteral(text);
    }
    return 0;
}
