#include "Require.h"
#include "accounts/AuthenticationError.h"
#include "accounts/LoginCallback.h"

#include <QString>
#include <QUrl>
#include <QUrlQuery>

#include <cstdint>
#include <optional>

using namespace lumivane;

namespace {

using Case = AuthenticationError::Case;

const QString transaction = u"tx-1"_qs;

struct Reading {
    std::optional<SecretText> code;
    std::optional<Case> error;
};

/// Reads or says no in one of three ways; anything else that is thrown ends the process.
Reading read(const QString& url) {
    try {
        return {LoginCallback::handoffCode(url, transaction), std::nullopt};
    } catch (const AuthenticationError& error) {
        require(error == Case::cancelled || error == Case::unavailable ||
                error == Case::invalidCallback);
        return {std::nullopt, error.errorCase};
    }
}

/// What is believed holds up to a reader of another hand, which is laxer than the rules.
void checkBelieved(const QString& text, const Reading& reading) {
    const QUrl url(text, QUrl::StrictMode);
    require(url.isValid());
    require(url.scheme() == LoginCallback::scheme && url.host() == u"callback");
    require(url.userInfo().isEmpty() && url.port() == -1 && !url.hasFragment());
    require(url.path().isEmpty() || url.path() == u"/");
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    require(items.size() == 2);
    const bool isFirst = items[0].first == u"transaction_id";
    require(items[isFirst ? 0 : 1].first == u"transaction_id");
    require(items[isFirst ? 0 : 1].second == transaction);
    const auto& other = items[isFirst ? 1 : 0];
    require(other.first == (reading.code ? u"handoff_code" : u"error"));
    if (reading.code) {
        require(!reading.code->isEmpty());
        require(other.second.toUtf8() == reading.code->reveal());
    }
}

void check(const QString& text) {
    const Reading reading = read(text);
    require(reading.code.has_value() != reading.error.has_value());
    if (reading.error != Case::invalidCallback) {
        require(text.size() <= LoginCallback::maximumLength);
        checkBelieved(text, reading);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    check(text);
    check(LoginCallback::scheme + u"://callback"_qs + text);
    check(LoginCallback::scheme + u"://callback?transaction_id=tx-1&"_qs + text);
    check(LoginCallback::scheme + u"://callback?transaction_id=tx-1&handoff_code="_qs + text);
    return 0;
}
