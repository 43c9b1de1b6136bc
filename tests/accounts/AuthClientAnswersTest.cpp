#include "accounts/AuthClientFixture.h"

namespace lumivane {

using namespace test;
using Case = AuthenticationError::Case;

class AuthClientAnswersTest : public AuthClientFixture {
protected:
    Outcome<AuthCompletion> complete(AuthIntent intent, const QByteArray& reply) {
        transport.answer(200, reply);
        return outcomeOf(
            client.complete(u"t"_qs, secret("h"), secret("v"), intent, std::nullopt, {}));
    }

    Outcome<AuthTransaction> transactionAt(const QByteArray& address) {
        transport.answer(200, R"({"transaction_id":"t-1","authorization_url":")" + address +
                                  R"(","expires_at":"2026-11-15T06:30:00Z"})");
        return outcomeOf(client.createTransaction(AuthProvider::google, AuthIntent::signIn, u"c"_qs,
                                                  std::nullopt, {}));
    }

    Outcome<HandleFilterOutcome> filter(int status, const QByteArray& body,
                                        const std::optional<QString>& known = std::nullopt) {
        transport.answer(status, body);
        return outcomeOf(client.handleFilter(known, secret("access-1"), {}));
    }
};

// Records

TEST_F(AuthClientAnswersTest, EveryRecordArrives) {
    transport.answer(200, R"({"providers":["github","google","github"]})");
    EXPECT_EQ(outcomeOf(client.providers({})).value,
              (std::vector<AuthProvider>{AuthProvider::github, AuthProvider::google,
                                         AuthProvider::github}));
    transport.answer(200, credentialsBody);
    EXPECT_EQ(outcomeOf(client.refresh(secret("r"), QUuid(), {})).value, sampleCredentials());
    transport.answer(200, credentialsBody);
    EXPECT_EQ(outcomeOf(client.takeover(secret("t"), sampleRegistration(), {})).value,
              sampleCredentials());
    transport.answer(200, userBody);
    EXPECT_EQ(outcomeOf(client.me(secret("a"), {})).value, sampleUser());
    transport.answer(200, userBody);
    EXPECT_EQ(outcomeOf(client.unlink(AuthProvider::google, secret("a"), {})).value, sampleUser());
    transport.answer(200, userBody);
    EXPECT_EQ(outcomeOf(client.updateProfile(u"a"_qs, {}, secret("a"), {})).value, sampleUser());
    transport.answer(200, devicesBody);
    EXPECT_EQ(outcomeOf(client.devices(secret("a"), {})).value, sampleDevices());
    transport.answer(200, R"({"handle":"a","available":false,"reason":"reserved"})");
    EXPECT_EQ(outcomeOf(client.handleAvailability(u"a"_qs, secret("a"), {})).value,
              (HandleAvailabilityResult{u"a"_qs, false, u"reserved"_qs}));
}

TEST_F(AuthClientAnswersTest, AnUnknownProviderFailsTheWholeList) {
    EXPECT_TRUE(run("providers", 200, R"({"providers":["google","apple"]})")
                    .isErrorOnly(Case::unavailable));
    EXPECT_TRUE(run("providers", 200, R"({"providers":[]})").hasValue);
}

// The login page

TEST_F(AuthClientAnswersTest, ALoginPageOnTheServicesOwnOriginIsTaken) {
    transport.answer(200, transactionBody);
    EXPECT_EQ(outcomeOf(client.createTransaction(AuthProvider::google, AuthIntent::signIn, u"c"_qs,
                                                 std::nullopt, {}))
                  .value,
              sampleTransaction());
    for (const char* address : {"http://127.0.0.1:8787", "HTTP://127.0.0.1:8787/a?b=c&d=%20",
                                "http://127.0.0.1:8787/?"}) {
        EXPECT_TRUE(transactionAt(address).value) << address;
    }
}

TEST_F(AuthClientAnswersTest, ALoginPageElsewhereIsAnInvalidResponse) {
    for (const char* address :
         {"http://127.0.0.1:8788/login", "http://127.0.0.1/login", "https://127.0.0.1:8787/login",
          "http://localhost:8787/login", "http://[::1]:8787/login", "https://login.example/x",
          "http://127.0.0.1.example:8787/login", "http://user@127.0.0.1:8787/login",
          "http://@127.0.0.1:8787/login", "http://127.0.0.1:8787/login#", "/login",
          "//127.0.0.1:8787/login", "file:///etc/passwd", "javascript:alert",
          "http://127.1:8787/"}) {
        const auto outcome = transactionAt(address);
        EXPECT_FALSE(outcome.value) << address;
        EXPECT_EQ(outcome.errorAs<AuthenticationError>(), Case::invalidResponse) << address;
    }
}

TEST_F(AuthClientAnswersTest, AnAddressThatIsNoneIsAnOutage) {
    for (const char* address : {"", "not an address", "http://127.0.0.1:8787:1/"}) {
        EXPECT_EQ(transactionAt(address).errorAs<AuthenticationError>(), Case::unavailable);
    }
}

