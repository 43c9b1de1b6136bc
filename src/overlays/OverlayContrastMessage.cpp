#include "overlays/OverlayContrastMessage.h"

#include "overlays/OverlayContrast.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace lumivane {

namespace {

QString advice(OverlayBackgroundStyle background) {
    const QString on = QString(label(background));
    QStringList passing;
    for (const OverlayTextColor color : OverlayContrast::passingTextColors(background)) {
        passing.append(QString(label(color)));
    }
    return passing.isEmpty()
               ? u"No text colour clears 4.5:1 on "_qs + on + u"."_qs
               : OverlayContrastMessage::list(passing) + u" clears it on "_qs + on + u"."_qs;
}

} // namespace

std::optional<QString> OverlayContrastMessage::contrastMessage(OverlayBackgroundStyle background,
                                                               OverlayTextColor text,
                                                               double opacityPercent) {
    const auto reading = OverlayContrast::reading(background, text, opacityPercent);
    if (!reading.isBelowMinimum()) {
        return std::nullopt;
    }
    return QString(label(text)) + u" on "_qs + QString(label(background)) +
           u" can read as low as "_qs +
           ratio(std::min(*reading.pairRatio, *reading.worstCaseRatio)) +
           u":1, under the 4.5:1 small text needs. "_qs + advice(background);
}

QString OverlayContrastMessage::list(const QStringList& items) {
    if (items.size() < 2) {
        return items.join(QString());
    }
    return items.first(items.size() - 1).join(u", "_qs) + u" and "_qs + items.last();
}

QString OverlayContrastMessage::ratio(double value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::fixed, 1);
    return QString::fromLatin1(digits.data(), end.ptr - digits.data());
}

} // namespace lumivane
