#include "server/http/Router.h"

#include "server/http/StaticTokenAuthorizer.h"

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
        return made;
    }

    Admission admit(const RequestHead& asked, const char* requestId) const {
        boost::asio::io_context context;
        auto admitting = router.admit(asked, requestId);
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

    StaticTokenAuthorizer authorizer{"right-token"};
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

} // namespace lumivane::service
