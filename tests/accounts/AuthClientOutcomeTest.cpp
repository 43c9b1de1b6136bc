#include "accounts/AuthClientFixture.h"
#include "support/ForgetfulHttpTransport.h"
#include "support/MemoryCanary.h"

#include <map>

namespace lumivane {

using namespace test;
using Case = AuthenticationError::Case;
using Kind = TransportError::Kind;

namespace {

/// The codes that each call honours; the calls that are not here honour none.
const std::map<std::string, std::map<QByteArray, Case>> honoured{
    {"complete",
     {{"device_required", Case::deviceRequired},
      {"identity_already_linked", Case::identityAlreadyLinked},
      {"provider_already_linked", Case::providerAlreadyLinked},
      {"reauthentication_failed", Case::reauthenticationFailed}}},
    {"devices",
     {{"insufficient_scope", Case::insufficientScope},
      {"device_evicted", Case::deviceEvicted},
      {"device_required", Case::deviceRequired}}},
    {"takeover",
     {{"insufficient_scope", Case::insufficientScope},
      {"device_evicted", Case::deviceEvicted},
      {"device_required", Case::deviceRequired}}},
    {"updateProfile",
     {{"handle_taken", Case::handleTaken}, {"handle_reserved", Case::handleReserved}}},
};

const std::vector<QByteArray> everyCode{"device_required",
                                        "identity_already_linked",
                                        "provider_already_linked",
                                        "reauthentication_failed",
                                        "insufficient_scope",
                                        "device_evicted",
                                        "handle_taken",
                                        "handle_reserved",
                                        "last_identity",
                                        "DEVICE_EVICTED",
                                        "device_evicted ",
                                        ""};

const std::vector<int> failingStatuses{0,   100, 199, 300, 301, 302, 304, 307, 400, 401, 403,
                                       404, 409, 410, 422, 429, 500, 502, 503, 504, 599, 999};

/// What a failing status means where no code of the body counts.
Case byStatus(const std::string& name, int status) {
    if (status == 401) {
        return Case::expiredSession;
    }
    return status == 409 && name == "unlink" ? Case::lastIdentity : Case::unavailable;
}

bool isFilter(const std::string& name) { return name == "handleFilter"; }

} // namespace

class AuthClientOutcomeTest : public AuthClientFixture {};

TEST_F(AuthClientOutcomeTest, EveryFailingStatusOfEveryCallHasItsError) {
    for (const Operation& each : operations()) {
        for (const int status : failingStatuses) {
            if (isFilter(each.name) && status == 304) {
                continue; // that one is an answer
            }
            for (const QByteArray& body :
                 {QByteArray(), QByteArray("plain text"), envelopeBody("unheard_of"), each.reply}) {
                EXPECT_TRUE(run(each, status, body).isErrorOnly(byStatus(each.name, status)))
                    << each.name << ' ' << status << ' ' << body.toStdString();
            }
        }
    }
}

TEST_F(AuthClientOutcomeTest, ACodeOfTheCallsOwnMapComesBeforeAnyStatus) {
    for (const Operation& each : operations()) {
        const auto codes = honoured.find(each.name);
        for (const QByteArray& code : everyCode) {
            for (const int status : {300, 400, 401, 403, 404, 409, 500, 503}) {
                const bool isKnown = codes != honoured.end() && codes->second.contains(code);
                const Case expected =
                    isKnown ? codes->second.at(code) : byStatus(each.name, status);
                EXPECT_TRUE(run(each, status, envelopeBody(code)).isErrorOnly(expected))
                    << each.name << ' ' << status << ' ' << code.toStdString();
            }
        }
    }
}

TEST_F(AuthClientOutcomeTest, AnEvictedDeviceIsToldApartOnlyWhereItIsAskedFor) {
    EXPECT_TRUE(
        run("devices", 401, envelopeBody("device_evicted")).isErrorOnly(Case::deviceEvicted));
    EXPECT_TRUE(run("me", 401, envelopeBody("device_evicted")).isErrorOnly(Case::expiredSession));
}

TEST_F(AuthClientOutcomeTest, AConflictIsTheLastIdentityOnlyOfUnlinking) {
    EXPECT_TRUE(run("unlink", 409).isErrorOnly(Case::lastIdentity));
    EXPECT_TRUE(run("unlink", 409, envelopeBody("anything")).isErrorOnly(Case::lastIdentity));
    EXPECT_TRUE(run("complete", 409).isErrorOnly(Case::unavailable));
    EXPECT_TRUE(run("complete", 409, envelopeBody("anything")).isErrorOnly(Case::unavailable));
}

TEST_F(AuthClientOutcomeTest, AnEnvelopeThatIsNotWholeIsNone) {
    for (const char* body :
         {R"({"error":{"code":"device_evicted","message":"m"}})", R"({"code":"device_evicted"})",
          R"({"error":{"code":"device_evicted","message":1,"request_id":"r"}})",
          R"({"error":{"code":"device_evicted","code":"x","message":"m","request_id":"r"}})",
          R"(["device_evicted"])", "device_evicted"}) {
        EXPECT_TRUE(run("devices", 401, body).isErrorOnly(Case::expiredSession)) << body;
        EXPECT_TRUE(run("devices", 500, body).isErrorOnly(Case::unavailable)) << body;
    }
}

TEST_F(AuthClientOutcomeTest, EverySuccessfulStatusIsASuccess) {
    for (const Operation& each : operations()) {
        for (const int status : {200, 201, 202, 204, 206, 299}) {
            EXPECT_TRUE(run(each, status, each.reply).hasValue) << each.name << ' ' << status;
        }
    }
}

TEST_F(AuthClientOutcomeTest, AnAnswerThatIsNotHttpIsInvalid) {
    for (const Operation& each : operations()) {
        for (const int status : {0, 200, 401}) {
            transport.answer(HttpResponse{false, status, each.reply});
            EXPECT_TRUE(each.run(client, {}).isErrorOnly(Case::invalidResponse)) << each.name;
        }
    }
}

TEST_F(AuthClientOutcomeTest, EveryTroubleOfTheTransportIsAnOutage) {
    for (const Operation& each : operations()) {
        for (const Kind kind : {Kind::timedOut, Kind::bodyTooLarge, Kind::failed}) {
            transport.fail(TransportError(kind, 1));
            EXPECT_TRUE(each.run(client, {}).isErrorOnly(Case::unavailable)) << each.name;
        }
        transport.fail(std::runtime_error("anything"));
        EXPECT_TRUE(each.run(client, {}).isErrorOnly(Case::unavailable)) << each.name;
    }
}

TEST_F(AuthClientOutcomeTest, AnErrorOfAccountsPassesAsItIs) {
    for (const Operation& each : operations()) {
        transport.fail(AuthenticationError(Case::deviceRequired));
        EXPECT_TRUE(each.run(client, {}).isErrorOnly(Case::deviceRequired)) << each.name;
    }
}

TEST_F(AuthClientOutcomeTest, ASuccessThatCannotBeReadIsAnOutage) {
    const std::vector<QByteArray> garbage{
        "{",
        "null",
        "[]",
        "1",
        "{}",
        "<html>",
        "\xff\xfe\xfd",
        QByteArray("{}\0", 3),
        R"({"error":{"code":"device_evicted","message":"m","request_id":"r"}})",
        QByteArray(100, '['),
        R"({"user":)"};
    for (const Operation& each : operations()) {
        for (const QByteArray& body : garbage) {
            const bool isIgnored = each.reply.isEmpty();
            const bool isJson = body == "null" || body == "[]" || body == "1" ||
                                body.startsWith(R"({"error")") || body == "{}";
            const Ending ending = run(each, 200, body);
            EXPECT_EQ(ending.hasValue, isIgnored && isJson) << each.name << body.toStdString();
            EXPECT_EQ(ending.isErrorOnly(Case::unavailable), !(isIgnored && isJson)) << each.name;
        }
        EXPECT_EQ(run(each, 200, "").hasValue, each.reply.isEmpty()) << each.name;
    }
}

TEST_F(AuthClientOutcomeTest, WhereNothingIsExpectedNothingOrAnyJsonIsASuccess) {
    for (const char* name : {"revoke", "logout", "deleteAccount"}) {
        EXPECT_TRUE(run(name, 204, "").hasValue);
        EXPECT_TRUE(run(name, 200, R"({"anything":["at",{"all":null}]})").hasValue);
        EXPECT_TRUE(run(name, 200, "true").hasValue);
        EXPECT_TRUE(run(name, 200, " ").isErrorOnly(Case::unavailable));
        EXPECT_TRUE(run(name, 200, "OK").isErrorOnly(Case::unavailable));
    }
}

TEST_F(AuthClientOutcomeTest, ARefreshWithoutReadableCredentialsIsAnOutageAndNoBadLogin) {
    EXPECT_TRUE(run("refresh", 200, "not json").isErrorOnly(Case::unavailable));
    QByteArray unknownProvider = credentialsBody;
    unknownProvider.replace("github", "apple");
    EXPECT_TRUE(run("refresh", 200, unknownProvider).isErrorOnly(Case::unavailable));
    QByteArray badDate = credentialsBody;
    badDate.replace("2026-11-15T06:25:30.123Z", "2026-11-15");
    EXPECT_TRUE(run("refresh", 200, badDate).isErrorOnly(Case::unavailable));
}

TEST_F(AuthClientOutcomeTest, NoCopyOfATokenStaysBehind) {
    ForgetfulHttpTransport forgetful;
    AuthClient forgetting(std::nullopt, {}, forgetful);
    const MemoryCanary header;
    const MemoryCanary body;
    const MemoryCanary filter;
    EXPECT_TRUE(
        outcomeOf(flagged(forgetting.deleteAccount(header.secret(), body.secret(), {}))).value);
    EXPECT_EQ(forgetful.longestHeader, 7 + 96);
    EXPECT_TRUE(outcomeOf(forgetting.handleFilter(std::nullopt, filter.secret(), {})).error);
    EXPECT_EQ(forgetful.longestHeader, 7 + 96);
    EXPECT_FALSE(header.standsInMemory());
    EXPECT_FALSE(body.standsInMemory());
    EXPECT_FALSE(filter.standsInMemory());
}

} // namespace lumivane
