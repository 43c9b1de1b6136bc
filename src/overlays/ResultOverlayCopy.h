#pragma once

#include "domain/Vocabulary.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace lumivane {

/// Whether the footer of a panel says that the answer was copied, or offers to copy it.
enum class ResultCopyState { alreadyCopied, offersCopy };

/// An error was never copied and always offers to be.
ResultCopyState resolveCopyState(DeliveryMode deliveryMode, bool isError);

/// Every word of a result panel that does not come from the service. An error goes before the kind.
namespace ResultOverlayCopy {

inline const QString error = u"LUMIVANE ERROR"_qs;
inline const QString copiedToClipboard = u"Copied to clipboard"_qs;
inline const QString copy = u"Copy"_qs;
inline const QString copied = u"Copied"_qs;

/// The small line at the top of a panel.
QString title(ResultKind kind, bool isError);

/// The same for the ear.
QString spokenTitle(ResultKind kind, bool isError);

/// What is read out when the panel opens. Code and prose of a LeetCode solution are not.
QString announcement(ResultKind kind, bool isError, const QString& text);

/// How the panel can be closed.
QString dismissalHint(ResultKind kind, bool isError, bool dismissWithEscape);

/// Whole seconds left, "1:05" or "7s"; none is a panel without a clock.
QString remainingLabel(std::optional<std::int64_t> seconds);
QString remainingAccessibilityLabel(std::optional<std::int64_t> seconds);

} // namespace ResultOverlayCopy

} // namespace lumivane
