#include "server/login/LoginPages.h"

#include "server/profile/ProfileRecords.h"

namespace lumivane::service {

namespace {

// Colours have a contrast of at least 4.5 to 1 in both schemes.
constexpr std::string_view style = R"(
:root { color-scheme: light dark; --page: #f4f5f7; --card: #ffffff; --text: #1c2024;
  --quiet: #545b64; --line: #8b929b; --accent: #1f5fbf; --on-accent: #ffffff;
  --mark: #fff3cd; --on-mark: #5c4400; --wrong: #b3261e; }
@media (prefers-color-scheme: dark) {
  :root { --page: #15171a; --card: #1f2226; --text: #eceef0; --quiet: #b3bac2; --line: #7d858e;
    --accent: #8ab8ff; --on-accent: #0b1f3a; --mark: #4a3a00; --on-mark: #ffe9a8;
    --wrong: #ff9d94; } }
* { box-sizing: border-box; }
body { margin: 0; padding: 6vh 1rem 2rem; background: var(--page); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif; }
main { max-width: 27rem; margin: 0 auto; padding: 1.75rem; background: var(--card);
  border: 1px solid var(--line); border-radius: 0.75rem; }
h1 { margin: 0 0 0.5rem; font-size: 1.4rem; line-height: 1.25; overflow-wrap: anywhere; }
p { margin: 0 0 1rem; }
.quiet { color: var(--quiet); }
.mark { display: inline-block; margin: 0 0 1rem; padding: 0.15rem 0.6rem; border-radius: 0.4rem;
  background: var(--mark); color: var(--on-mark); font-weight: 600; font-size: 0.875rem; }
label { display: block; margin: 0 0 0.25rem; font-weight: 600; }
.field { margin: 0 0 1rem; }
input[type=text], input[type=email] { width: 100%; padding: 0.55rem 0.65rem; font: inherit;
  color: inherit; background: var(--page); border: 1px solid var(--line);
  border-radius: 0.4rem; }
.choice { display: flex; gap: 0.5rem; align-items: center; margin: 0 0 1.25rem; }
.choice label { margin: 0; font-weight: 400; }
.choice input { width: 1.1rem; height: 1.1rem; accent-color: var(--accent); }
.wrong { margin: 0.25rem 0 0; color: var(--wrong); }
.actions { display: flex; flex-wrap: wrap; gap: 0.75rem; }
button, a.button { padding: 0.6rem 1.1rem; border-radius: 0.4rem; font: inherit; font-weight: 600;
  cursor: pointer; border: 1px solid var(--accent); background: var(--accent);
  color: var(--on-accent); text-decoration: none; display: inline-block;
  overflow-wrap: anywhere; text-align: start; }
button.second { background: transparent; color: var(--text); border-color: var(--line); }
:focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
summary { cursor: pointer; font-weight: 600; margin: 1rem 0; }
.remembered { margin: 0 0 1rem; }
.cancel { margin: 1rem 0 0; }
)";

HtmlPage document(int status, std::string_view title, std::string_view content) {
    HtmlPage page;
    page.status = status;
    page.style = style;
    page.html.append("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                     "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                     "<meta name=\"color-scheme\" content=\"light dark\">\n<title>");
    page.html.append(htmlEscaped(title)).append(" – Lumivane</title>\n<style>");
    page.html.append(style).append("</style>\n</head>\n<body>\n<main>\n");
    page.html.append(content).append("</main>\n</body>\n</html>\n");
    return page;
}

std::string element(std::string_view tag, std::string_view text) {
    std::string result = "<";
    result.append(tag).append(">").append(htmlEscaped(text)).append("</");
    result.append(tag.substr(0, tag.find(' '))).append(">\n");
    return result;
}

std::string titleOf(const LocalIdentityForm& form) {
    switch (form.intent) {
    case AuthIntent::link:
        return "Link " + std::string(title(form.provider)) + " to your account";
    case AuthIntent::deleteReauth:
        return "Confirm that it is you";
    case AuthIntent::signIn:
        break;
    }
    return "Log in to Lumivane";
}

std::string wordsOf(const LocalIdentityForm& form) {
    const std::string name(title(form.provider));
    if (form.intent == AuthIntent::deleteReauth) {
        return "Your Lumivane account will be deleted once you have confirmed. Enter the "
               "email that you use for " +
               name + ".";
    }
    return "This service has no connection to " + name +
           ". This page stands in for it: say who you are. Nothing leaves this machine, and "
           "nobody checks it.";
}

// Without an action a form goes back to the address it came from.
std::string formHead(const LocalIdentityForm& form) {
    return "<form method=\"post\">\n<input type=\"hidden\" name=\"form_token\" value=\"" +
           htmlEscaped(form.formToken) + "\">\n";
}

std::string button(std::string_view action, std::string_view words, std::string_view more = "") {
    std::string result = "<button type=\"submit\" name=\"action\" value=\"";
    result.append(action).append("\"").append(more).append(">");
    return result.append(htmlEscaped(words)).append("</button>\n");
}

std::string field(std::string_view name, std::string_view words, std::string_view attributes,
                  const std::string& value, const std::string& problem) {
    const std::string id(name);
    std::string result = "<div class=\"field\">\n<label for=\"" + id + "\">";
    result.append(words).append("</label>\n<input id=\"" + id + "\" name=\"" + id + "\" ");
    result.append(attributes).append(" required value=\"").append(htmlEscaped(value)).append("\"");
    if (!problem.empty()) {
        result += " aria-invalid=\"true\" aria-describedby=\"" + id + "-problem\" autofocus>\n";
        result += element("p class=\"wrong\" id=\"" + id + "-problem\" role=\"alert\"", problem);
    } else {
        result += ">\n";
    }
    return result + "</div>\n";
}

std::string rememberedPart(const LocalIdentityForm& form) {
    std::string result = formHead(form) + "<div class=\"remembered\">\n";
    result += button("remembered",
                     "Continue as " + form.remembered->name + " (" + form.remembered->email + ")");
    return result + "</div>\n</form>\n<details>\n<summary>Use another identity</summary>\n";
}

std::string cancelButton() {
    return button("cancel", "Cancel", " class=\"second\" formnovalidate");
}

std::string entryPart(const LocalIdentityForm& form, bool hasCancel) {
    std::string result = formHead(form);
    const std::string most = std::to_string(displayNameMaximumLength);
    result +=
        field("name", "Name", "type=\"text\" autocomplete=\"name\" maxlength=\"" + most + "\"",
              form.entered.name, form.nameProblem);
    result += field("email", "Email", "type=\"email\" autocomplete=\"email\" maxlength=\"254\"",
                    form.entered.email, form.emailProblem);
    result += "<div class=\"choice\">\n<input type=\"checkbox\" id=\"remember\" name=\"remember\" "
              "value=\"yes\"";
    result += form.remembers ? " checked>\n" : ">\n";
    result += "<label for=\"remember\">Remember me in this browser</label>\n</div>\n"
              "<div class=\"actions\">\n";
    result += button("continue", form.intent == AuthIntent::deleteReauth ? "Confirm" : "Continue");
    return result + (hasCancel ? cancelButton() : "") + "</div>\n</form>\n";
}

} // namespace

HtmlPage localIdentityPage(const LocalIdentityForm& form) {
    const std::string words = titleOf(form);
    const std::string mark = "Local login in place of " + std::string(title(form.provider));
    std::string content = element("p class=\"mark\"", mark) + element("h1", words);
    content += element("p class=\"quiet\"", wordsOf(form));
    const bool hasProblem = !form.nameProblem.empty() || !form.emailProblem.empty();
    if (form.remembered && !hasProblem) {
        content += rememberedPart(form) + entryPart(form, false) + "</details>\n";
        content +=
            formHead(form) + "<div class=\"cancel\">\n" + cancelButton() + "</div>\n</form>\n";
    } else {
        content += entryPart(form, true);
    }
    HtmlPage page = document(hasProblem ? 422 : 200, words, content);
    // The answer to the form leads on to the program, which counts as the form going there.
    page.formTargets.emplace_back(programScheme);
    return page;
}

HtmlPage troublePage(int status, std::string_view title, std::string_view words) {
    return document(status, title, element("h1", title) + element("p", words));
}

HtmlPage returnPage(std::string_view programUrl, BrowserEnd end) {
    const std::string_view words =
        end == BrowserEnd::confirmed ? "The login was confirmed" : "The login was not finished";
    std::string content = element("h1", words);
    content += element("p", "Go back to Lumivane. You can close this page.");
    content +=
        "<p><a class=\"button\" href=\"" + htmlEscaped(programUrl) + "\">Open Lumivane</a></p>\n";
    return document(302, words, content);
}

} // namespace lumivane::service
