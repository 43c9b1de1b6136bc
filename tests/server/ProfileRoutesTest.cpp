#include "server/profile/ProfileRoutes.h"

#include "server/ProfileFixture.h"
#include "support/WaitForCondition.h"

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

namespace lumivane::service {

using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using test::addAccount;
using test::logIn;

namespace {

constexpr auto profilePath = "/v1/auth/profile";
constexpr auto availabilityPath = "/v1/auth/handles/availability";
constexpr auto filterPath = "/v1/auth/handles/filter";

class ProfileRoutesTest : public test::StoreTest {
protected:
    test::TestResponse patch(const std::string& body) const {
        return m_server.ask("PATCH", profilePath, m_token, body);
    }

    test::TestResponse question(const std::string& body) const {
        return m_server.ask("POST", availabilityPath, m_token, body);
    }

    test::TestResponse filter(const std::string& headers = {}) const {
        return m_server.ask("GET", filterPath, m_token, {}, headers);
    }

    // The filter as soon as there is one.
    test::TestResponse builtFilter() const {
        test::TestResponse response;
        EXPECT_TRUE(waitForCondition([&] {
            response = filter();
            return response.status == 200;
        }));
        return response;
    }

    test::ProfileServer m_server{database(), clock()};
    std::string m_account = addAccount(database(), "ada");
    std::string m_token = logIn(database(), clock(), m_account);
};

INSTANTIATE_TEST_SUITE_P(Engines, ProfileRoutesTest, test::everyEngine(), test::engineName);

std::string versionOf(const test::TestResponse& response) {
    return std::string(boost::json::parse(response.body).at("version").as_string().c_str());
}

std::string ifNoneMatch(const std::string& value) { return "If-None-Match: " + value + "\r\n"; }

} // namespace

TEST(ProfileVersions, AnEntityTagIsFoundInEveryFormOfTheHeader) {
    for (const char* header : {"\"abc\"", "W/\"abc\"", " \"abc\" ", "\"x\", \"abc\"",
                               "\"abc\",\"x\"", "W/\"x\" , W/\"abc\"", "*"}) {
        EXPECT_TRUE(namesVersion(header, "abc")) << header;
    }
    for (const char* header : {"", "abc", "\"ab\"", "\"abcd\"", "\"ABC\"", "w/\"abc\"", "\"abc",
                               "\"x\",", ",", "\"a\"bc\"", "\"\""}) {
        EXPECT_FALSE(namesVersion(header, "abc")) << header;
    }
}

TEST_P(ProfileRoutesTest, AProfileIsChanged) {
    const auto response = patch(R"({"handle":"@Cedar","display_name":" Ada L. "})");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, R"({"display_name":"Ada L.","verified_email":"ada@mail.example",)"
                             R"("linked_providers":["github"],"handle":"Cedar"})");
}

