#include "server/login/TokenSignature.h"

#include "server/login/JsonFields.h"
#include "server/login/LoginCrypto.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <memory>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr int fewestBits = 2048;
constexpr std::size_t mostModulusBytes = 1024;
constexpr std::size_t coordinateBytes = 32;

template <auto release>
struct Releaser {
    template <typename Thing>
    void operator()(Thing* thing) const {
        release(thing);
    }
};

template <typename Thing, auto release>
using Owned = std::unique_ptr<Thing, Releaser<release>>;

using Key = Owned<EVP_PKEY, EVP_PKEY_free>;
using KeyContext = Owned<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using Builder = Owned<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>;
using Parameters = Owned<OSSL_PARAM, OSSL_PARAM_free>;
using Number = Owned<BIGNUM, BN_free>;

Number numberOf(std::string_view bytes) {
    return Number(BN_bin2bn(bytesOf(bytes), static_cast<int>(bytes.size()), nullptr));
}

std::string decodedField(const json::object& key, std::string_view name) {
    return base64UrlDecode(textField(key, name).value_or("")).value_or("");
}

Key keyFrom(const char* type, OSSL_PARAM_BLD* builder) {
    const Parameters parameters(OSSL_PARAM_BLD_to_param(builder));
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
    EVP_PKEY* key = nullptr;
    if (EVP_PKEY_fromdata_init(context.get()) == 1) {
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get());
    }
    return Key(key);
}

Key rsaKey(const json::object& key) {
    const std::string modulus = decodedField(key, "n");
    const std::string exponent = decodedField(key, "e");
    if (modulus.empty() || modulus.size() > mostModulusBytes || exponent.empty() ||
        exponent.size() > sizeof(std::uint64_t)) {
        return nullptr;
    }
    const Number n = numberOf(modulus);
    const Number e = numberOf(exponent);
    if (BN_num_bits(n.get()) < fewestBits) {
        return nullptr;
    }
    const Builder builder(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    return keyFrom("RSA", builder.get());
}

Key curveKey(const json::object& key) {
    const std::string x = decodedField(key, "x");
    const std::string y = decodedField(key, "y");
    if (textField(key, "crv") != "P-256" || x.size() != coordinateBytes ||
        y.size() != coordinateBytes) {
        return nullptr;
    }
    const std::string point = "\x04" + x + y;
    const Builder builder(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, "prime256v1", 0);
    OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(),
                                     point.size());
    return keyFrom("EC", builder.get());
}

// Two numbers side by side on the wire; a sequence of two for the library.
std::string sequenceOf(std::string_view signature) {
    if (signature.size() != 2 * coordinateBytes) {
        return {};
    }
    const Owned<ECDSA_SIG, ECDSA_SIG_free> pair(ECDSA_SIG_new());
    Number r = numberOf(signature.substr(0, coordinateBytes));
    Number s = numberOf(signature.substr(coordinateBytes));
    ECDSA_SIG_set0(pair.get(), r.release(), s.release());
    unsigned char* bytes = nullptr;
    const int size = i2d_ECDSA_SIG(pair.get(), &bytes);
    std::string result(reinterpret_cast<const char*>(bytes),
                       static_cast<std::size_t>(size > 0 ? size : 0));
    OPENSSL_free(bytes);
    return result;
}

bool verifies(EVP_PKEY* key, std::string_view text, std::string_view signature) {
    const Owned<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
    return key != nullptr &&
           EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) == 1 &&
           EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(text),
                            text.size()) == 1;
}

bool isMeantFor(const json::object& key, std::string_view algorithm) {
    return textField(key, "use").value_or("sig") == "sig" &&
           textField(key, "alg").value_or(std::string(algorithm)) == algorithm;
}

} // namespace

bool isSignedBy(const json::object& key, std::string_view algorithm, std::string_view text,
                std::string_view signature) {
    if (!isMeantFor(key, algorithm)) {
        return false;
    }
    const auto type = textField(key, "kty");
    if (algorithm == "RS256" && type == "RSA") {
        return verifies(rsaKey(key).get(), text, signature);
    }
    if (algorithm == "ES256" && type == "EC") {
        return verifies(curveKey(key).get(), text, sequenceOf(signature));
    }
    return false;
}

} // namespace lumivane::service
