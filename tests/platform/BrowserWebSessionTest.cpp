#include "platform/linux/BrowserWebSession.h"

#include "support/FakeUrlOpener.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

namespace lumivane {

TEST(BrowserWebSession, ABrowserThatComesBackAtOnceIsHeard) {
    test::FakeUrlOpener opener;
    BrowserWebSession session(opener);
    opener.onOpen = [&session] { session.deliver(u"x:back"_qs); };
    const auto outcome = test::outcomeOf(session.run(QUrl(u"https://a/"_qs), u"x"_qs, {}));
    EXPECT_EQ(outcome.value, (WebSessionEnd{WebSessionEnd::Kind::callback, u"x:back"_qs}));
}

TEST(BrowserWebSession, APageOutlivesItsSession) {
    test::FakeUrlOpener opener;
    std::optional<BrowserWebSession> session(std::in_place, opener);
    std::stop_source source;
    const auto outcome =
        test::watch(session->run(QUrl(u"https://a/"_qs), u"x"_qs, source.get_token()));
    session.reset();
    test::drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    source.request_stop();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

} // namespace lumivane
