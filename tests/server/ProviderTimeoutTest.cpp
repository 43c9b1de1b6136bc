#include "server/login/OAuthProviders.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

/// Ends every exchange in one way.
class EndingTransport : public UpstreamTransport {
public:
    explicit EndingTransport(UpstreamReply::Outcome outcome)
        : m_outcome(outcome) {}

    asio::awaitable<UpstreamReply> send(UpstreamRequest, MonotonicTime deadline) override {
        patience = deadline - monotonicNow();
        UpstreamReply reply;
        reply.outcome = m_outcome;
        co_return reply;
    }

    MonotonicTime::duration patience{};

private:
    UpstreamReply::Outcome m_outcome;
};

LoginFinish finishOver(UpstreamTransport& transport) {
    ProviderSettings settings;
    settings.clientId = "client";
    settings.clientSecret = "secret";
    const auto provider = makeGitHubProvider(withDefaultAddresses(settings), transport);
    asio::io_context context;
    LoginFinish finish;
    auto done = [&finish](const std::exception_ptr&, LoginFinish given) {
        finish = std::move(given);
    };
    asio::co_spawn(context, provider->finish(LoginAttempt(), *FormFields::decode("code=c")), done);
    context.run();
    return finish;
}

} // namespace

TEST(ProviderTimeout, AProviderThatDoesNotAnswerInTimeIsAnOutage) {
    for (const auto outcome :
         {UpstreamReply::Outcome::timedOut, UpstreamReply::Outcome::unreachable}) {
        EndingTransport transport(outcome);
        EXPECT_EQ(std::get<LoginFailure>(finishOver(transport).result).refusal,
                  LoginRefusal::unavailable);
        EXPECT_LE(transport.patience, std::chrono::seconds(15));
        EXPECT_GT(transport.patience, std::chrono::seconds(5));
    }
}

TEST(ProviderTimeout, AProviderThatCannotProveWhoItIsIsNotBelieved) {
    for (const auto outcome :
         {UpstreamReply::Outcome::untrusted, UpstreamReply::Outcome::malformed}) {
        EndingTransport transport(outcome);
        EXPECT_EQ(std::get<LoginFailure>(finishOver(transport).result).refusal,
                  LoginRefusal::failed);
    }
}

} // namespace lumivane::service
