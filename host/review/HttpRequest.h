#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// A request that is answered with an HTTP error status.
class HttpError : public std::runtime_error
{
public:
    HttpError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
    int status() const { return status_; }

private:
    int status_;
};

/// The fields of a form or of a query string, decoded; the first of a name counts.
using FormFields = std::map<std::string, std::string>;

struct HttpRequest
{
    std::string method;
    std::string path;
    FormFields query;
    /// By names in lower case.
    std::map<std::string, std::string> headers;
    std::string body;

    /// The header's value, or empty.
    std::string header(const std::string& lowerName) const;
};

constexpr size_t kMaxHeaderBytes = 16 * 1024;
constexpr size_t kMaxBodyBytes = 16 * 1024;

/// Reads one HTTP/1 request from what has arrived so far; nothing while more has to come. Raises HttpError for what
/// is malformed, too large or never needed here (chunked bodies, repeated headers).
std::optional<HttpRequest> parseRequest(std::string_view received);

/// Decodes "a=b&c=d". Raises HttpError(400) for a broken escape.
FormFields parseForm(std::string_view encoded);

/// Text as a value in a query string or a header: everything but letters and digits is escaped.
std::string encodeUrl(std::string_view text);
