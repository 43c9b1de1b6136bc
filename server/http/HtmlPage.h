#pragma once

#include "server/http/HttpMessage.h"

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// A page for a person's browser. It works without scripts, and none can run on it.
struct HtmlPage {
    int status = 200;
    std::string html;  ///< the whole document, UTF-8
    std::string style; ///< what stands between <style> and </style>, byte for byte; may be empty
    /// Sources that a form may lead to besides this service, redirects included, as
    /// "https://login.example" or "com.example.app:".
    std::vector<std::string> formTargets;
};

/// The page with headers that allow nothing but that very style and those forms: no scripts, no
/// frames, no pictures, no referrer, no store.
HttpResponse htmlResponse(HtmlPage page);

/// 303 See Other: to be followed with GET. `location` must hold visible ASCII only.
HttpResponse redirectResponse(std::string location);

/// Text for between tags and for attribute values in either quotes.
std::string htmlEscaped(std::string_view text);

} // namespace lumivane::service
