#include "server/login/LoginEndpoints.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/AnswerOnPool.h"
#include "server/accounts/Tokens.h"
#include "server/accounts/WireTime.h"
#include "server/login/LoginRequests.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service::LoginEndpoints {

namespace json = boost::json;

namespace {

LoginTransaction transactionFor(const LoginService& service, const TransactionRequest& request,
                                const std::optional<Principal>& principal) {
    if (service.find(request.provider) == nullptr) {
        throw AccountError(
            Refusal{422, "provider_unavailable", "This service has no login of that provider."});
    }
    LoginTransaction transaction;
    if (request.intent != AuthIntent::signIn) {
        if (!principal) {
            throw AccountError(unauthorized());
        }
        transaction.owner = LoginOwner{principal->accountId, principal->sessionId};
    }
    transaction.id = makeIdentifier();
    transaction.provider = request.provider;
    transaction.intent = request.intent;
    transaction.codeChallenge = request.codeChallenge;
    transaction.browserHash = unboundBrowser;
    transaction.expiresAt = service.now() + service.lifetimes().transaction;
    return transaction;
}

std::string encodeTransaction(const LoginTransaction& transaction, const std::string& base) {
    json::object record;
    record["transaction_id"] = transaction.id;
    record["authorization_url"] = base + "/v1/auth/login/" + transaction.id;
    record["expires_at"] = wireTime(transaction.expiresAt);
    return json::serialize(record);
}

struct CompletionEncoder {
    HttpResponse operator()(const IssuedLogin& login) const {
        return jsonResponse(encodeLogin(login));
    }

    HttpResponse operator()(const TakeoverOffer& offer) const {
        return jsonResponse(encodeTakeoverOffer(offer));
    }

    HttpResponse operator()(const ReauthProof& proof) const {
        return jsonResponse(encodeReauthProof(proof));
    }

    HttpResponse operator()(const Refusal& refusal) const { throw AccountError(refusal); }
};

} // namespace

HttpResponse providers(LoginService& service, const HttpRequest&) {
    json::array names;
    for (const AuthProvider provider : service.providers()) {
        names.emplace_back(rawValue(provider));
    }
    json::object record;
    record["providers"] = std::move(names);
    return jsonResponse(json::serialize(record));
}

HttpResponse createTransaction(LoginService& service, const HttpRequest& request) {
    const TransactionRequest asked = decodeTransactionRequest(request.body);
    const auto base = service.origin().baseFor(request.head);
    if (!base) {
        throw AccountError(
            Refusal{421, "misdirected_request", "This service answers to its own address only."});
    }
    const LoginTransaction transaction = transactionFor(service, asked, request.principal);
    service.transact([&transaction, now = service.now()](soci::session& sql) {
        insertTransaction(sql, transaction, now);
    });
    return jsonResponse(encodeTransaction(transaction, *base));
}

HttpResponse complete(LoginService& service, const HttpRequest& request) {
    const CompleteRequest asked = decodeCompleteRequest(request.body);
    const Completion completion =
        service.transact([&service, &asked, now = service.now()](soci::session& sql) {
            return service.completion().complete(sql, asked, now);
        });
    return std::visit(CompletionEncoder(), completion);
}

HttpResponse unlink(LoginService& service, const HttpRequest& request) {
    const auto provider = providerNamed(request.pathParameter);
    if (!provider) {
        throw AccountError(Refusal{404, "not_found", "There is nothing at this address."});
    }
    const Principal principal = request.principal.value();
    const UsableLogins usable = service.usableLogins();
    const auto outcome = service.transact([&principal, provider, &usable](soci::session& sql) {
        return LoginCompletion::unlink(sql, principal, *provider, usable);
    });
    if (const auto* refusal = std::get_if<Refusal>(&outcome)) {
        throw AccountError(*refusal);
    }
    return jsonResponse(json::serialize(encodeUser(std::get<UserSummary>(outcome))));
}

HttpResponse deleteAccount(LoginService& service, const HttpRequest& request) {
    const std::string proof = decodeDeleteRequest(request.body);
    const Principal principal = request.principal.value();
    const auto refusal =
        service.transact([&principal, &proof, now = service.now()](soci::session& sql) {
            return LoginCompletion::deleteAccount(sql, principal, proof, now);
        });
    if (refusal) {
        throw AccountError(*refusal);
    }
    return emptyResponse();
}

} // namespace lumivane::service::LoginEndpoints
