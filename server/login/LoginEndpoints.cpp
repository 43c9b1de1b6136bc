#include "server/login/LoginEndpoints.h"

#include "server/accounts/Tokens.h"
#include "server/accounts/WireTime.h"
#include "server/http/ErrorEnvelope.h"
#include "server/login/LoginRequests.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service::LoginEndpoints {

namespace json = boost::json;

namespace {

HttpResponse jsonResponse(std::string body) {
    HttpResponse response;
    response.body = std::move(body);
    return response;
}

HttpResponse noContent() {
    HttpResponse response;
    response.status = 204;
    return response;
}

std::variant<LoginTransaction, Refusal> transactionFor(const LoginService& service,
                                                       const TransactionRequest& request,
                                                       const std::optional<Principal>& principal) {
    if (service.find(request.provider) == nullptr) {
        return Refusal{422, "provider_unavailable", "This service has no login of that provider."};
    }
    LoginTransaction transaction;
    if (request.intent != AuthIntent::signIn) {
        if (!principal) {
            return loginOver();
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
    std::string requestId;

    HttpResponse operator()(const IssuedLogin& login) const {
        return jsonResponse(encodeLogin(login));
    }

    HttpResponse operator()(const TakeoverOffer& offer) const {
        return jsonResponse(encodeTakeoverOffer(offer));
    }

    HttpResponse operator()(const ReauthProof& proof) const {
        return jsonResponse(encodeReauthProof(proof));
    }

    HttpResponse operator()(const Refusal& refusal) const {
        return refusalResponse(refusal, requestId);
    }
};

} // namespace

Answer providers(LoginService& service) {
    json::array names;
    for (const AuthProvider provider : service.providers()) {
        names.emplace_back(rawValue(provider));
    }
    json::object record;
    record["providers"] = std::move(names);
    co_return jsonResponse(json::serialize(record));
}

Answer createTransaction(LoginService& service, HttpRequest request) {
    const auto decoded = decodeTransactionRequest(request.body);
    if (const auto* refusal = std::get_if<Refusal>(&decoded)) {
        co_return refusalResponse(*refusal, request.requestId);
    }
    const auto base = service.origin().baseFor(request.head);
    if (!base) {
        co_return errorResponse(421, "misdirected_request",
                                "This service answers to its own address only.", request.requestId);
    }
    const auto made =
        transactionFor(service, std::get<TransactionRequest>(decoded), request.principal);
    if (const auto* refusal = std::get_if<Refusal>(&made)) {
        co_return refusalResponse(*refusal, request.requestId);
    }
    const auto transaction = std::get<LoginTransaction>(made);
    auto work = [transaction, now = service.now()](soci::session& sql) {
        // Kept for a while, so that a late browser can be told that it is late.
        removeExpiredLogins(sql, now - std::chrono::hours(1));
        insertTransaction(sql, transaction, now);
    };
    auto inserting = service.inDatabase(std::move(work));
    co_await std::move(inserting);
    co_return jsonResponse(encodeTransaction(transaction, *base));
}

Answer complete(LoginService& service, HttpRequest request) {
    const auto decoded = decodeCompleteRequest(request.body);
    if (const auto* refusal = std::get_if<Refusal>(&decoded)) {
        co_return refusalResponse(*refusal, request.requestId);
    }
    auto work = [&completion = service.completion(), asked = std::get<CompleteRequest>(decoded),
                 now = service.now()](soci::session& sql) {
        return completion.complete(sql, asked, now);
    };
    auto completing = service.inDatabase(std::move(work));
    const Completion completion = co_await std::move(completing);
    co_return std::visit(CompletionEncoder{request.requestId}, completion);
}

Answer unlink(LoginService& service, HttpRequest request) {
    const auto provider = providerNamed(request.pathParameter);
    if (!provider) {
        co_return errorResponse(404, "not_found", "There is nothing at this address.",
                                request.requestId);
    }
    auto work = [principal = request.principal.value(), provider = *provider](soci::session& sql) {
        return LoginCompletion::unlink(sql, principal, provider);
    };
    auto unlinking = service.inDatabase(std::move(work));
    const std::variant<UserSummary, Refusal> outcome = co_await std::move(unlinking);
    if (const auto* refusal = std::get_if<Refusal>(&outcome)) {
        co_return refusalResponse(*refusal, request.requestId);
    }
    co_return jsonResponse(json::serialize(encodeUser(std::get<UserSummary>(outcome))));
}

Answer deleteAccount(LoginService& service, HttpRequest request) {
    const auto decoded = decodeDeleteRequest(request.body);
    if (const auto* refusal = std::get_if<Refusal>(&decoded)) {
        co_return refusalResponse(*refusal, request.requestId);
    }
    auto work = [principal = request.principal.value(), proof = std::get<std::string>(decoded),
                 now = service.now()](soci::session& sql) {
        return LoginCompletion::deleteAccount(sql, principal, proof, now);
    };
    auto deleting = service.inDatabase(std::move(work));
    const std::optional<Refusal> refusal = co_await std::move(deleting);
    co_return refusal ? refusalResponse(*refusal, request.requestId) : noContent();
}

} // namespace lumivane::service::LoginEndpoints
