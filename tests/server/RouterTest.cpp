#include "server/http/Router.h"

#include "server/TestAuthorizer.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

Handler nothing() {
    return [](HttpRequest) -> boost::asio::awaitable<HttpResponse> { co_return HttpResponse{}; };
}

Route route(const char* path, HttpMethod method, Access access, BodyRule rule) {
    Route made;
    made.name = path + 1;
    made.path = path;
    made.method = method;
    made.access = access;
    made.bodyRule = rule;
    made.handler = nothing();
    return made;
}

RequestHead head(HttpMethod method, const char* target) {
    RequestHead made;
    made.method = method;
    made.target = target;
    return made;
}

} // namespace

class RouterTest : public testing::Test {
protected:
    static std::vector<Route> routes() {
        std::vector<Route> made;
        made.push_back(route("/open", HttpMethod::get, Access::open, BodyRule::none));
        made.push_back(route("/closed", HttpMethod::post, Access::session, BodyRule::json));
        made.push_back(route("/item/{}", HttpMethod::get, Access::open, BodyRule::none));
        made.push_back(route("/item/known", HttpMethod::get, Access::open, BodyRule::none));
        made.push_back(
            route("/optional", HttpMethod::get, Access::optionalSession, BodyRule::none));
        made.push_back(route("/credential", HttpMethod::get, Access::credential, BodyRule::none));
        made.push_back(route("/form", HttpMethod::post, Access::open, BodyRule::form));
        made.push_back(route("/limited", HttpMethod::get, Access::open, BodyRule::none));
        made.back().rate.limiter = twoAMinute();
        made.push_back(route("/page", HttpMethod::post, Access::open, BodyRule::form));
        made.back().refusalForm = [](const Refusal& refusal, std::string_view requestId) {
            HttpResponse response;
            response.status = refusal.status;
            response.body = refusal.code + " as a page for " + std::string(requestId);
            return response;
        };
        made.push_back(route("/counted", HttpMethod::get, Access::session, BodyRule::none));
        made.back().rate.limiter = twoAMinute();
        made.back().rate.key = RouteRate::Key::account;
        return made;
    }

    static std::shared_ptr<RateLimiter> twoAMinute() {
        return std::make_shared<RateLimiter>(2, [] { return MonotonicTime(); });
    }

    Admission admit(const RequestHead& asked, const char* requestId) const {
        boost::asio::io_context context;
        auto admitting = router.admit(asked, requestId, address);
        auto admitted =
            boost::asio::co_spawn(context, std::move(admitting), boost::asio::use_future);
        context.run();
        return admitted.get();
    }

    int statusOf(const RequestHead& asked) const {
        const Admission admission = admit(asked, "id");
        return admission.refusal ? admission.refusal->status : 0;
    }

    static RequestHead wellFormed() {
        RequestHead made = head(HttpMethod::post, "/closed");
        made.authorization = "Bearer right-token";
        made.contentType = "application/json";
        return made;
    }

    std::string address = "192.0.2.1";
    test::TestAuthorizer authorizer{"right-token"};
    Router router{authorizer, routes()};
};

TEST_F(RouterTest, FindsRoutesByPathAndMethod) {
    const Admission admission = admit(head(HttpMethod::get, "/open?x=1"), "id");
    ASSERT_NE(admission.route, nullptr);
    EXPECT_EQ(admission.route->name, "open");
    EXPECT_FALSE(admission.refusal);
    EXPECT_EQ(statusOf(head(HttpMethod::head, "/open")), 0);
    EXPECT_EQ(statusOf(wellFormed()), 0);
}

TEST_F(RouterTest, UnknownPathsAre404) {
    for (const char* target : {"/", "", "/open/", "//open", "/OPEN", "/open%20", "open",
                               "http://127.0.0.1/open", "/closed/../open", "*"}) {
        EXPECT_EQ(statusOf(head(HttpMethod::get, target)), 404) << target;
    }
}

