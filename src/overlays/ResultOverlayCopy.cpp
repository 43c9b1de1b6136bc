#include "overlays/ResultOverlayCopy.h"

#include <algorithm>

namespace lumivane {

namespace {

struct Titles {
    QString written;
    QString spoken;
};

Titles titles(ResultKind kind, bool isError) {
    if (isError) {
        return {ResultOverlayCopy::error, u"Lumivane error"_qs};
    }
    switch (kind) {
    case ResultKind::choice:
        return {u"ANSWER"_qs, u"Answer"_qs};
    case ResultKind::answers:
        return {u"ANSWERS"_qs, u"Answers"_qs};
    case ResultKind::leetCode:
        return {u"LEETCODE"_qs, u"LeetCode"_qs};
    case ResultKind::text:
        break;
    }
    return {u"SCREEN SUMMARY"_qs, u"Screen summary"_qs};
}

constexpr std::int64_t secondsPerMinute = 60;

} // namespace

ResultCopyState resolveCopyState(DeliveryMode deliveryMode, bool isError) {
    return isError || !copiesToClipboard(deliveryMode) ? ResultCopyState::offersCopy
                                                       : ResultCopyState::alreadyCopied;
}

QString ResultOverlayCopy::title(ResultKind kind, bool isError) {
    return titles(kind, isError).written;
}

QString ResultOverlayCopy::spokenTitle(ResultKind kind, bool isError) {
    return titles(kind, isError).spoken;
}

QString ResultOverlayCopy::announcement(ResultKind kind, bool isError, const QString& text) {
    if (kind == ResultKind::leetCode && !isError) {
        return u"LeetCode solution ready. Review the selectable solution on screen"_qs;
    }
    return spokenTitle(kind, isError) + u": "_qs + text;
}

QString ResultOverlayCopy::dismissalHint(ResultKind kind, bool isError, bool dismissWithEscape) {
    if (isError) {
        return u"Esc or click to dismiss"_qs; // Escape closes an error whatever the settings say
    }
    if (kind == ResultKind::leetCode) {
        return dismissWithEscape ? u"Esc or the close button"_qs : u"Use the close button"_qs;
    }
    return dismissWithEscape ? u"Esc or click to dismiss"_qs : u"Click to dismiss"_qs;
}

QString ResultOverlayCopy::remainingLabel(std::optional<std::int64_t> seconds) {
    if (!seconds) {
        return u"Until dismissed"_qs;
    }
    const std::int64_t left = std::max<std::int64_t>(0, *seconds);
    if (left >= secondsPerMinute) {
        return u"%1:%2"_qs.arg(left / secondsPerMinute)
            .arg(left % secondsPerMinute, 2, 10, QLatin1Char('0'));
    }
    return u"%1s"_qs.arg(left);
}

QString ResultOverlayCopy::remainingAccessibilityLabel(std::optional<std::int64_t> seconds) {
    if (!seconds) {
        return u"Stays until you dismiss it"_qs;
    }
    const std::int64_t left = std::max<std::int64_t>(0, *seconds);
    if (left == 1) {
        return u"Dismisses in 1 second"_qs;
    }
    if (left >= secondsPerMinute) {
        const std::int64_t minutes = left / secondsPerMinute;
        return u"Dismisses in about %1 minute%2"_qs.arg(minutes).arg(minutes == 1 ? u""_qs
                                                                                  : u"s"_qs);
    }
    return u"Dismisses in %1 seconds"_qs.arg(left);
}

} // namespace lumivane
