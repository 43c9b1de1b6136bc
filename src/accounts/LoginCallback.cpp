#include "accounts/LoginCallback.h"

#include "accounts/AuthenticationError.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QUtf8StringView>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::LoginCallback {

namespace {

using Case = AuthenticationError::Case;

constexpr qsizetype itemCount = 2;

/// One item of a query, decoded. The value is absent where there is no "=".
struct Item {
    SecretText name;
    std::optional<SecretText> value;
};

bool isHexDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

/// What may stand in a query besides "%" (RFC 3986).
bool isQueryCharacter(char character) {
    constexpr QByteArrayView marks("-._~!$&'()*+,;=:@/?");
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || marks.contains(character);
}

bool isQuery(QByteArrayView text) {
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (text[index] == '%') {
            if (text.size() - index < 3 || !isHexDigit(text[index + 1]) ||
                !isHexDigit(text[index + 2])) {
                return false;
            }
            index += 2;
        } else if (!isQueryCharacter(text[index])) {
            return false;
        }
    }
    return true;
}

/// None where the bytes are no text.
std::optional<SecretText> decoded(QByteArrayView encoded) {
    QByteArray bytes = QByteArray::fromPercentEncoding(encoded.toByteArray());
    SecretText text(bytes);
    const bool isText = QUtf8StringView(bytes).isValidUtf8();
    overwriteWithZeros(bytes);
    return isText ? std::optional(std::move(text)) : std::nullopt;
}

std::optional<Item> item(QByteArrayView piece) {
    const qsizetype equals = piece.indexOf('=');
    auto name = decoded(piece.first(equals < 0 ? piece.size() : equals));
    if (!name) {
        return std::nullopt;
    }
    if (equals < 0) {
        return Item{std::move(*name), std::nullopt};
    }
    auto value = decoded(piece.sliced(equals + 1));
    if (!value) {
        return std::nullopt;
    }
    return Item{std::move(*name), std::move(value)};
}

/// The query of an address of the right scheme, host and path, with nothing else about it.
std::optional<QByteArrayView> queryOf(QByteArrayView url) {
    const qsizetype question = url.indexOf('?');
    if (question < 0) {
        return std::nullopt;
    }
    // A user, a password or a port, be it empty, would make the part before the "?" another one,
    // and a fragment would bring in its "#", which is no character of a query.
    const QByteArray front = url.first(question).toByteArray().toLower();
    const QByteArray wanted = QByteArray(scheme.data(), scheme.size()) + "://callback";
    const QByteArrayView query = url.sliced(question + 1);
    const bool isOurs = front == wanted || front == wanted + '/';
    return isOurs && isQuery(query) ? std::optional(query) : std::nullopt;
}

/// Exactly two items, or none at all.
std::vector<Item> items(QByteArrayView query) {
    std::vector<Item> result;
    for (qsizetype begin = 0; begin <= query.size();) {
        const qsizetype separator = query.indexOf('&', begin);
        const qsizetype end = separator < 0 ? query.size() : separator;
        auto next = item(query.sliced(begin, end - begin));
        if (!next || std::ssize(result) == itemCount) {
            return {};
        }
        result.push_back(std::move(*next));
        begin = end + 1;
    }
    return std::ssize(result) == itemCount ? std::move(result) : std::vector<Item>();
}

/// The value under `name`; none where the name is absent, stands twice or has no value.
const SecretText* only(const std::vector<Item>& items, QByteArrayView name) {
    const SecretText wanted(name);
    const auto isNamed = [&wanted](const Item& item) { return item.name == wanted; };
    const auto found = std::find_if(items.begin(), items.end(), isNamed);
    const bool isOnlyOne = found != items.end() && std::none_of(found + 1, items.end(), isNamed);
    return isOnlyOne && found->value ? &*found->value : nullptr;
}

[[noreturn]] void refuse(Case errorCase) { throw AuthenticationError(errorCase); }

[[noreturn]] void refuseFor(const SecretText& error) {
    constexpr std::array givenUp{"access_denied", "cancelled", "authorization_cancelled"};
    const bool isGivenUp = std::any_of(givenUp.begin(), givenUp.end(), [&error](const char* name) {
        return error.reveal() == QByteArrayView(name);
    });
    refuse(isGivenUp ? Case::cancelled : Case::unavailable);
}

} // namespace

SecretText handoffCode(const QString& url, const QString& transactionID) {
    const bool isPlain =
        url.size() <= maximumLength && std::all_of(url.begin(), url.end(), [](QChar character) {
            return character > u' ' && character < QChar(0x7F);
        });
    if (!isPlain) {
        refuse(Case::invalidCallback);
    }
    const SecretText address = SecretText::of(url);
    const auto query = queryOf(address.reveal());
    const std::vector<Item> found = query ? items(*query) : std::vector<Item>();
    const SecretText* transaction = only(found, "transaction_id");
    // The comparison takes its time whatever the value, so that nobody finds it bit by bit.
    if (transaction == nullptr || !(*transaction == SecretText::of(transactionID))) {
        refuse(Case::invalidCallback);
    }
    if (const SecretText* error = only(found, "error"); error != nullptr && !error->isEmpty()) {
        refuseFor(*error);
    }
    const SecretText* code = only(found, "handoff_code");
    if (code == nullptr || code->isEmpty()) {
        refuse(Case::invalidCallback);
    }
    return *code;
}

} // namespace lumivane::LoginCallback