TEST_F(RouterTest, WrongMethodsAre405WithAllow) {
    const Admission open = admit(head(HttpMethod::remove, "/open"), "id");
    ASSERT_TRUE(open.refusal);
    EXPECT_EQ(open.refusal->status, 405);
    const std::pair<std::string, std::string> getAndHead{"Allow", "GET, HEAD"};
    EXPECT_EQ(open.refusal->headers.at(0), getAndHead);
    const Admission closed = admit(head(HttpMethod::head, "/closed"), "id");
    const std::pair<std::string, std::string> post{"Allow", "POST"};
    EXPECT_EQ(closed.refusal->headers.at(0), post);
    EXPECT_EQ(statusOf(head(HttpMethod::other, "/open")), 405);
}

TEST_F(RouterTest, OnlyTheRightTokenOpensAClosedRoute) {
    for (const char* field :
         {"", "Bearer", "Bearer ", "Bearer wrong-token", "Bearer right-toke", "Bearer right-token1",
          "Basic right-token", "right-token", "Bearer right-token x", "Bearerright-token"}) {
        RequestHead asked = wellFormed();
        asked.authorization = field;
        EXPECT_EQ(statusOf(asked), 401) << field;
    }
    RequestHead none = wellFormed();
    none.authorization.reset();
    const Admission admission = admit(none, "id");
    EXPECT_EQ(admission.refusal->status, 401);
    EXPECT_EQ(admission.refusal->headers.at(0).first, "WWW-Authenticate");
    RequestHead lower = wellFormed();
    lower.authorization = "bearer  right-token";
    EXPECT_EQ(statusOf(lower), 0);
}

TEST_F(RouterTest, TheTokenIsAskedForBeforeTheContent) {
    RequestHead asked = head(HttpMethod::post, "/closed");
    asked.contentType = "text/plain";
    EXPECT_EQ(statusOf(asked), 401);
}

TEST_F(RouterTest, OnlyPlainJsonIsTaken) {
    for (const char* type :
         {"application/json", "Application/JSON", "application/json; charset=utf-8",
          "application/json;charset=\"UTF-8\""}) {
        RequestHead asked = wellFormed();
        asked.contentType = type;
        EXPECT_EQ(statusOf(asked), 0) << type;
    }
    for (const char* type :
         {"", "text/plain", "application/jsonx", "application/json; charset=utf-16",
          "application/json, text/plain", "application/json; x=y"}) {
        RequestHead asked = wellFormed();
        asked.contentType = type;
        EXPECT_EQ(statusOf(asked), 415) << type;
    }
    RequestHead packed = wellFormed();
    packed.contentEncoding = "gzip";
    EXPECT_EQ(statusOf(packed), 415);
}

TEST_F(RouterTest, OtherExpectationsAre417) {
    RequestHead asked = wellFormed();
    asked.expect = "100-Continue";
    EXPECT_EQ(statusOf(asked), 0);
    asked.expect = "a-miracle";
    EXPECT_EQ(statusOf(asked), 417);
}

TEST_F(RouterTest, RefusalsAreEnvelopes) {
    const Admission admission = admit(head(HttpMethod::get, "/canary"), "id-7");
    const auto body = boost::json::parse(admission.refusal->body);
    const auto& detail = body.at("error").as_object();
    EXPECT_EQ(detail.at("code").as_string(), "not_found");
    EXPECT_EQ(detail.at("request_id").as_string(), "id-7");
    EXPECT_EQ(admission.refusal->body.find("canary"), std::string::npos);
    EXPECT_EQ(admission.refusal->body.find(R"({"error":{"code":)"), 0U);
}

TEST_F(RouterTest, ARouteMayPutItsRefusalsInAnotherForm) {
    const Admission admission = admit(head(HttpMethod::post, "/page"), "id-1");
    ASSERT_TRUE(admission.refusal);
    EXPECT_EQ(admission.refusal->status, 415);
    EXPECT_EQ(admission.refusal->body, "unsupported_media_type as a page for id-1");
}

