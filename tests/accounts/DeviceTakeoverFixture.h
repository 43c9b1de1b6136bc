#pragma once

#include "accounts/SignInFixture.h"

namespace lumivane::test {

/// A login that has met the account on another machine, and what the user says to that.
class DeviceTakeoverFixture : public SignInFixture {
protected:
    DeviceTakeoverFixture() { service.takeoverScript.answerWith(service.login(4)); }

    /// A login that meets the account on another machine.
    void ask(const DeviceTakeoverRequired& required, AuthProvider provider = AuthProvider::github) {
        service.completeScript.answerWith(required);
        authorize(AuthIntent::signIn, provider);
        ASSERT_EQ(status.state(), questionState(required, provider));
    }

    void ask() { ask(question()); }

    std::shared_ptr<Outcome<bool>> startConfirming() {
        auto outcome = watch(flagged(takeover->confirm()));
        drainEvents();
        return outcome;
    }

    void confirm() { EXPECT_TRUE(startConfirming()->value); }

    /// The question is gone, nobody is signed in, and this is what the user reads.
    void expectClosed(const std::optional<QString>& message) {
        EXPECT_EQ(status.state(), State::signedOut());
        EXPECT_EQ(status.errorMessage(), message);
        EXPECT_FALSE(status.takeoverInFlight());
        EXPECT_EQ(clock.timerCount(), 0U);
    }

    int count(const char* line) const { return log.count("lifecycle", LogLevel::standard, line); }

    std::size_t requestCount() const { return service.requestsTo(u"takeover"_qs).size(); }

    static constexpr auto confirmedLine =
        "Device takeover confirmed; this Mac now holds the account";
    static constexpr auto lateLine = "A takeover answer came after its window had closed";
    const QString closedWords = u"The confirmation window closed. Log in again to try."_qs;
};

} // namespace lumivane::test
