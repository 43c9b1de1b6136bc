#pragma once

#include "server/http/HtmlPage.h"
#include "server/login/AuthIntent.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// Who somebody says they are on the local page.
struct LocalIdentity {
    std::string name;
    std::string email;

    bool operator==(const LocalIdentity&) const = default;
};

/// What the local page shows. All texts are as the user wrote them.
struct LocalIdentityForm {
    AuthProvider provider = AuthProvider::github;
    AuthIntent intent = AuthIntent::signIn;
    std::string formToken;
    LocalIdentity entered;
    std::optional<LocalIdentity> remembered; ///< offered as one button
    bool remembers = true;
    std::string nameProblem;  ///< what is wrong with the name; empty when nothing is
    std::string emailProblem; ///< the same of the address
};

/// The page that stands in for a provider where none is configured.
HtmlPage localIdentityPage(const LocalIdentityForm& form);

/// A page that says why a login cannot go on and what to do.
HtmlPage troublePage(int status, std::string_view title, std::string_view words);

/// How a login ended as far as the browser knows: what comes of it is up to the program.
enum class BrowserEnd { confirmed, notFinished };

/// The page behind a redirect to the program, for a browser that does not follow it by itself.
HtmlPage returnPage(std::string_view programUrl, BrowserEnd end);

/// The scheme of the addresses that lead back to the program, with its colon.
constexpr std::string_view programScheme = "com.marnoth.lumivane.oauth:";

} // namespace lumivane::service