TEST_F(AuthClientAnswersTest, APortThatIsWrittenOutAndOneThatIsNotDiffer) {
    AuthClient secure(u"https://api.example"_qs, information, transport);
    const auto start = [&](const QByteArray& address) {
        transport.answer(200, R"({"transaction_id":"t","authorization_url":")" + address +
                                  R"(","expires_at":"2026-11-15T06:30:00Z"})");
        return outcomeOf(secure.createTransaction(AuthProvider::google, AuthIntent::signIn, u"c"_qs,
                                                  std::nullopt, {}));
    };
    EXPECT_TRUE(start("https://API.example/login").value);
    EXPECT_EQ(start("https://api.example:443/login").errorAs<AuthenticationError>(),
              Case::invalidResponse);
}

// The shapes of a finished login

TEST_F(AuthClientAnswersTest, ALoginYieldsASession) {
    for (const AuthIntent intent : {AuthIntent::signIn, AuthIntent::link}) {
        EXPECT_EQ(complete(intent, credentialsBody).value, AuthCompletion(sampleCredentials()));
    }
}

TEST_F(AuthClientAnswersTest, ALoginOfAnAccountHeldElsewhereYieldsATakeover) {
    for (const AuthIntent intent : {AuthIntent::signIn, AuthIntent::link}) {
        EXPECT_EQ(complete(intent, takeoverBody).value, AuthCompletion(sampleTakeover()));
    }
}

TEST_F(AuthClientAnswersTest, AReauthenticationYieldsAProof) {
    EXPECT_EQ(
        complete(AuthIntent::deleteReauth, proofBody).value,
        AuthCompletion(DeleteReauthentication{secret("proof-1"), utcDate(2026, 11, 15, 6, 30)}));
}

TEST_F(AuthClientAnswersTest, AReauthenticationIsNothingButAProof) {
    for (const QByteArray& reply : {takeoverBody, credentialsBody}) {
        EXPECT_EQ(complete(AuthIntent::deleteReauth, reply).errorAs<AuthenticationError>(),
                  Case::unavailable);
    }
    QByteArray proof = proofBody;
    proof.insert(1, R"("status":"device_takeover_required",)");
    EXPECT_TRUE(complete(AuthIntent::deleteReauth, proof).value);
}

TEST_F(AuthClientAnswersTest, AnyOtherStatusIsRead) {
    for (const char* status : {R"("ok")", R"("DEVICE_TAKEOVER_REQUIRED")", "7", "null", "{}"}) {
        QByteArray reply = credentialsBody;
        reply.insert(1, QByteArray(R"("status":)") + status + ",");
        EXPECT_EQ(complete(AuthIntent::signIn, reply).value, AuthCompletion(sampleCredentials()))
            << status;
    }
}

TEST_F(AuthClientAnswersTest, ATakeoverThatIsNotWholeIsAnOutage) {
    QByteArray unticketed = takeoverBody;
    unticketed.replace("takeover_ticket", "ticket");
    EXPECT_EQ(complete(AuthIntent::signIn, unticketed).errorAs<AuthenticationError>(),
              Case::unavailable);
    QByteArray both = credentialsBody;
    both.insert(1, R"("status":"device_takeover_required",)");
    EXPECT_EQ(complete(AuthIntent::signIn, both).errorAs<AuthenticationError>(), Case::unavailable);
    EXPECT_EQ(complete(AuthIntent::signIn, proofBody).errorAs<AuthenticationError>(),
              Case::unavailable);
}

// The filter

TEST_F(AuthClientAnswersTest, AFilterArrives) {
    EXPECT_EQ(
        filter(200, test::filterBody).value,
        HandleFilterOutcome(HandleFilterPayload{u"v1"_qs, 8, 1, u"sha256"_qs, u"00"_qs, u"AA"_qs}));
}

TEST_F(AuthClientAnswersTest, AKnownVersionIsSentAsAnEntityTag) {
    filter(304, "", u"v-7"_qs);
    EXPECT_EQ(lastRequest().headers, (Headers{{"Accept", "application/json"},
                                              {"Authorization", "Bearer access-1"},
                                              {"If-None-Match", "\"v-7\""}}));
    filter(304, "", u""_qs);
    EXPECT_EQ(lastRequest().headers.back(), Headers::value_type("If-None-Match", "\"\""));
}

TEST_F(AuthClientAnswersTest, FilterStatusesMeanSomethingElseAndTheirBodiesAreNotRead) {
    for (const QByteArray& body : {QByteArray(), QByteArray("garbage"), test::filterBody}) {
        EXPECT_EQ(filter(304, body).value, HandleFilterOutcome(HandleFilterUnchanged()));
        EXPECT_EQ(filter(204, body).value, HandleFilterOutcome(HandleFilterUnavailable()));
    }
    EXPECT_EQ(filter(401, "").errorAs<AuthenticationError>(), Case::expiredSession);
    EXPECT_EQ(filter(409, "").errorAs<AuthenticationError>(), Case::unavailable);
    EXPECT_EQ(filter(401, envelopeBody("device_evicted")).errorAs<AuthenticationError>(),
              Case::expiredSession);
}

TEST_F(AuthClientAnswersTest, AFilterMayBeLongerThanOtherAnswers) {
    const QByteArray bits(3 * 1024 * 1024, 'A');
    QByteArray body = test::filterBody;
    body.replace(R"("AA")", '"' + bits + '"');
    const auto outcome = filter(200, body);
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(std::get<HandleFilterPayload>(*outcome.value).bits.size(), bits.size());
}

} // namespace lumivane
