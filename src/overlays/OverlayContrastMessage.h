#pragma once

#include "domain/Vocabulary.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace lumivane::OverlayContrastMessage {

/// The note under the overlay's colours; none where they can be read on every desktop.
std::optional<QString> contrastMessage(OverlayBackgroundStyle background, OverlayTextColor text,
                                       double opacityPercent);

/// "a", "a and b", "a, b and c".
QString list(const QStringList& items);

/// With one digit behind the point, whatever the locale.
QString ratio(double value);

} // namespace lumivane::OverlayContrastMessage