TEST_F(RouterTest, AParameterIsOneSegmentOfPlainCharacters) {
    const Admission admission = admit(head(HttpMethod::get, "/item/tx-1._~Z?x=/y"), "id");
    ASSERT_FALSE(admission.refusal);
    EXPECT_EQ(admission.route->name, "item/{}");
    EXPECT_EQ(admission.pathParameter, "tx-1._~Z");
    for (const std::string& rest :
         {std::string(), std::string("/"), std::string("a/b"), std::string("a/"),
          std::string("%61"), std::string("a%2Fb"), std::string("a;b"), std::string("\xC3\xA4"),
          std::string(129, 'a')}) {
        EXPECT_EQ(statusOf(head(HttpMethod::get, ("/item/" + rest).c_str())), 404) << rest;
    }
    EXPECT_EQ(statusOf(head(HttpMethod::get, ("/item/" + std::string(128, 'a')).c_str())), 0);
    EXPECT_EQ(statusOf(head(HttpMethod::get, "/item")), 404);
    EXPECT_EQ(statusOf(head(HttpMethod::post, "/item/x")), 405);
}

TEST_F(RouterTest, APathWrittenOutGoesBeforeAParameter) {
    const Admission admission = admit(head(HttpMethod::get, "/item/known"), "id");
    EXPECT_EQ(admission.route->name, "item/known");
    EXPECT_EQ(admission.pathParameter, "");
}

TEST_F(RouterTest, ASessionBringsItsPrincipalAndItsToken) {
    const Admission admission = admit(wellFormed(), "id");
    ASSERT_TRUE(admission.principal);
    EXPECT_EQ(admission.principal->accountId, "tester");
    EXPECT_EQ(admission.bearer, "right-token");
    const Admission open = admit(head(HttpMethod::get, "/open"), "id");
    EXPECT_FALSE(open.principal);
    EXPECT_FALSE(open.bearer);
}

TEST_F(RouterTest, AnOpenRouteDoesNotLookAtTokens) {
    RequestHead asked = head(HttpMethod::get, "/open");
    asked.authorization = "Bearer wrong-token";
    EXPECT_EQ(statusOf(asked), 0);
    EXPECT_FALSE(admit(asked, "id").principal);
}

TEST_F(RouterTest, AnOptionalSessionIsJudgedWhenItIsThereAtAll) {
    RequestHead asked = head(HttpMethod::get, "/optional");
    const Admission without = admit(asked, "id");
    EXPECT_FALSE(without.refusal);
    EXPECT_FALSE(without.principal);
    asked.authorization = "Bearer right-token";
    EXPECT_TRUE(admit(asked, "id").principal);
    for (const char* field : {"", "Basic x", "Bearer wrong-token"}) {
        asked.authorization = field;
        EXPECT_EQ(statusOf(asked), 401) << field;
    }
}

TEST_F(RouterTest, ACredentialIsPassedOnUnjudged) {
    RequestHead asked = head(HttpMethod::get, "/credential");
    EXPECT_EQ(statusOf(asked), 401);
    asked.authorization = "Bearer any-ticket";
    const Admission admission = admit(asked, "id");
    EXPECT_FALSE(admission.refusal);
    EXPECT_EQ(admission.bearer, "any-ticket");
    EXPECT_FALSE(admission.principal);
    asked.authorization = "Bearer any ticket";
    EXPECT_EQ(statusOf(asked), 401);
    asked.authorization = "Bearer " + std::string(4096, 'a');
    EXPECT_EQ(statusOf(asked), 0);
    asked.authorization = "Bearer " + std::string(4097, 'a');
    EXPECT_EQ(statusOf(asked), 401);
}

