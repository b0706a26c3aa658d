#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A request that is answered with an HTTP error status.
class HttpError : public std::runtime_error
{
public:
    HttpError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
    int status() const { return status_; }

private:
    int status_;
};

/// The fields of a form or of a query string, decoded.
class FormFields
{
public:
    void add(const std::string& name, std::string value) { values_[name].push_back(std::move(value)); }
    /// Of several fields of one name the first counts; empty when there is none.
    std::string first(const std::string& name) const;
    std::vector<std::string> all(const std::string& name) const;

private:
    std::map<std::string, std::vector<std::string>> values_;
};

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
/// A form with some thousand checked rows.
constexpr size_t kMaxBodyBytes = 256 * 1024;

/// Reads one HTTP/1 request from what has arrived so far; nothing while more has to come. Raises HttpError for what
/// is malformed, too large or never needed here (chunked bodies, repeated headers).
std::optional<HttpRequest> parseRequest(std::string_view received);

/// Decodes "a=b&c=d". Raises HttpError(400) for a broken escape.
FormFields parseForm(std::string_view encoded);

/// Text as a value in a query string or a header: everything but letters and digits is escaped.
std::string encodeUrl(std::string_view text);
