#pragma once

#include <boost/json/object.hpp>
#include <openssl/evp.h>

#include <memory>
#include <string>

namespace lumivane::service::test {

/// Signs identity tokens as an OpenID provider does.
class TokenMaker {
public:
    enum class Kind { rsa, curve };

    explicit TokenMaker(Kind kind, std::string name = "key-1");

    /// {"keys": [...]} with the public key.
    std::string keySet() const;

    /// The token over these claims. `algorithm` stands in its header, whatever signed it.
    std::string sign(const boost::json::object& claims, const std::string& algorithm) const;

    std::string sign(const boost::json::object& claims) const {
        return sign(claims, m_kind == Kind::rsa ? "RS256" : "ES256");
    }

private:
    std::string signature(const std::string& text) const;

    Kind m_kind;
    std::string m_name;
    std::shared_ptr<EVP_PKEY> m_key;
};

} // namespace lumivane::service::test
