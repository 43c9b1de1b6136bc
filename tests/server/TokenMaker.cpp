#include "server/TokenMaker.h"

#include "server/accounts/Tokens.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/rsa.h>

#include <vector>

namespace lumivane::service::test {

namespace json = boost::json;

namespace {

std::string bytesOf(const BIGNUM* number, int size) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    BN_bn2binpad(number, bytes.data(), size);
    return {bytes.begin(), bytes.end()};
}

std::string encodedNumber(EVP_PKEY* key, const char* name, int size) {
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(key, name, &number);
    std::string result = base64Url(bytesOf(number, size == 0 ? BN_num_bytes(number) : size));
    BN_free(number);
    return result;
}

// The library's sequence of two numbers as the two side by side.
std::string sideBySide(const std::string& sequence) {
    const auto* position = reinterpret_cast<const unsigned char*>(sequence.data());
    ECDSA_SIG* pair = d2i_ECDSA_SIG(nullptr, &position, static_cast<long>(sequence.size()));
    std::string result = bytesOf(ECDSA_SIG_get0_r(pair), 32) + bytesOf(ECDSA_SIG_get0_s(pair), 32);
    ECDSA_SIG_free(pair);
    return result;
}

} // namespace

TokenMaker::TokenMaker(Kind kind, std::string name)
    : m_kind(kind)
    , m_name(std::move(name))
    , m_key(kind == Kind::rsa ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256"), EVP_PKEY_free) {}

std::string TokenMaker::keySet() const {
    json::object key;
    key["kid"] = m_name;
    key["use"] = "sig";
    if (m_kind == Kind::rsa) {
        key["kty"] = "RSA";
        key["n"] = encodedNumber(m_key.get(), OSSL_PKEY_PARAM_RSA_N, 0);
        key["e"] = encodedNumber(m_key.get(), OSSL_PKEY_PARAM_RSA_E, 0);
    } else {
        key["kty"] = "EC";
        key["crv"] = "P-256";
        key["x"] = encodedNumber(m_key.get(), OSSL_PKEY_PARAM_EC_PUB_X, 32);
        key["y"] = encodedNumber(m_key.get(), OSSL_PKEY_PARAM_EC_PUB_Y, 32);
    }
    json::object document;
    document["keys"] = json::array{std::move(key)};
    return json::serialize(document);
}

std::string TokenMaker::sign(const json::object& claims, const std::string& algorithm) const {
    json::object header;
    header["alg"] = algorithm;
    header["kid"] = m_name;
    const std::string text =
        base64Url(json::serialize(header)) + "." + base64Url(json::serialize(claims));
    return text + "." + base64Url(signature(text));
}

std::string TokenMaker::signature(const std::string& text) const {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestSignInit(context, nullptr, EVP_sha256(), nullptr, m_key.get());
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t size = 0;
    EVP_DigestSign(context, nullptr, &size, bytes, text.size());
    std::string result(size, '\0');
    EVP_DigestSign(context, reinterpret_cast<unsigned char*>(result.data()), &size, bytes,
                   text.size());
    EVP_MD_CTX_free(context);
    result.resize(size);
    return m_kind == Kind::rsa ? result : sideBySide(result);
}

} // namespace lumivane::service::test
