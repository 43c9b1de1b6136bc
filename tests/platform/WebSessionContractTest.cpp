#include "platform/WebSession.h"
#include "platform/linux/BrowserWebSession.h"
#include "support/FakeUrlOpener.h"
#include "support/FakeWebSession.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace lumivane {

using test::drainEvents;
using Kind = WebSessionEnd::Kind;

namespace {

/// A desktop with a browser.
class Desktop {
public:
    virtual ~Desktop() = default;
    virtual WebSession& session() = 0;
    virtual void deliver(const QString& url) = 0;
    virtual void breakBrowser() = 0;
    virtual QList<QUrl> pages() const = 0;
};

class FakeDesktop final : public Desktop {
public:
    WebSession& session() override { return m_session; }

    void deliver(const QString& url) override { m_session.deliver(url); }

    void breakBrowser() override { m_session.startsPages = false; }

    QList<QUrl> pages() const override { return m_session.pages(); }

private:
    test::FakeWebSession m_session;
};

class BrowserDesktop final : public Desktop {
public:
    WebSession& session() override { return m_session; }

    void deliver(const QString& url) override { m_session.deliver(url); }

    void breakBrowser() override { m_opener.hasBrowser = false; }

    QList<QUrl> pages() const override { return m_opener.asked; }

private:
    test::FakeUrlOpener m_opener;
    BrowserWebSession m_session{m_opener};
};

struct Variant {
    std::string name;
    std::function<std::unique_ptr<Desktop>()> make;
};

} // namespace

class WebSessionContract : public testing::TestWithParam<Variant> {
protected:
    WebSessionContract() {
        session.onStrayCallback = [this] { ++strays; };
    }

    ~WebSessionContract() override {
        source.request_stop();
        drainEvents();
    }

    auto start(const QString& page = u"https://login.example/"_qs) {
        auto outcome =
            test::watch(session.run(QUrl(page), u"com.example.login"_qs, source.get_token()));
        drainEvents();
        return outcome;
    }

    std::unique_ptr<Desktop> desktop = GetParam().make();
    WebSession& session = desktop->session();
    std::stop_source source;
    int strays = 0;
    const QString callback = u"com.example.login://callback?a=b"_qs;
};

TEST_P(WebSessionContract, ThePageIsShownAndTheAddressCaught) {
    const auto outcome = start();
    EXPECT_EQ(desktop->pages(), QList<QUrl>{QUrl(u"https://login.example/"_qs)});
    EXPECT_FALSE(outcome->hasEnded());
    desktop->deliver(callback);
    EXPECT_FALSE(outcome->hasEnded()) << "only in a later turn";
    drainEvents();
    EXPECT_EQ(outcome->value, (WebSessionEnd{Kind::callback, callback}));
    EXPECT_EQ(strays, 0);
}

TEST_P(WebSessionContract, TheAddressStaysAsItIsAndItsSchemeMayBeOfAnyCase) {
    const auto outcome = start();
    const QString odd = u"COM.Example.LOGIN:\u00E4 %zz#?\n"_qs;
    desktop->deliver(odd);
    drainEvents();
    EXPECT_EQ(outcome->value, (WebSessionEnd{Kind::callback, odd}));
}

TEST_P(WebSessionContract, AnAddressOfAnotherSchemeIsAStray) {
    const auto outcome = start();
    for (const auto* url :
         {"https://login.example/", "", "com.example.login",
          "com.example.login2:", "com.example.logi:", " com.example.login:", "/a/file"}) {
        desktop->deliver(QString::fromLatin1(url));
    }
    drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_EQ(strays, 7);
}

TEST_P(WebSessionContract, AnAddressThatNoPageWaitsForIsAStray) {
    desktop->deliver(callback);
    EXPECT_EQ(strays, 1);
    const auto outcome = start();
    desktop->deliver(callback);
    desktop->deliver(callback);
    EXPECT_EQ(strays, 2);
    drainEvents();
    EXPECT_EQ(outcome->value, (WebSessionEnd{Kind::callback, callback}));
    desktop->deliver(callback);
    EXPECT_EQ(strays, 3);
}

TEST_P(WebSessionContract, AStrayWithoutAListenerIsDropped) {
    session.onStrayCallback = nullptr;
    desktop->deliver(callback);
    EXPECT_EQ(strays, 0);
}

TEST_P(WebSessionContract, WithoutABrowserItDoesNotStart) {
    desktop->breakBrowser();
    const auto outcome = start();
    EXPECT_EQ(outcome->value, (WebSessionEnd{Kind::notStarted, QString()}));
    desktop->deliver(callback);
    EXPECT_EQ(strays, 1);
}

TEST_P(WebSessionContract, AStopEndsTheWaitAndWhatComesThenIsAStray) {
    const auto outcome = start();
    source.request_stop();
    desktop->deliver(callback);
    EXPECT_EQ(strays, 1);
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

TEST_P(WebSessionContract, AStopBeforehandShowsNothing) {
    source.request_stop();
    EXPECT_TRUE(start()->isCancelled);
    EXPECT_TRUE(desktop->pages().isEmpty());
}

TEST_P(WebSessionContract, AnotherPageTakesThePlaceOfTheFirst) {
    const auto first = start();
    const auto second = start(u"https://login.example/2"_qs);
    EXPECT_EQ(first->value, (WebSessionEnd{Kind::cancelledByUser, QString()}));
    desktop->deliver(callback);
    drainEvents();
    EXPECT_EQ(second->value, (WebSessionEnd{Kind::callback, callback}));
    EXPECT_EQ(strays, 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, WebSessionContract,
    testing::Values(Variant{"Fake", [] { return std::make_unique<FakeDesktop>(); }},
                    Variant{"Browser", [] { return std::make_unique<BrowserDesktop>(); }}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
