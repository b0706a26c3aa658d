#include "review/page_response.h"

#include "html_page.h"
#include "random.h"

HttpResponse pageResponse(int status, const std::string& title, const std::string& body)
{
    const std::string nonce = randomHex(16);
    return {status,
            "Content-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
            "Referrer-Policy: same-origin\r\nCross-Origin-Opener-Policy: same-origin\r\n"
            "Cross-Origin-Resource-Policy: same-origin\r\nContent-Security-Policy: " +
                contentPolicy(nonce) + "; frame-ancestors 'none'\r\n",
            htmlPage(title, nonce, body)};
}
