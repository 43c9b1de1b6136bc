#pragma once

#include "server/http/HttpMessage.h"
#include "server/login/Cookies.h"

#include <optional>
#include <string>

namespace lumivane::service {

/// Where browsers find the service. Immutable; any thread.
class ServiceOrigin {
public:
    /// Takes the public address of the settings. Throws LoginSettingsError.
    explicit ServiceOrigin(const std::optional<std::string>& publicUrl);

    /// The address for one request, without a slash at its end: the public one, else what the
    /// request was sent to. None where that is not this machine: a name that somebody has made
    /// lead here must not be taken for the service.
    std::optional<std::string> baseFor(const RequestHead& head) const;

    /// Whether the address is one that only this machine's browsers can mean.
    bool isOfThisMachine() const { return m_isOfThisMachine; }

    const CookieScope& cookieScope() const { return m_scope; }

private:
    std::optional<std::string> m_publicUrl;
    bool m_isOfThisMachine = true;
    CookieScope m_scope;
};

} // namespace lumivane::service
