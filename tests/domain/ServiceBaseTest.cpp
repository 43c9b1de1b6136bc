#include "domain/ServiceBase.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

std::optional<QString> chosen(const std::optional<QString>& baseURL,
                              const std::optional<QString>& configured) {
    ApplicationInformation information;
    information.LumivaneAPIBaseURL = configured;
    const auto base = ServiceBase::choose(baseURL, information);
    return base ? std::optional(base->text()) : std::nullopt;
}

} // namespace

TEST(ServiceBase, AGivenOneComesBeforeTheApplicationsAndThatBeforeTheDefault) {
    const QString given = u"https://given.example"_qs;
    const QString configured = u"https://configured.example/"_qs;
    EXPECT_EQ(chosen(given, configured), given);
    EXPECT_EQ(chosen(std::nullopt, configured), configured);
    EXPECT_EQ(chosen(std::nullopt, std::nullopt), u"http://127.0.0.1:8787"_qs);
}

TEST(ServiceBase, AConfiguredTextThatIsNoUrlCountsAsNotSet) {
    EXPECT_EQ(chosen(std::nullopt, u""_qs), u"http://127.0.0.1:8787"_qs);
    EXPECT_EQ(chosen(std::nullopt, u"not a url"_qs), u"http://127.0.0.1:8787"_qs);
}

TEST(ServiceBase, ARefusedOneIsNeverReplaced) {
    EXPECT_EQ(chosen(std::nullopt, u"http://example.com"_qs), std::nullopt);
    EXPECT_EQ(chosen(u"http://127.0.0.1:8787/api"_qs, u"https://good.example"_qs), std::nullopt);
    EXPECT_EQ(chosen(u""_qs, std::nullopt), std::nullopt);
}

TEST(ServiceBase, EndpointsFollowTheHostWhetherOrNotTheBaseEndsInASlash) {
    for (const QString& text : {u"https://api.example:8443"_qs, u"https://api.example:8443/"_qs}) {
        const auto base = ServiceBase::choose(text, {});
        ASSERT_TRUE(base);
        EXPECT_EQ(base->endpoint(u"v1/auth/me"_qs).toEncoded(),
                  "https://api.example:8443/v1/auth/me");
        EXPECT_EQ(base->text(), text);
    }
}

} // namespace lumivane
