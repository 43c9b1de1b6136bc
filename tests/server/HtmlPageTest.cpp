#include "server/http/HtmlPage.h"

#include <gtest/gtest.h>

#include <map>

namespace lumivane::service {

namespace {

std::map<std::string, std::string> headersOf(const HttpResponse& response) {
    return {response.headers.begin(), response.headers.end()};
}

} // namespace

TEST(HtmlPage, AllowsNothingButItsOwnStyleAndForms) {
    HtmlPage page;
    page.status = 404;
    page.html = "<!doctype html><title>x</title>";
    page.style = "body{color:red}";
    page.formTargets = {"https://login.example", "com.example.app:"};
    const HttpResponse response = htmlResponse(page);
    EXPECT_EQ(response.status, 404);
    EXPECT_EQ(response.body, page.html);
    EXPECT_EQ(response.contentType, "text/html; charset=utf-8");
    auto headers = headersOf(response);
    // The digest was made by: printf 'body{color:red}' | openssl dgst -sha256 -binary | base64
    EXPECT_EQ(headers["Content-Security-Policy"],
              "default-src 'none'; style-src "
              "'sha256-FcQqt3aNlV7AZnGV4zkQRVeCeJOxbMPnQSx258L803E='; form-action 'self' "
              "https://login.example com.example.app:; base-uri 'none'; frame-ancestors 'none'");
    EXPECT_EQ(headers["Referrer-Policy"], "no-referrer");
    EXPECT_EQ(headers["X-Frame-Options"], "DENY");
    EXPECT_EQ(headers["Cross-Origin-Opener-Policy"], "same-origin");
}

TEST(HtmlPage, WithoutAStyleNoneIsAllowed) {
    auto headers = headersOf(htmlResponse({}));
    EXPECT_NE(headers["Content-Security-Policy"].find("style-src 'none';"), std::string::npos);
    EXPECT_NE(headers["Content-Security-Policy"].find("form-action 'self';"), std::string::npos);
}

TEST(HtmlPage, RedirectsAreFollowedWithGet) {
    const HttpResponse response = redirectResponse("https://login.example/?a=b");
    EXPECT_EQ(response.status, 303);
    EXPECT_EQ(response.body, "");
    EXPECT_EQ(headersOf(response)["Location"], "https://login.example/?a=b");
    EXPECT_EQ(headersOf(response)["Referrer-Policy"], "no-referrer");
}

TEST(HtmlPage, EscapesWhatCouldEndATextOrAnAttribute) {
    EXPECT_EQ(htmlEscaped("<a href=\"x\" b='y'>&amp;ä</a>"),
              "&lt;a href=&quot;x&quot; b=&#39;y&#39;&gt;&amp;amp;ä&lt;/a&gt;");
    EXPECT_EQ(htmlEscaped(""), "");
}

} // namespace lumivane::service
