#include "server/login/LocalIdentityProvider.h"

#include "server/accounts/Tokens.h"
#include "server/login/Cookies.h"
#include "server/login/JsonFields.h"
#include "server/login/LoginCrypto.h"
#include "server/login/LoginPages.h"
#include "server/profile/ProfileRecords.h"
#include "server/text/Utf8.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <locale>

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

constexpr std::string_view subjectPrefix = "local:";
constexpr std::string_view cookieName = "lumivane_local_identity";
constexpr std::chrono::hours cookieAge{24 * 365};
constexpr std::size_t longestEmail = 254;

struct Entry {
    LocalIdentity identity;
    std::string nameProblem;
    std::string emailProblem;

    bool isGood() const { return nameProblem.empty() && emailProblem.empty(); }
};

bool isPlain(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

// Enough to catch a slip; nobody is written to.
bool isEmail(std::string_view text) {
    const auto at = text.find('@');
    return at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
           text.find('@', at + 1) == std::string_view::npos && text.size() <= longestEmail &&
           text.find(' ') == std::string_view::npos && isPlain(text);
}

Entry judged(std::string_view name, std::string_view email) {
    Entry entry;
    entry.identity = {std::string(trimmed(name)), std::string(trimmed(email))};
    if (entry.identity.name.empty() || !isPlain(entry.identity.name)) {
        entry.nameProblem = "Enter a name.";
    } else if (countCodePoints(entry.identity.name) > displayNameMaximumLength) {
        entry.nameProblem =
            "Use a name of at most " + std::to_string(displayNameMaximumLength) + " characters.";
    }
    if (!isEmail(entry.identity.email)) {
        entry.emailProblem = "Enter an email such as name@example.org.";
    }
    return entry;
}

std::string textOf(const FormFields& fields, std::string_view name) {
    return std::string(fields.find(name).value_or(""));
}

std::optional<LocalIdentity> rememberedIn(std::string_view cookies) {
    const auto text = base64UrlDecode(cookieValue(cookies, cookieName).value_or(""));
    const auto record = text ? parseJsonObject(*text) : std::nullopt;
    if (!record) {
        return std::nullopt;
    }
    // A cookie is no safer than a form.
    const Entry entry =
        judged(textField(*record, "name").value_or(""), textField(*record, "email").value_or(""));
    return entry.isGood() ? std::optional(entry.identity) : std::nullopt;
}

std::string cookieFor(const LocalIdentity& identity, const CookieScope& scope) {
    json::object record;
    record["name"] = identity.name;
    record["email"] = identity.email;
    return setCookie(cookieName, base64Url(json::serialize(record)), cookieAge, scope);
}

class LocalIdentityProvider : public IdentityProvider {
public:
    explicit LocalIdentityProvider(AuthProvider provider)
        : m_provider(provider) {}

    AuthProvider provider() const override { return m_provider; }

    AnswersBy answersBy() const override { return AnswersBy::form; }

    LoginStep begin(const LoginAttempt& attempt) const override {
        LocalIdentityForm form = formOf(attempt);
        form.remembered = rememberedIn(attempt.cookies);
        return localIdentityPage(form);
    }

    std::optional<HtmlPage> reconsider(const LoginAttempt& attempt,
                                       const FormFields& fields) const override;
    asio::awaitable<LoginFinish> finish(LoginAttempt attempt, FormFields fields) override;

private:
    LocalIdentityForm formOf(const LoginAttempt& attempt) const {
        LocalIdentityForm form;
        form.provider = m_provider;
        form.intent = attempt.intent;
        form.formToken = attempt.formToken;
        return form;
    }

    ProvedIdentity proved(const LocalIdentity& identity) const;

    AuthProvider m_provider;
};

std::optional<HtmlPage> LocalIdentityProvider::reconsider(const LoginAttempt& attempt,
                                                          const FormFields& fields) const {
    const std::string action = textOf(fields, "action");
    if (action == "cancel" || (action == "remembered" && rememberedIn(attempt.cookies))) {
        return std::nullopt;
    }
    const Entry entry = judged(textOf(fields, "name"), textOf(fields, "email"));
    if (entry.isGood()) {
        return std::nullopt;
    }
    LocalIdentityForm form = formOf(attempt);
    form.entered = entry.identity;
    form.remembers = fields.find("remember").has_value();
    form.nameProblem = entry.nameProblem;
    form.emailProblem = entry.emailProblem;
    return localIdentityPage(form);
}

ProvedIdentity LocalIdentityProvider::proved(const LocalIdentity& identity) const {
    ProvedIdentity result;
    const std::string folded =
        boost::algorithm::to_lower_copy(identity.email, std::locale::classic());
    result.subject = std::string(subjectPrefix) + tokenHash(folded);
    result.email = identity.email;
    result.isEmailVerified = m_provider != AuthProvider::facebook;
    result.suggestedName = identity.name;
    return result;
}

asio::awaitable<LoginFinish> LocalIdentityProvider::finish(LoginAttempt attempt,
                                                           FormFields fields) {
    LoginFinish finish;
    const std::string action = textOf(fields, "action");
    if (action == "cancel") {
        finish.result = LoginFailure{LoginRefusal::denied};
        co_return finish;
    }
    const auto remembered = rememberedIn(attempt.cookies);
    if (action == "remembered" && remembered) {
        finish.result = proved(*remembered);
        co_return finish;
    }
    const Entry entry = judged(textOf(fields, "name"), textOf(fields, "email"));
    finish.result = proved(entry.identity);
    finish.cookies.push_back(fields.find("remember")
                                 ? cookieFor(entry.identity, attempt.cookieScope)
                                 : setCookie(cookieName, "", {}, attempt.cookieScope));
    co_return finish;
}

} // namespace

std::unique_ptr<IdentityProvider> makeLocalIdentityProvider(AuthProvider provider) {
    return std::make_unique<LocalIdentityProvider>(provider);
}

bool isLocalSubject(std::string_view subject) { return subject.starts_with(subjectPrefix); }

} // namespace lumivane::service