TEST_P(ProfileRoutesTest, RefusalsHaveTheirStatusAndCode) {
    addAccount(database(), "cedar");
    const auto expect = [&](const std::string& body, int status, const std::string& code) {
        const auto response = patch(body);
        EXPECT_EQ(response.status, status) << body;
        EXPECT_EQ(response.errorCode(), code) << body;
    };
    expect(R"({"handle":"CEDAR"})", 409, "handle_taken");
    expect(R"({"handle":"Admin"})", 409, "handle_reserved");
    expect(R"({"handle":"a"})", 422, "invalid_request");
    expect(R"({"display_name":"   "})", 422, "invalid_request");
    expect(R"({})", 422, "invalid_request");
    expect(R"({"handle":"a1","handle":"b1"})", 400, "invalid_json");
    expect("nonsense", 400, "invalid_json");
    expect(std::string(17'000, ' '), 413, "payload_too_large");
    EXPECT_EQ(patch(R"({"handle":"ADA"})").status, 200);
}

TEST_P(ProfileRoutesTest, EveryRouteWantsASession) {
    const auto expectRefusal = [&](const std::string& method, const std::string& path) {
        for (const std::string& token : {std::string(), std::string("wrong"), m_token + "x",
                                         std::string(4'000, 'a'), std::string("' OR 1=1 --")}) {
            const auto response = m_server.ask(method, path, token, R"({"handle":"oak"})");
            EXPECT_EQ(response.status, 401) << path << token;
            EXPECT_EQ(response.errorCode(), "unauthorized") << path;
        }
    };
    expectRefusal("PATCH", profilePath);
    expectRefusal("POST", availabilityPath);
    expectRefusal("GET", filterPath);
    clock().advance(15min);
    EXPECT_EQ(patch(R"({"handle":"oak"})").status, 401);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts WHERE handle = 'ada'"), 1);
}

TEST_P(ProfileRoutesTest, AvailabilityIsAnswered) {
    addAccount(database(), "cedar");
    EXPECT_EQ(question(R"({"handle":"@Oak"})").body, R"({"handle":"Oak","available":true})");
    EXPECT_EQ(question(R"({"handle":"Cedar"})").body,
              R"({"handle":"Cedar","available":false,"reason":"taken"})");
    EXPECT_EQ(question(R"({"handle":"ROOT"})").body,
              R"({"handle":"ROOT","available":false,"reason":"reserved"})");
    EXPECT_EQ(question(R"({"handle":"<b>"})").body,
              R"({"handle":"<b>","available":false,"reason":"invalid"})");
    EXPECT_EQ(question(R"({"handle":"ADA"})").body, R"({"handle":"ADA","available":true})");
    EXPECT_EQ(question(R"({"handle":7})").errorCode(), "invalid_request");
    EXPECT_EQ(question("[").errorCode(), "invalid_json");
}

TEST_P(ProfileRoutesTest, GarbageChangesNothingAndIsAnswered) {
    const std::string before = patch(R"({"display_name":"Ada"})").body;
    const std::string deep = std::string(5'000, '[') + std::string(5'000, ']');
    for (const std::string& value :
         {std::string("7"), std::string("true"), std::string("[\"oak\"]"), std::string("{\"a\":1}"),
          deep, "\"" + std::string(15'000, 'x') + "\"", std::string("\"o\\u0000k\""),
          std::string("\"o\xC0\xAFk\""), std::string("\"'; DROP TABLE accounts; --\""),
          std::string("\"<img src=x onerror=alert(1)>\""), std::string("\"\\ud800\""),
          std::string("1e999"), std::string("\"oak")}) {
        const auto response = patch(R"({"handle":)" + value + "}");
        EXPECT_TRUE(response.status == 400 || response.status == 422) << value.substr(0, 40);
        EXPECT_FALSE(response.errorCode().empty()) << value.substr(0, 40);
        EXPECT_EQ(response.body.find("DROP"), std::string::npos);
        EXPECT_EQ(response.body.find("onerror"), std::string::npos);
        const auto answer = question(R"({"handle":)" + value + "}");
        EXPECT_TRUE(answer.status == 400 || answer.status == 422 ||
                    answer.body.find("\"available\":false") != std::string::npos)
            << value.substr(0, 40);
    }
    EXPECT_EQ(patch(R"({"display_name":"Ada"})").body, before);
}

TEST_P(ProfileRoutesTest, TheFilterIsNotThereUntilItIsBuilt) {
    const auto first = filter();
    EXPECT_EQ(first.status, 204);
    EXPECT_EQ(first.body, "");
    EXPECT_FALSE(first.headers.contains("content-type"));
    EXPECT_FALSE(first.headers.contains("etag"));
    const auto built = builtFilter();
    EXPECT_EQ(built.headers.at("etag"), "\"" + versionOf(built) + "\"");
    EXPECT_EQ(built.headers.at("cache-control"), "private, no-cache");
    EXPECT_EQ(built.headers.at("content-type"), "application/json");
}

TEST_P(ProfileRoutesTest, TheFilterCanBeReadyBeforeTheFirstRequest) {
    refreshHandleFilter(m_server.services(), m_server.pool());
    ASSERT_TRUE(
        waitForCondition([&] { return m_server.services().filter.current().filter != nullptr; }));
    EXPECT_EQ(filter().status, 200);
}

TEST_P(ProfileRoutesTest, AKnownVersionIsAnsweredWithoutABody) {
    const auto built = builtFilter();
    const std::string tag = "\"" + versionOf(built) + "\"";
    const auto unchanged = filter(ifNoneMatch(tag));
    EXPECT_EQ(unchanged.status, 304);
    EXPECT_EQ(unchanged.body, "");
    EXPECT_EQ(unchanged.headers.at("etag"), tag);
    EXPECT_FALSE(unchanged.headers.contains("content-type"));
    EXPECT_EQ(filter(ifNoneMatch("\"old\"")).status, 200);
    EXPECT_EQ(filter(ifNoneMatch("nonsense")).body, built.body);
}

TEST_P(ProfileRoutesTest, AnOldVersionIsHandedOutWhileTheNextIsBuilt) {
    const std::string first = versionOf(builtFilter());
    patch(R"({"handle":"cedar"})");
    EXPECT_EQ(versionOf(filter()), first);
    clock().advance(1min);
    EXPECT_EQ(versionOf(filter()), first);
    EXPECT_TRUE(waitForCondition([&] { return versionOf(filter()) != first; }));
}

TEST_P(ProfileRoutesTest, AVersionThatIsTooOldIsNotHandedOut) {
    const std::string first = versionOf(builtFilter());
    patch(R"({"handle":"cedar"})");
    clock().advance(10min);
    const auto answer = filter(ifNoneMatch("\"" + first + "\""));
    // The next one may be built by now.
    EXPECT_TRUE(answer.status == 204 || answer.status == 200) << answer.status;
    EXPECT_NE(versionOf(answer), first);
}

TEST_P(ProfileRoutesTest, HeadTellsOfTheFilterWithoutItsBody) {
    const auto built = builtFilter();
    const auto head = m_server.ask("HEAD", filterPath, m_token);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers.at("content-length"), std::to_string(built.body.size()));
}

TEST_P(ProfileRoutesTest, AHandleTakenSinceTheBuildIsRefusedAtSaving) {
    builtFilter();
    const std::string other = addAccount(database(), "late");
    EXPECT_EQ(question(R"({"handle":"late"})").body,
              R"({"handle":"late","available":false,"reason":"taken"})");
    EXPECT_EQ(patch(R"({"handle":"late"})").errorCode(), "handle_taken");
}

} // namespace lumivane::service
