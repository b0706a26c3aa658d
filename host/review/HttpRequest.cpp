#include "review/HttpRequest.h"

#include <charconv>
#include <fmt/format.h>

namespace {

constexpr std::string_view kNewLine = "\r\n";
constexpr std::string_view kHeaderEnd = "\r\n\r\n";

[[noreturn]] void malformed()
{
    throw HttpError(400, "malformed request");
}

bool isVisible(char c)
{
    return c > ' ' && c < '\x7f';
}

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::string lower(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

/// The text before the separator, which is taken off `rest` with it; nothing is left when there is no separator.
std::string_view takeUntil(std::string_view& rest, std::string_view separator)
{
    const size_t end = rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + separator.size());
    return taken;
}

char decodeHex(std::string_view digits)
{
    unsigned value = 0;
    const char* end = digits.data() + digits.size();
    if (digits.size() != 2 || std::from_chars(digits.data(), end, value, 16).ptr != end)
        malformed();
    return static_cast<char>(static_cast<unsigned char>(value));
}

std::string decodeField(std::string_view encoded)
{
    std::string text;
    for (size_t index = 0; index < encoded.size(); ++index) {
        if (encoded[index] == '%') {
            text += decodeHex(encoded.substr(index + 1, 2));
            index += 2;
        }
        else
            text += encoded[index] == '+' ? ' ' : encoded[index];
    }
    return text;
}

void parseRequestLine(std::string_view line, HttpRequest& request)
{
    request.method = takeUntil(line, " ");
    std::string_view target = takeUntil(line, " ");
    if (request.method.empty() || target.empty() || target.front() != '/' || (line != "HTTP/1.1" && line != "HTTP/1.0"))
        malformed();
    for (const char c : target)
        if (!isVisible(c))
            malformed();
    request.path = takeUntil(target, "?");
    request.query = parseForm(target);
}

void parseHeader(std::string_view line, HttpRequest& request)
{
    const size_t colon = line.find(':');
    if (colon == 0 || colon == std::string_view::npos)
        malformed();
    for (const char c : line.substr(0, colon))
        if (!isVisible(c))
            malformed();
    std::string_view value = line.substr(colon + 1);
    while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
        value.remove_prefix(1);
    while (!value.empty() && (value.back() == ' ' || value.back() == '\t'))
        value.remove_suffix(1);
    if (!request.headers.emplace(lower(line.substr(0, colon)), value).second)
        malformed();
}

size_t bodyLength(const HttpRequest& request)
{
    if (request.headers.contains("transfer-encoding"))
        malformed();
    const auto header = request.headers.find("content-length");
    if (header == request.headers.end())
        return 0;
    const std::string& digits = header->second;
    size_t length = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size())
        malformed();
    if (error == std::errc::result_out_of_range || length > kMaxBodyBytes)
        throw HttpError(413, "the request is too large");
    return length;
}

} // namespace

std::string FormFields::first(const std::string& name) const
{
    const auto found = values_.find(name);
    return found == values_.end() ? std::string() : found->second.front();
}

std::vector<std::string> FormFields::all(const std::string& name) const
{
    const auto found = values_.find(name);
    return found == values_.end() ? std::vector<std::string>() : found->second;
}

std::string HttpRequest::header(const std::string& lowerName) const
{
    const auto found = headers.find(lowerName);
    return found == headers.end() ? std::string() : found->second;
}

std::optional<HttpRequest> parseRequest(std::string_view received)
{
    const size_t end = received.find(kHeaderEnd);
    if (std::min(end, received.size()) > kMaxHeaderBytes)
        throw HttpError(431, "the header is too large");
    if (end == std::string_view::npos)
        return std::nullopt;
    HttpRequest request;
    std::string_view header = received.substr(0, end);
    parseRequestLine(takeUntil(header, kNewLine), request);
    while (!header.empty())
        parseHeader(takeUntil(header, kNewLine), request);
    const size_t length = bodyLength(request);
    const std::string_view body = received.substr(end + kHeaderEnd.size());
    if (body.size() < length)
        return std::nullopt;
    request.body = body.substr(0, length);
    return request;
}

FormFields parseForm(std::string_view encoded)
{
    FormFields fields;
    while (!encoded.empty()) {
        std::string_view value = takeUntil(encoded, "&");
        const std::string name = decodeField(takeUntil(value, "="));
        fields.add(name, decodeField(value));
    }
    return fields;
}

std::string encodeUrl(std::string_view text)
{
    std::string encoded;
    for (const char c : text)
        encoded += isAlphanumeric(c) ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
    return encoded;
}
