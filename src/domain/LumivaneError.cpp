#include "domain/LumivaneError.h"

#include "domain/Characters.h"

#include <QRegularExpression>

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>
#include <utility>

namespace lumivane {

LumivaneError LumivaneError::server(QString message) {
    LumivaneError error(Case::server);
    error.message = std::move(message);
    return error;
}

QString LumivaneError::sanitize(const QString& text) {
    static const QRegularExpression secretKey(u"sk-[A-Za-z0-9_-]+"_qs);
    static const QRegularExpression bearer(u"(?i)(bearer\\s+)[A-Za-z0-9._~-]+"_qs,
                                           QRegularExpression::UseUnicodePropertiesOption);
    constexpr std::int64_t longestText = 300;

    // The expressions refuse to look at broken UTF-16, and what they skip is not redacted.
    QString safe = text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8());
    safe.replace(secretKey, u"[REDACTED]"_qs);
    safe.replace(bearer, u"\\1[REDACTED]"_qs);
    return firstCharacters(safe, longestText).toString();
}

QString LumivaneError::errorDescription() const {
    switch (errorCase) {
    case Case::server:
        return sanitize(message);
    case Case::serviceUnavailable:
        return u"The local Lumivane service is unavailable. Start Docker with make local-up and "
               u"try again."_qs;
    case Case::invalidResponse:
        return u"The Lumivane service returned an invalid response."_qs;
    case Case::authenticationRequired:
        return u"Log in to Lumivane to continue."_qs;
    case Case::screenRecordingDenied:
        return u"Allow Lumivane under System Settings → Privacy & Security → Screen Recording."_qs;
    case Case::displayUnavailable:
        return u"The display under the pointer is unavailable."_qs;
    case Case::captureFailed:
        return u"Lumivane could not capture the selected display."_qs;
    case Case::leetCodeTextUnavailable:
        return u"Lumivane could not read any text on that screen. LeetCode needs the question "
               u"itself as well as the screenshot — bring the full problem statement into view "
               u"and try again."_qs;
    case Case::leetCodeMemoryUnavailable:
        return u"LeetCode is not available right now. The local service is running but reported "
               u"that its practice memory is not loaded — rebuild it with make local-up, then try "
               u"again."_qs;
    case Case::deviceEvicted:
        return u"You signed in on another Mac. Lumivane is signed in there now."_qs;
    }
    return {};
}

QString localizedDescription(const std::exception& error) {
    if (const auto* described = dynamic_cast<const DescribedError*>(&error)) {
        return described->errorDescription();
    }
    return QString::fromUtf8(error.what());
}

std::string errorTypeName(const std::exception& error) {
    if (const auto* described = dynamic_cast<const DescribedError*>(&error)) {
        return std::string(described->typeName());
    }
    const char* name = typeid(error).name();
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(name, nullptr, nullptr, nullptr), &std::free);
    return readable ? readable.get() : name;
}

} // namespace lumivane
