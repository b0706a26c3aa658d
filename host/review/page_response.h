#pragma once

#include "review/HttpServer.h"

#include <string>

/// The answer with a page that loads nothing, is not kept, and cannot be framed. `body` is HTML.
HttpResponse pageResponse(int status, const std::string& title, const std::string& body);
