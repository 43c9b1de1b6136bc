#include "accounts/HandleFormat.h"

#include "domain/ClosedSet.h"

#include <algorithm>

namespace lumivane {

namespace {

bool isAllowed(QChar unit) {
    const char16_t code = unit.unicode();
    return (code >= u'A' && code <= u'Z') || (code >= u'a' && code <= u'z') ||
           (code >= u'0' && code <= u'9') || code == u'.' || code == u'_' || code == u'-';
}

} // namespace

QString HandleFormat::normalise(const QString& text) {
    const QString trimmed = text.trimmed();
    const auto* const first =
        std::find_if(trimmed.begin(), trimmed.end(), [](QChar unit) { return unit != u'@'; });
    return trimmed.sliced(first - trimmed.begin());
}

QString HandleFormat::fold(const QString& text) { return text.toLower(); }

bool HandleFormat::isWellFormed(const QString& text) {
    // Every allowed scalar is one unit, so units count scalars wherever the answer is yes.
    return text.size() >= minimumLength && text.size() <= maximumLength &&
           std::all_of(text.begin(), text.end(), isAllowed);
}

bool HandleFormat::isReserved(const QString& text) {
    const QString folded = fold(text);
    return std::any_of(reserved.begin(), reserved.end(),
                       [&](std::string_view word) { return folded == toLatin1(word); });
}

} // namespace lumivane