TEST_F(RouterTest, FormsAreToldFromOtherContent) {
    RequestHead asked = head(HttpMethod::post, "/form");
    for (const char* type : {"application/x-www-form-urlencoded",
                             "application/x-www-form-urlencoded; charset=UTF-8"}) {
        asked.contentType = type;
        EXPECT_EQ(statusOf(asked), 0) << type;
    }
    for (const char* type : {"application/json", "multipart/form-data; boundary=x", "text/plain",
                             "application/x-www-form-urlencoded; charset=latin1"}) {
        asked.contentType = type;
        EXPECT_EQ(statusOf(asked), 415) << type;
    }
    asked.contentType.reset();
    EXPECT_EQ(statusOf(asked), 415);
}

TEST_F(RouterTest, WhatTheAuthorizerSaysBecomesTheEnvelope) {
    class Evicting : public Authorizer {
    public:
        boost::asio::awaitable<Authorization> authorize(std::string token) override {
            if (token == "throws") {
                throw std::runtime_error("canary");
            }
            co_return Refusal{token == "busy" ? 503 : 401, "device_evicted", "Elsewhere."};
        }
    } evicting;

    const Router closed(evicting, routes());
    const auto refusalFor = [&](const char* token) {
        RequestHead asked = wellFormed();
        asked.authorization = std::string("Bearer ") + token;
        boost::asio::io_context context;
        auto admitting = closed.admit(asked, "id", address);
        auto admitted =
            boost::asio::co_spawn(context, std::move(admitting), boost::asio::use_future);
        context.run();
        return *admitted.get().refusal;
    };
    const HttpResponse evicted = refusalFor("x");
    EXPECT_EQ(evicted.status, 401);
    EXPECT_NE(evicted.body.find("device_evicted"), std::string::npos);
    EXPECT_EQ(evicted.headers.at(0).first, "WWW-Authenticate");
    EXPECT_EQ(refusalFor("busy").headers.at(0).first, "Retry-After");
    const HttpResponse failed = refusalFor("throws");
    EXPECT_EQ(failed.status, 500);
    EXPECT_EQ(failed.body.find("canary"), std::string::npos);
}

TEST_F(RouterTest, AnAddressIsCountedBeforeItsToken) {
    RequestHead asked = head(HttpMethod::get, "/limited");
    EXPECT_EQ(statusOf(asked), 0);
    EXPECT_EQ(statusOf(asked), 0);
    const Admission admission = admit(asked, "id");
    ASSERT_TRUE(admission.refusal);
    EXPECT_EQ(admission.refusal->status, 429);
    EXPECT_NE(admission.refusal->body.find("rate_limited"), std::string::npos);
    const std::pair<std::string, std::string> retryAfter{"Retry-After", "30"};
    EXPECT_EQ(admission.refusal->headers.at(0), retryAfter);
    address = "192.0.2.2";
    EXPECT_EQ(statusOf(asked), 0);
}

TEST_F(RouterTest, AWholeNetworkOfTheNewProtocolIsOneClient) {
    RequestHead asked = head(HttpMethod::get, "/limited");
    address = "2001:db8:1:2:3::1";
    EXPECT_EQ(statusOf(asked), 0);
    address = "2001:db8:1:2:ffff::9";
    EXPECT_EQ(statusOf(asked), 0);
    EXPECT_EQ(statusOf(asked), 429);
    address = "2001:db8:1:3::1";
    EXPECT_EQ(statusOf(asked), 0);
}

TEST_F(RouterTest, AnAccountIsCountedAfterItsToken) {
    RequestHead asked = head(HttpMethod::get, "/counted");
    for (int attempt = 0; attempt < 5; ++attempt) {
        EXPECT_EQ(statusOf(asked), 401);
    }
    asked.authorization = "Bearer right-token";
    EXPECT_EQ(statusOf(asked), 0);
    address = "192.0.2.2";
    EXPECT_EQ(statusOf(asked), 0);
    EXPECT_EQ(statusOf(asked), 429);
}

} // namespace lumivane::service
