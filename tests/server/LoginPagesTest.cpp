#include "server/login/LoginPages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

std::size_t countOf(const std::string& text, const std::string& piece) {
    std::size_t count = 0;
    for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
        ++count;
    }
    return count;
}

LocalIdentityForm formWithMarkup() {
    const std::string markup = "\"><script>alert('1')</script>&";
    LocalIdentityForm form;
    form.formToken = markup;
    form.entered = {markup, markup};
    form.remembered = LocalIdentity{markup, markup};
    return form;
}

} // namespace

TEST(LoginPages, EveryTextIsEscapedWhereverItStands) {
    LocalIdentityForm form = formWithMarkup();
    for (const std::string& problem : {std::string(), std::string("Enter <b>&</b>.")}) {
        form.nameProblem = problem;
        const std::string html = localIdentityPage(form).html;
        EXPECT_THAT(html, AllOf(Not(HasSubstr("<script")), Not(HasSubstr("<b>")),
                                Not(HasSubstr("('1')")), HasSubstr("&quot;&gt;&lt;script&gt;")));
    }
    EXPECT_THAT(troublePage(400, "<b>", "<i>").html,
                AllOf(Not(HasSubstr("<b>")), Not(HasSubstr("<i>"))));
    EXPECT_THAT(returnPage("x://y?a=\"><b>&c", BrowserEnd::confirmed).html,
                AllOf(Not(HasSubstr("<b>")), HasSubstr("x://y?a=&quot;&gt;&lt;b&gt;&amp;c")));
}

TEST(LoginPages, EveryFieldHasItsLabelAndEveryPageItsLanguageAndTitle) {
    const std::string html = localIdentityPage(LocalIdentityForm()).html;
    for (const char* name : {"name", "email", "remember"}) {
        EXPECT_EQ(countOf(html, "<label for=\"" + std::string(name) + "\">"), 1U) << name;
        EXPECT_EQ(countOf(html, " id=\"" + std::string(name) + "\""), 1U) << name;
    }
    EXPECT_THAT(html, AllOf(HasSubstr("<html lang=\"en\">"), HasSubstr("<main>"),
                            HasSubstr("<title>Log in to Lumivane – Lumivane</title>"),
                            HasSubstr("prefers-color-scheme: dark")));
    EXPECT_EQ(countOf(html, "<h1>"), 1U);
}

TEST(LoginPages, WhatIsWrongIsSaidWhereItIsWrong) {
    LocalIdentityForm form;
    form.emailProblem = "Enter an email.";
    const HtmlPage page = localIdentityPage(form);
    EXPECT_EQ(page.status, 422);
    EXPECT_THAT(page.html,
                AllOf(HasSubstr("aria-invalid=\"true\" aria-describedby=\"email-problem\""),
                      HasSubstr("id=\"email-problem\" role=\"alert\">Enter an email.</p>")));
    EXPECT_EQ(countOf(page.html, "aria-invalid"), 1U);
}

TEST(LoginPages, ThereIsOneCancelAndOneTitleForEachIntent) {
    LocalIdentityForm form;
    EXPECT_EQ(countOf(localIdentityPage(form).html, "value=\"cancel\""), 1U);
    form.remembered = LocalIdentity{"Ada", "ada@example.org"};
    EXPECT_EQ(countOf(localIdentityPage(form).html, "value=\"cancel\""), 1U);
    form.intent = AuthIntent::link;
    EXPECT_THAT(localIdentityPage(form).html, HasSubstr("<h1>Link GitHub to your account</h1>"));
    form.intent = AuthIntent::deleteReauth;
    EXPECT_THAT(localIdentityPage(form).html,
                AllOf(HasSubstr("<h1>Confirm that it is you</h1>"), HasSubstr("will be deleted"),
                      HasSubstr("Enter the email that you use for GitHub."),
                      HasSubstr(">Confirm</button>"), Not(HasSubstr(">Continue</button>"))));
}

TEST(LoginPages, TheLastPagePromisesNoMoreThanTheBrowserKnows) {
    // A link or a confirmation may still be refused when the program fetches it.
    EXPECT_THAT(returnPage("x://y", BrowserEnd::confirmed).html,
                AllOf(HasSubstr("<h1>The login was confirmed</h1>"), HasSubstr("Go back to"),
                      Not(HasSubstr("logged in"))));
    EXPECT_THAT(returnPage("x://y", BrowserEnd::notFinished).html,
                HasSubstr("<h1>The login was not finished</h1>"));
}

TEST(LoginPages, AWholeIdentityIsChosenAndItsNameFitsTheAccount) {
    LocalIdentityForm form;
    form.remembered = LocalIdentity{"Ada", "ada@example.org"};
    EXPECT_THAT(localIdentityPage(form).html,
                AllOf(HasSubstr("<summary>Use another identity</summary>"),
                      HasSubstr("autocomplete=\"name\" maxlength=\"60\"")));
}

TEST(LoginPages, TheStyleIsTheOneThatTheHeadersPermit) {
    const HtmlPage page = localIdentityPage(LocalIdentityForm());
    EXPECT_THAT(page.html, HasSubstr("<style>" + page.style + "</style>"));
    EXPECT_THAT(page.html, Not(HasSubstr("style=\"")));
    EXPECT_EQ(page.formTargets, std::vector<std::string>{"com.marnoth.lumivane.oauth:"});
}

} // namespace lumivane::service
